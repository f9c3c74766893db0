// Replaces one function that a loaded module imports, for as long as the object lives. The module itself stays as it
// was built: only its table of addresses is changed, so nothing but that module's calls are affected.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "tandor/uncopyable.h"

namespace tandor::test {

class ImportPatch : UnCopyable {
public:
    // `module` is the module whose calls are redirected, as L"TandorUtil.dll". Throws if it does not import `name`.
    template <class Function>
    ImportPatch(const wchar_t* module, const char* name, Function* replacement) : slot_(Find(module, name)) {
        original_ = Write(slot_, reinterpret_cast<void*>(replacement));
    }
    ~ImportPatch() { Write(slot_, original_); }

protected:
    ImportPatch(void** slot, void* replacement) : slot_(slot), original_(Write(slot, replacement)) {}

private:
    template <class Structure>
    static const Structure* At(const char* base, DWORD offset) {
        return reinterpret_cast<const Structure*>(base + offset);
    }

    static void** Find(const wchar_t* module, const char* name) {
        const auto* const base = reinterpret_cast<const char*>(::GetModuleHandleW(module));
        if (base == nullptr) throw std::runtime_error("the module is not loaded");
        const auto* const nt = At<IMAGE_NT_HEADERS>(base, static_cast<DWORD>(At<IMAGE_DOS_HEADER>(base, 0)->e_lfanew));
        const auto& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
        for (auto* dll = At<IMAGE_IMPORT_DESCRIPTOR>(base, directory.VirtualAddress); dll->Name != 0; ++dll) {
            const auto* const names = At<IMAGE_THUNK_DATA>(base, dll->OriginalFirstThunk);
            for (DWORD i = 0; names[i].u1.AddressOfData != 0; ++i) {
                if (IMAGE_SNAP_BY_ORDINAL(names[i].u1.Ordinal)) continue;
                const auto* const import =
                    At<IMAGE_IMPORT_BY_NAME>(base, static_cast<DWORD>(names[i].u1.AddressOfData));
                if (std::strcmp(reinterpret_cast<const char*>(import->Name), name) != 0) continue;
                auto* const slots = At<IMAGE_THUNK_DATA>(base, dll->FirstThunk);
                return reinterpret_cast<void**>(const_cast<ULONGLONG*>(&slots[i].u1.Function));
            }
        }
        throw std::runtime_error(std::string("the module does not import ") + name);
    }

    static void* Write(void** slot, void* value) {
        DWORD protection = 0;
        ::VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
        void* const before = ::InterlockedExchangePointer(slot, value);
        ::VirtualProtect(slot, sizeof(*slot), protection, &protection);
        return before;
    }

    void** slot_;
    void* original_ = nullptr;
};

// The same for a function of a DLL that is loaded on first use, when the module has called it before: its slot is where
// the module keeps the function's address.
class DelayedImportPatch : public ImportPatch {
public:
    template <class Function>
    DelayedImportPatch(const wchar_t* module, const wchar_t* dll, const char* name, Function* replacement)
        : ImportPatch(Find(module, dll, name), reinterpret_cast<void*>(replacement)) {}

private:
    static void** Find(const wchar_t* module, const wchar_t* dll, const char* name) {
        auto* const base = reinterpret_cast<char*>(::GetModuleHandleW(module));
        const auto wanted = reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(dll), name));
        if (base == nullptr || wanted == nullptr) throw std::runtime_error("the module or the function is not loaded");
        const auto* const nt =
            reinterpret_cast<const IMAGE_NT_HEADERS*>(base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
        const auto* section = IMAGE_FIRST_SECTION(nt);
        for (int i = 0; i < nt->FileHeader.NumberOfSections; ++i, ++section) {
            auto* const begin = reinterpret_cast<void**>(base + section->VirtualAddress);
            auto* const end = begin + section->Misc.VirtualSize / sizeof(void*);
            if (auto* const slot = std::find(begin, end, wanted); slot != end) return slot;
        }
        throw std::runtime_error(std::string("the module has not called ") + name);
    }
};

// For GetSystemDirectoryW: a system that does not know its directory, and one whose path fills all of the buffer.
inline UINT WINAPI NoSystemDirectory(LPWSTR, UINT) {
    ::SetLastError(ERROR_NOT_FOUND);
    return 0;
}
inline UINT WINAPI LongSystemDirectory(LPWSTR path, UINT size) {
    std::fill_n(path, size - 1, L'd')[0] = L'\0';
    return size - 1;
}

}  // namespace tandor::test
