#include <windows.h>

#include "base/wall_clock.h"

namespace tandor {

// The run-time library's clock asks the same and spends as long again on the way.
unsigned long long WallClockMilliseconds() noexcept {
    constexpr unsigned long long kTicksBefore1970 = 116'444'736'000'000'000;  // of 100 ns, from 1601-01-01
    FILETIME now;
    ::GetSystemTimePreciseAsFileTime(&now);
    return ((ULONGLONG{now.dwHighDateTime} << 32 | now.dwLowDateTime) - kTicksBefore1970) / 10'000;
}

}  // namespace tandor
