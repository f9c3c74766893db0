// System calls that say by their result whether they succeeded and by GetLastError() why not.
#pragma once

#include <windows.h>

namespace tandor {

// ERROR_SUCCESS, or why `call` came out false. Never success for a failure whose cause the system does not give.
template <class Call>
DWORD Attempt(Call call) {
    ::SetLastError(ERROR_SUCCESS);
    if (call()) return ERROR_SUCCESS;
    const DWORD error = ::GetLastError();
    return error == ERROR_SUCCESS ? ERROR_GEN_FAILURE : error;
}

}  // namespace tandor
