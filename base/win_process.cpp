#include "base/win_process.h"

namespace tandor {

StartedProcess StartProcess(const wchar_t* program, std::wstring command_line, STARTUPINFOW startup, DWORD flags) {
    startup.cb = sizeof(startup);
    const BOOL inherit = (startup.dwFlags & STARTF_USESTDHANDLES) != 0;
    // A busy system now and then loses a process before its first instruction, and says ERROR_INTERNAL_ERROR.
    for (int attempt = 0; attempt < 4; ++attempt) {
        PROCESS_INFORMATION information{};
        if (::CreateProcessW(program, command_line.data(), nullptr, nullptr, inherit, flags, nullptr, nullptr, &startup,
                             &information) != 0) {
            const KernelHandle thread(information.hThread);
            return {KernelHandle(information.hProcess), information.dwProcessId};
        }
        if (::GetLastError() != ERROR_INTERNAL_ERROR) break;
    }
    return {};
}

std::optional<DWORD> WaitForExit(const StartedProcess& process, DWORD milliseconds) {
    DWORD code = 0;
    const DWORD waited = ::WaitForSingleObject(process.handle.Get(), milliseconds);
    if (waited == WAIT_OBJECT_0 && ::GetExitCodeProcess(process.handle.Get(), &code) != 0) return code;
    if (waited == WAIT_TIMEOUT) ::SetLastError(ERROR_TIMEOUT);
    return {};
}

}  // namespace tandor
