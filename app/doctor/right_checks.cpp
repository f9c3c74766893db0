// What this user may do.
#include <windows.h>

#include <fmt/format.h>

#include <algorithm>

#include "app/doctor/doctor.h"
#include "app/processes.h"
#include "base/win_error.h"
#include "base/win_handle.h"
#include "tandor/state_watch.h"

namespace tandor::app {
namespace {

bool IsElevated() {
    KernelHandle token;
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    return ::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Receive()) != 0 &&
           ::GetTokenInformation(token.Get(), TokenElevation, &elevation, sizeof(elevation), &size) != 0 &&
           elevation.TokenIsElevated != 0;
}

// Opening a key asks for the rights and changes nothing. Where the key is not there yet, its parent is meant.
LSTATUS OpenNearest(HKEY root, std::wstring key, REGSAM rights) {
    for (;;) {
        RegistryKey opened;
        const LSTATUS status = ::RegOpenKeyExW(root, key.c_str(), 0, rights | KEY_WOW64_64KEY, opened.Receive());
        const std::size_t end = key.rfind(L'\\');
        if (status != ERROR_FILE_NOT_FOUND || end == std::wstring::npos) return status;
        key.resize(end);
    }
}

Finding LookAtHive(const char* thing, HKEY root, const char* remedy) {
    const std::wstring key = L"SOFTWARE\\Vextro\\Pelora";
    if (const LSTATUS status = OpenNearest(root, key, KEY_READ); status != ERROR_SUCCESS)
        return {thing, Verdict::kBroken, "not readable: " + WindowsErrorText(static_cast<DWORD>(status)), remedy};
    const LSTATUS status = OpenNearest(root, key, KEY_SET_VALUE | KEY_CREATE_SUB_KEY);
    if (status == ERROR_SUCCESS) return {thing, Verdict::kWorks, "readable and writable", ""};
    return {thing, Verdict::kLimited, "not writable: " + WindowsErrorText(static_cast<DWORD>(status)), remedy};
}

}  // namespace

void CheckAdministrator(Findings& findings) {
    findings.push_back(IsElevated()
                           ? Finding{"administrator", Verdict::kWorks, "this process has an administrator's rights", ""}
                           : Finding{"administrator", Verdict::kLimited, "this process has a user's rights",
                                     "run as administrator to change firewall rules and devices"});
}

void CheckRegistry(Findings& findings) {
    findings.push_back(
        LookAtHive("registry, the user's hive", HKEY_CURRENT_USER, "sign in as a user with a loaded profile"));
    findings.push_back(LookAtHive("registry, the machine's hive", HKEY_LOCAL_MACHINE,
                                  "run as administrator where machine settings must be changed"));
}

void CheckProcesses(Findings& findings) {
    std::vector<TdOpenFile> files;
    if (const unsigned long error = TdOpenFiles::List(::GetCurrentProcessId(), files); error != ERROR_SUCCESS) {
        findings.push_back({"open files of processes", Verdict::kBroken, WindowsErrorText(error),
                            "the system does not list handles; nothing helps but another Windows version"});
        return;
    }
    const std::vector<RunningProcess> all = RunningProcesses();
    const auto opened = static_cast<std::size_t>(std::ranges::count_if(all, [](const RunningProcess& one) {
        constexpr DWORD kRights = PROCESS_DUP_HANDLE | PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;
        return static_cast<bool>(KernelHandle(::OpenProcess(kRights, FALSE, one.id)));
    }));
    findings.push_back(
        {"open files of processes", opened == all.size() ? Verdict::kWorks : Verdict::kLimited,
         fmt::format("{} of {} processes can be looked into", opened, all.size()),
         opened == all.size() ? "" : "run as administrator for those of other users; the system keeps some"});
}

}  // namespace tandor::app
