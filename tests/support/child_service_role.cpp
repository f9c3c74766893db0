#include <windows.h>

#include <sddl.h>

#include <cstring>

#include "base/win_handle.h"
#include "pelora/registry.h"
#include "support/child_roles.h"
#include "support/import_patch.h"

namespace tandor::test {
namespace {

constexpr const wchar_t* kSystem = L"S-1-5-18";
bool somebody_signed_in = false;

// The process's own token, which is asked first, says "the system"; the console's says the truth.
BOOL WINAPI SystemFirst(HANDLE token, TOKEN_INFORMATION_CLASS what, LPVOID data, DWORD size, PDWORD needed) {
    static bool asked = false;
    if (::GetTokenInformation(token, what, data, size, needed) == 0) return FALSE;
    if (std::exchange(asked, true)) return TRUE;
    PSID system = nullptr;
    if (::ConvertStringSidToSidW(kSystem, &system) == 0) return FALSE;
    auto* const user = static_cast<TOKEN_USER*>(data);
    user->User.Sid = user + 1;
    const BOOL copied = ::CopySid(SECURITY_MAX_SID_SIZE, user->User.Sid, system);
    ::LocalFree(system);
    return copied;
}

BOOL WINAPI TokenAtConsole(ULONG, PHANDLE token) {
    if (somebody_signed_in) return ::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token);
    ::SetLastError(ERROR_NO_TOKEN);
    return FALSE;
}

template <class Function>
FARPROC Entry(Function* function) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

// Both lie in libraries that are loaded on first use, and are looked up then.
FARPROC WINAPI LookUp(HMODULE library, LPCSTR name) {
    if (std::strcmp(name, "GetTokenInformation") == 0) return Entry(&SystemFirst);
    if (std::strcmp(name, "WTSQueryUserToken") == 0) return Entry(&TokenAtConsole);
    return ::GetProcAddress(library, name);
}

}  // namespace

int ServiceSetting(const Arguments& arguments) {
    somebody_signed_in = arguments.at(0) == L"user";
    const ImportPatch patch(L"PeloraSuite.dll", "GetProcAddress", LookUp);
    const std::wstring key = L"SOFTWARE\\tandor service test";
    if (!DE::Registry::SetValue(DE::RegistryRoot::kUser, key, L"value", std::uint32_t{5})) return 3;
    RegistryKey found;
    const LSTATUS missing =
        somebody_signed_in
            ? ::RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_READ, found.Receive())
            : ::RegOpenKeyExW(HKEY_USERS, (kSystem + (L"\\" + key)).c_str(), 0, KEY_READ, found.Receive());
    return DE::Registry::DeleteKey(DE::RegistryRoot::kUser, key) && missing == ERROR_SUCCESS ? 0 : 1;
}

}  // namespace tandor::test
