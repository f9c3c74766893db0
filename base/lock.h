// A lock and a condition that cost little: one word each, and no call into the system but where a thread has to wait or
// is waited for. The tool chain's standard condition goes through kernel objects, which takes ten times as long to wake
// a thread; the system's slim lock costs twice the tool chain's under Wine, where each release looks for waiters in a
// table that all locks share, and where whoever finds it held goes to sleep at once.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/word_wait.h"

namespace tandor {

// For std::lock_guard and std::unique_lock. A thread that finds it held looks again for a microsecond or so before it
// sleeps: holds are short, and going to sleep and being woken takes longer than they do.
class Lock {
public:
    Lock() = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    void lock() {
        if (!Try()) LockHeld();
    }
    void unlock() {
        if (word_.exchange(kFree, std::memory_order_release) == kAwaited) WakeOneAt(word_);
    }

private:
    enum : std::uint32_t {
        kFree,
        kHeld,
        kAwaited,  // held, and somebody may wait for its end
    };
    bool Try() {
        std::uint32_t free = kFree;
        return word_.compare_exchange_strong(free, kHeld, std::memory_order_acquire, std::memory_order_relaxed);
    }
    void LockHeld();

    std::atomic<std::uint32_t> word_{kFree};
};

// Every wait may end without a cause.
class Condition {
public:
    Condition() = default;
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    // Releases `lock`, which the caller holds, while it waits.
    WaitResult Wait(Lock& lock, unsigned milliseconds = kForever);
    void WakeOne();
    void WakeAll();

private:
    std::atomic<std::uint32_t> wakes_{0};  // so far; it may begin again
};

}  // namespace tandor
