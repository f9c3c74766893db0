// Entries of system libraries that not every system has, looked up at run time.
#pragma once

#include <windows.h>

namespace tandor {

// The entry `name` of a loaded library; null when it has none, and GetLastError() says so.
template <class Function>
Function* EntryOf(HMODULE module, const char* name) noexcept {
    // Through void*: the compilers warn on a direct cast between function types, rightly in general.
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

// The entry `name` of `library`, which is loaded from the system directory alone and stays loaded; null when there is
// none.
template <class Function>
Function* SystemEntry(const wchar_t* library, const char* name) noexcept {
    const HMODULE module = ::LoadLibraryExW(library, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    return module == nullptr ? nullptr : EntryOf<Function>(module, name);
}

}  // namespace tandor
