#include <windows.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <memory>

#include "base/utf.h"
#include "pelora/log_service.h"
#include "support/child_roles.h"
#include "support/import_patch.h"
#include "tandor/device_console.h"

namespace tandor::test {
namespace {

std::string missing;

INT_PTR WINAPI Fail() {  // whatever the function takes and returns
    ::SetLastError(ERROR_NOT_FOUND);
    return 0;
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
    if (name == missing) return reinterpret_cast<FARPROC>(Fail());
    return std::strcmp(name, "DiUninstallDriverW") == 0 ? &Fail : ::GetProcAddress(module, name);
}

}  // namespace

int ConsoleWithout(const Arguments& arguments) {
    const auto* const library = L"TandorUtil.dll";
    missing = Utf8FromWide(arguments.at(0));
    std::unique_ptr<ImportPatch> patch;
    if (missing == "long-directory")
        patch = std::make_unique<ImportPatch>(library, "GetSystemDirectoryW", &LongSystemDirectory);
    else if (missing == "GetSystemDirectoryW" || missing == "LoadLibraryExW")
        patch = std::make_unique<ImportPatch>(library, missing.c_str(), &Fail);
    else
        patch = std::make_unique<ImportPatch>(library, "GetProcAddress", &LookUp);
    VxLogger::GetInstance().Subscribe(LOG_MESSAGE_TRACE, [](LOG_MESSAGE_LEVEL level, std::wstring_view message) {
        std::cout << level << " " << Utf8FromWideLossy(message) << std::endl;
    });
    return Vxa::Exp::DeviceConsole::GetInstance().ExecCommand(L"enable", L"Root\\TandorTest", L"") ? 1 : 0;
}

}  // namespace tandor::test
