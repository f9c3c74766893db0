// Windows error codes as text, in this one place.
#pragma once

#include <windows.h>

#include <string>
#include <system_error>

namespace tandor {

// "The system cannot find the file specified. (2)"; the number alone where the system has no text for it.
std::string WindowsErrorText(DWORD code);

// An error to be thrown where a constructor must fail: "what: text (code)". Wide text is converted.
std::system_error WindowsError(const std::string& what, DWORD code);

}  // namespace tandor
