#include <chrono>

#include "base/wall_clock.h"

namespace tandor {

unsigned long long WallClockMilliseconds() noexcept {
    using namespace std::chrono;
    return static_cast<unsigned long long>(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}

}  // namespace tandor
