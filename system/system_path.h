// Paths that the device console works with. Results: ERROR_SUCCESS, or the Windows error and nothing in `out`.
#pragma once

#include <windows.h>

#include <string>

namespace tandor {

// Without a backslash at its end.
DWORD SystemDirectory(std::wstring& out);

// The complete path of an existing file, 1 to 259 characters.
DWORD ExistingFile(const std::wstring& path, std::wstring& out);

}  // namespace tandor
