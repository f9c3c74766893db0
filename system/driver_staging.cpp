// Driver packages, through the system's own program.
#include <windows.h>

#include <pathcch.h>

#include "base/win_process.h"
#include "foundation/message.h"
#include "system/attempt.h"
#include "system/change.h"
#include "system/store_search.h"
#include "system/system_path.h"
#include "tandor/device_console.h"

namespace Vxa::Exp {
namespace {

using tandor::kFailure;
using tandor::kInfo;
using tandor::LogMessage;

constexpr auto kExecPnpCommand = L"Vxa::Exp::DeviceConsole::ExecPnpCommand";
constexpr std::wstring_view kAddDriver = L" /add-driver";
constexpr DWORD kPatience = 5 * 60 * 1000;  // milliseconds; drivers with large packages take minutes

// The complete path of the INF, fit to stand in quotation marks on a command line.
DWORD UsablePath(const std::wstring& path, std::wstring& out) {
    wchar_t canonical[MAX_PATH];
    if (FAILED(::PathCchCanonicalize(canonical, MAX_PATH, path.c_str()))) {
        LogMessage(kFailure, kExecPnpCommand, L"PathCanonicalize failed, vdisplaydriverPath=", path);
        return ERROR_BAD_PATHNAME;
    }
    const bool quoted = path.find_first_of(std::wstring_view(L"\"\0", 2)) != path.npos;
    const DWORD error = quoted ? ERROR_INVALID_NAME : tandor::ExistingFile(canonical, out);
    if (error != ERROR_SUCCESS)
        LogMessage(kFailure, kExecPnpCommand, L"vdisplaydriver Path error, vdisplaydriverPath=", path);
    return error;
}

// Runs the command without a window. ERROR_SUCCESS and the exit code, or why there is none.
DWORD RunHidden(const std::wstring& program, const std::wstring& command_line, DWORD& exit_code) {
    STARTUPINFOW startup{};
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_HIDE;
    tandor::StartedProcess process;
    const DWORD error = tandor::Attempt([&] {
        process = tandor::StartProcess(program.c_str(), command_line, startup, CREATE_NO_WINDOW);
        return static_cast<bool>(process.handle);
    });
    if (error != ERROR_SUCCESS) return error;
    return tandor::Attempt([&] {
        const std::optional<DWORD> code = tandor::WaitForExit(process, kPatience);
        exit_code = code.value_or(0);
        return code.has_value();
    });
}

bool NeedsRestart(DWORD exit_code) {
    return exit_code == ERROR_SUCCESS_REBOOT_REQUIRED || exit_code == ERROR_SUCCESS_REBOOT_INITIATED;
}

bool IsStaged(DWORD exit_code) {
    return exit_code == ERROR_SUCCESS || exit_code == ERROR_NO_MORE_ITEMS || NeedsRestart(exit_code);
}

void ReportStoreFolders(const std::wstring& inf) {
    const tandor::StoreSearch search = tandor::FindStoreFolders(inf);
    if (search.error != ERROR_SUCCESS) LogMessage(kFailure, kExecPnpCommand, search.step, L" failed: ", search.error);
    for (const std::wstring& folder : search.folders)
        LogMessage(kInfo, kExecPnpCommand, L"add driverstore path: ", folder);
}

}  // namespace

std::wstring DeviceConsole::GetSystemPnputilExePath() {
    std::wstring directory;
    if (const DWORD error = tandor::SystemDirectory(directory); error != ERROR_SUCCESS) {
        LogMessage(kFailure, L"Vxa::Exp::DeviceConsole::GetSystemPnputilExePath", L"GetSystemDirectory failed.");
        ::SetLastError(error);
        return {};
    }
    return directory + L"\\pnputil.exe" + std::wstring(kAddDriver);
}

bool DeviceConsole::ExecPnpCommand(const std::wstring& driverInfPath) {
    std::wstring inf;
    if (const DWORD error = UsablePath(driverInfPath, inf); error != ERROR_SUCCESS) {
        ::SetLastError(error);
        return false;
    }
    const std::wstring pnputil = GetSystemPnputilExePath();
    if (pnputil.empty()) return false;
    DWORD code = 0;
    // The program's path goes beside the command line, so that the system need not look for where it ends.
    const std::wstring program = pnputil.substr(0, pnputil.size() - kAddDriver.size());
    const std::wstring command_line = pnputil + L" \"" + inf + L"\" /install";
    const DWORD error = tandor::Change([&] { return RunHidden(program, command_line, code); },
                                       [&] { return L"CreateProcessW(" + command_line + L")"; });
    const bool staged = error == ERROR_SUCCESS && IsStaged(code);
    if (staged) {
        ReportStoreFolders(inf);
        if (NeedsRestart(code)) LogMessage(kInfo, kExecPnpCommand, L"Reboot is required.");
        // Never the command line itself: what is in a caller's paths is nobody else's business.
        LogMessage(kInfo, kExecPnpCommand, L"Command: add-driver finished successfully.");
    } else {
        LogMessage(kFailure, kExecPnpCommand, L"Command failed with error code : ",
                   error == ERROR_SUCCESS ? code : error);
    }
    ::SetLastError(error == ERROR_SUCCESS ? code : error);
    return staged;
}

}  // namespace Vxa::Exp
