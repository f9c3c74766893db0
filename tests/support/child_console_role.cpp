#include <windows.h>

#include <algorithm>
#include <iostream>
#include <memory>

#include "base/utf.h"
#include "pelora/log_service.h"
#include "support/child_roles.h"
#include "support/import_patch.h"
#include "tandor/device_console.h"

namespace tandor::test {
namespace {

std::string missing_entry;

UINT WINAPI NoDirectory(LPWSTR, UINT) {
    ::SetLastError(ERROR_NOT_FOUND);
    return 0;
}

UINT WINAPI LongDirectory(LPWSTR path, UINT size) {
    std::fill_n(path, size - 1, L'x');
    path[size - 1] = L'\0';
    return size - 1;
}

HMODULE WINAPI NoLibrary(LPCWSTR, HANDLE, DWORD) {
    ::SetLastError(ERROR_NOT_FOUND);
    return nullptr;
}

BOOL WINAPI Nothing() { return TRUE; }

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
    ::SetLastError(ERROR_NOT_FOUND);
    if (name == missing_entry) return nullptr;
    if (std::strcmp(name, "DiUninstallDriverW") == 0)
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&Nothing));
    return ::GetProcAddress(module, name);
}

std::unique_ptr<ImportPatch> Without(const std::wstring& what) {
    const auto* const library = L"TandorUtil.dll";
    if (what == L"GetSystemDirectoryW")
        return std::make_unique<ImportPatch>(library, "GetSystemDirectoryW", &NoDirectory);
    if (what == L"long-directory") return std::make_unique<ImportPatch>(library, "GetSystemDirectoryW", &LongDirectory);
    if (what == L"LoadLibraryExW") return std::make_unique<ImportPatch>(library, "LoadLibraryExW", &NoLibrary);
    missing_entry = Utf8FromWide(what);
    return std::make_unique<ImportPatch>(library, "GetProcAddress", &LookUp);
}

}  // namespace

int ConsoleWithout(const Arguments& arguments) {
    const std::unique_ptr<ImportPatch> patch = Without(arguments.at(0));
    const auto subscription = VxLogger::GetInstance().Subscribe([](LOG_MESSAGE_LEVEL level, std::wstring_view message) {
        std::cout << level << " " << Utf8FromWideLossy(message) << "\n";
    });
    const bool done = Vxa::Exp::DeviceConsole::GetInstance().ExecCommand(L"enable", L"Root\\TandorTest", L"");
    VxLogger::GetInstance().Unsubscribe(subscription);
    return done ? 1 : 0;
}

}  // namespace tandor::test
