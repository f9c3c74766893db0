#pragma once

#include <atomic>

namespace tandor {

// Lets something happen at most once in an interval. Any thread; of several at the same moment one passes.
class SendInterval {
public:
    explicit constexpr SendInterval(unsigned long long length) : length_(length) {}

    // Whether it may happen now; if so the interval begins. Times and length are in one unit, of any epoch but 0, which
    // stands for "not yet". A time before the last one passes: the clock was set back.
    bool Pass(unsigned long long now) {
        unsigned long long last = last_.load(std::memory_order_relaxed);
        if (last != 0 && now - last < length_) return false;
        return last_.compare_exchange_strong(last, now, std::memory_order_relaxed);
    }

private:
    unsigned long long length_;
    std::atomic<unsigned long long> last_{0};
};

}  // namespace tandor
