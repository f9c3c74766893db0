// Starting a program, in this one place.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "base/win_handle.h"

namespace tandor {

struct StartedProcess {
    KernelHandle handle;  // empty when the start failed; GetLastError() then says why
    DWORD id = 0;
};

// Starts `program`, or with a null pointer the first word of the command line, as CreateProcessW finds it. `startup`
// needs no size; handles are inherited when it asks for standard handles.
StartedProcess StartProcess(const wchar_t* program, std::wstring command_line, STARTUPINFOW startup = {},
                            DWORD flags = 0);

// The exit code, once the process has ended. Nothing when it has not ended in time or cannot be waited for; it goes on
// then, and GetLastError() says why (ERROR_TIMEOUT).
std::optional<DWORD> WaitForExit(const StartedProcess& process, DWORD milliseconds);

}  // namespace tandor
