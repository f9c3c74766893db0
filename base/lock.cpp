#include "base/lock.h"

namespace tandor {
namespace {

constexpr int kLooks = 50;  // 0.2 to 3 microseconds: processors differ in how long a pause is

}  // namespace

// Whoever may have slept takes the lock as awaited, since there may be others that sleep: its unlock wakes one of them,
// or now and then nobody. The lock is so never free with a sleeper that no unlock will wake: a thread sleeps only while
// the word says awaited, and the exchange that ends that is an unlock's, which wakes. The wake-up comes after the lock
// is free and may find it destroyed; it needs the address alone, and whoever sleeps there looks again.
void Lock::LockHeld() {
    for (int i = 0; i < kLooks; ++i) {
        Pause();
        if (word_.load(std::memory_order_relaxed) == kFree && Try()) return;
    }
    while (word_.exchange(kAwaited, std::memory_order_acquire) != kFree) WaitWhile(word_, kAwaited);
}

// No wake-up is lost: the count is read under the lock, so whoever changes afterwards, under the lock, what is waited
// for, and then wakes, counts up from there, and the wait sees either the new count or the wake-up.
WaitResult Condition::Wait(Lock& lock, unsigned milliseconds) {
    const std::uint32_t wakes = wakes_;
    lock.unlock();
    const WaitResult result = WaitWhile(wakes_, wakes, milliseconds);
    lock.lock();
    return result;
}

void Condition::WakeOne() {
    ++wakes_;
    WakeOneAt(wakes_);
}

void Condition::WakeAll() {
    ++wakes_;
    WakeAllAt(wakes_);
}

}  // namespace tandor
