// Starting a program, in this one place.
#pragma once

#include <windows.h>

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

}  // namespace tandor
