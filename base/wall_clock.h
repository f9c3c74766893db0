#pragma once

namespace tandor {

// Milliseconds since 1970-01-01 UTC, rounded toward zero.
unsigned long long WallClockMilliseconds() noexcept;

}  // namespace tandor
