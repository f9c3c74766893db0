// The commands on devices; driver_staging.cpp has the one on driver packages.
#include "tandor/device_console.h"

#include <windows.h>

#include <newdev.h>
#include <pathcch.h>

#include <functional>
#include <map>

#include "base/win_handle.h"
#include "base/win_system_entry.h"
#include "foundation/message.h"
#include "system/attempt.h"
#include "system/change.h"
#include "system/device_nodes.h"
#include "system/system_path.h"

namespace Vxa::Exp {
namespace {

using tandor::Attempt;
using tandor::Change;
using tandor::ChangeState;
using tandor::kFailure;
using tandor::kInfo;
using tandor::LogMessage;
using tandor::Matches;

constexpr auto kExecCommand = L"Vxa::Exp::DeviceConsole::ExecCommand";
constexpr auto kInitialize = L"Vxa::Exp::DeviceConsole::Initialize";
constexpr auto kUpdateDriver = L"Vxa::Exp::DeviceConsole::UpdateDriver";
constexpr auto kInstallDevice = L"Vxa::Exp::DeviceConsole::InstallDevice";
constexpr auto kRemoveDevice = L"Vxa::Exp::DeviceConsole::RemoveDevice";

using UpdateDriverEntry = BOOL WINAPI(HWND window, LPCWSTR hardware_id, LPCWSTR inf, DWORD flags, BOOL* reboot);
using UninstallDriverEntry = BOOL WINAPI(HWND window, LPCWSTR inf, DWORD flags, BOOL* reboot);
using Command = std::function<bool(std::wstring& hardware_id, std::wstring& inf)>;

struct IgnoringCase {
    bool operator()(const std::wstring& left, const std::wstring& right) const {
        return ::_wcsicmp(left.c_str(), right.c_str()) < 0;
    }
};

// A command's last statement: what GetLastError() then says is the result.
bool Ended(DWORD error) {
    ::SetLastError(error);
    return error == ERROR_SUCCESS;
}

DWORD InstallDriver(UpdateDriverEntry* update, const std::wstring& hardware_id, const std::wstring& inf) {
    return Change(
        [&] {
            return Attempt(
                [&] { return update(nullptr, hardware_id.c_str(), inf.c_str(), INSTALLFLAG_FORCE, nullptr); });
        },
        [&] { return L"UpdateDriverForPlugAndPlayDevicesW(" + hardware_id + L", " + inf + L", INSTALLFLAG_FORCE)"; });
}

void ReportRestart(HDEVINFO list, SP_DEVINFO_DATA& device) {
    bool restart = false;
    if (tandor::NeedsRestart(list, device, restart) != ERROR_SUCCESS) {
        LogMessage(kFailure, kRemoveDevice, L"Get device status failed, not sure whether reboot is requried. ");
    } else if (restart) {
        LogMessage(kInfo, kRemoveDevice, L"Reboot is required.");
    }
}

DWORD FailureOf(const Matches& matches) {
    return matches.error == ERROR_SUCCESS && matches.count == 0 ? ERROR_NO_SUCH_DEVINST : matches.error;
}

}  // namespace

struct DeviceConsole::Implementation {
    tandor::ModuleHandle newdev;
    UpdateDriverEntry* update_driver = nullptr;
    UninstallDriverEntry* uninstall_driver = nullptr;
    std::map<std::wstring, Command, IgnoringCase> commands;
};

DeviceConsole& DeviceConsole::GetInstance() {
    static DeviceConsole instance;
    return instance;
}

DeviceConsole::DeviceConsole() : implementation_(std::make_unique<Implementation>()) { Initialize(); }

DeviceConsole::~DeviceConsole() { Unintialize(); }

void DeviceConsole::Initialize() {
    Implementation& own = *implementation_;
    std::wstring path;
    if (const DWORD error = tandor::SystemDirectory(path); error != ERROR_SUCCESS)
        return LogMessage(kFailure, kInitialize, L"Get load lib path failed, error code: ", error);
    path.resize(MAX_PATH);
    if (FAILED(::PathCchAppend(path.data(), path.size(), L"newdev.dll")))
        return LogMessage(kFailure, kInitialize, L"get newdev.DLL path failed");
    own.newdev.Reset(::LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
    if (!own.newdev)
        return LogMessage(kFailure, kInitialize, L"Load newdev.dll failed with error code : ", ::GetLastError());
    own.update_driver = tandor::EntryOf<UpdateDriverEntry>(own.newdev.Get(), "UpdateDriverForPlugAndPlayDevicesW");
    if (own.update_driver == nullptr)
        return LogMessage(kFailure, kInitialize, L"Get update driver entry failed with error code : ",
                          ::GetLastError());
    own.uninstall_driver = tandor::EntryOf<UninstallDriverEntry>(own.newdev.Get(), "DiUninstallDriverW");
    if (own.uninstall_driver == nullptr)
        return LogMessage(kFailure, kInitialize, L"Get DiUninstallDriverW address failed ", ::GetLastError());
    const auto bind = [this](bool (DeviceConsole::*command)(std::wstring&, std::wstring&)) {
        return [this, command](std::wstring& hardware_id, std::wstring& inf) {
            return (this->*command)(hardware_id, inf);
        };
    };
    own.commands = {
        {L"install", bind(&DeviceConsole::InstallDevice)}, {L"update", bind(&DeviceConsole::UpdateDriver)},
        {L"remove", bind(&DeviceConsole::RemoveDevice)},   {L"enable", bind(&DeviceConsole::EnableDevice)},
        {L"disable", bind(&DeviceConsole::DisableDevice)},
    };
}

void DeviceConsole::Unintialize() {
    implementation_->commands.clear();
    implementation_->update_driver = nullptr;
    implementation_->uninstall_driver = nullptr;
    implementation_->newdev.Reset();
}

bool DeviceConsole::ExecCommand(const std::wstring& command, const std::wstring& hardwareId,
                                const std::wstring& infPath) {
    const auto found = implementation_->commands.find(command);
    if (found == implementation_->commands.end()) {
        LogMessage(kInfo, kExecCommand, L"Invalid command.");
        return Ended(ERROR_INVALID_FUNCTION);
    }
    std::wstring hardware_id = hardwareId;
    std::wstring inf = infPath;
    const bool succeeded = found->second(hardware_id, inf);
    const DWORD error = ::GetLastError();
    if (succeeded) {
        LogMessage(kInfo, kExecCommand, L"Command: ", command, L" finished successfully.");
    } else {
        LogMessage(kInfo, kExecCommand, L"Command: ", command, L" failed with error code : ", error);
    }
    return Ended(error);
}

bool DeviceConsole::UpdateDriver(std::wstring& hardwareId, std::wstring& infPath) {
    if (implementation_->update_driver == nullptr) {
        LogMessage(kFailure, kUpdateDriver, L"Update driver failed, since update driver entry is null");
        return Ended(ERROR_PROC_NOT_FOUND);
    }
    std::wstring inf;
    const DWORD error = tandor::ExistingFile(infPath, inf);
    return Ended(error == ERROR_SUCCESS ? InstallDriver(implementation_->update_driver, hardwareId, inf) : error);
}

bool DeviceConsole::InstallDevice(std::wstring& hardwareId, std::wstring& infPath) {
    if (implementation_->update_driver == nullptr) {
        LogMessage(kFailure, kInstallDevice, L"Install device failed, since update driver entry is null");
        return Ended(ERROR_PROC_NOT_FOUND);
    }
    std::wstring inf;
    DWORD error = tandor::ExistingFile(infPath, inf);
    if (error == ERROR_SUCCESS) {
        error = tandor::InstallNode(hardwareId, inf,
                                    [&] { return InstallDriver(implementation_->update_driver, hardwareId, inf); });
    }
    if (error != ERROR_SUCCESS) LogMessage(kInfo, kInstallDevice, L"Command: install failed with error code : ", error);
    return Ended(error);
}

bool DeviceConsole::RemoveDevice(std::wstring& hardwareId, std::wstring& infPath) {
    const Matches matches = tandor::ForEachMatch(hardwareId, [](HDEVINFO list, SP_DEVINFO_DATA& device) {
        const DWORD error = tandor::RemoveNode(list, device);
        if (error == ERROR_SUCCESS) ReportRestart(list, device);
        return error;
    });
    const DWORD uninstall = Change(
        [&] {
            return Attempt([&] { return implementation_->uninstall_driver(nullptr, infPath.c_str(), 0, nullptr); });
        },
        [&] { return L"DiUninstallDriverW(" + infPath + L", 0)"; });
    if (uninstall != ERROR_SUCCESS)
        LogMessage(kFailure, kRemoveDevice, L"uninstalldriver ", infPath, L" failed ", uninstall);
    return Ended(matches.error == ERROR_SUCCESS ? uninstall : matches.error);
}

bool DeviceConsole::EnableDevice(std::wstring& hardwareId, std::wstring&) {
    return Ended(FailureOf(tandor::ForEachMatch(hardwareId, [](HDEVINFO list, SP_DEVINFO_DATA& device) {
        const DWORD everywhere = ChangeState(list, device, DICS_ENABLE, DICS_FLAG_GLOBAL);
        const DWORD here = ChangeState(list, device, DICS_ENABLE, DICS_FLAG_CONFIGSPECIFIC);
        return everywhere == ERROR_SUCCESS ? here : everywhere;
    })));
}

bool DeviceConsole::DisableDevice(std::wstring& hardwareId, std::wstring&) {
    return Ended(FailureOf(tandor::ForEachMatch(hardwareId, [](HDEVINFO list, SP_DEVINFO_DATA& device) {
        return ChangeState(list, device, DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC);
    })));
}

}  // namespace Vxa::Exp
