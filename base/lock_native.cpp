// The lock of the native build, in terms that its sanitizers know.
#include <chrono>

#include "base/lock.h"

namespace tandor {

void Lock::lock() { mutex_.lock(); }
void Lock::unlock() { mutex_.unlock(); }

WaitResult Condition::Wait(Lock& lock, unsigned milliseconds) {
    std::unique_lock hold(lock.mutex_, std::adopt_lock);
    auto status = std::cv_status::no_timeout;
    if (milliseconds == kForever) {
        condition_.wait(hold);
    } else {
        status = condition_.wait_for(hold, std::chrono::milliseconds(milliseconds));
    }
    (void)hold.release();
    return status == std::cv_status::no_timeout ? WaitResult::kWoken : WaitResult::kTimedOut;
}

void Condition::WakeOne() { condition_.notify_one(); }
void Condition::WakeAll() { condition_.notify_all(); }

}  // namespace tandor
