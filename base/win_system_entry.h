// Entries of system libraries that not every system has, looked up at run time.
#pragma once

#include <windows.h>

namespace tandor {

// The entry `name` of `library`, which is loaded from the system directory alone and stays loaded; null when there is
// none.
template <class Function>
Function* SystemEntry(const wchar_t* library, const char* name) noexcept {
    const HMODULE module = ::LoadLibraryExW(library, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (module == nullptr) return nullptr;
    // Through void*: the compilers warn on a direct cast between function types, rightly in general.
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

}  // namespace tandor
