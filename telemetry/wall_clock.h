#pragma once

#include <chrono>

namespace tandor {

// Milliseconds since 1970-01-01 UTC, rounded toward zero.
inline unsigned long long WallClockMilliseconds() {
    using namespace std::chrono;
    return static_cast<unsigned long long>(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}

}  // namespace tandor
