// File objects have number 36 for the library's open-file walk; Wine gives them 17. While this lives, the library's
// look-up of ZwQuerySystemInformation yields a function that rewrites the one to the other.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tests/support/import_patch.h"

namespace tandor::test {

class HandleTableDouble {
public:
    HandleTableDouble() : patch_(L"TandorUtil.dll", "GetProcAddress", &LookUp) {}

    // What the library's look-up yields meanwhile.
    static FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
        if (std::strcmp(name, "ZwQuerySystemInformation") == 0)
            return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&Rewrite));
        return ::GetProcAddress(module, name);
    }

private:
    using Query = LONG NTAPI(ULONG information, void* buffer, ULONG bytes, ULONG* needed);

    static LONG NTAPI Rewrite(ULONG information, void* buffer, ULONG bytes, ULONG* needed) {
        static Query* const query = reinterpret_cast<Query*>(
            reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "ZwQuerySystemInformation")));
        const LONG status = query(information, buffer, bytes, needed);
        if (information != 16 || status < 0) return status;
        std::uint32_t count = 0;
        std::memcpy(&count, buffer, sizeof(count));
        auto* type = static_cast<std::uint8_t*>(buffer) + 8 + 4;
        for (std::uint32_t i = 0; i < count; ++i, type += 24)
            if (*type == 17) *type = 36;
        return status;
    }

    ImportPatch patch_;
};

}  // namespace tandor::test
