// A lock and a condition that cost little: on Windows one word each and no system call unless a thread has to wait,
// which the tool chain's standard classes do not offer there.
#pragma once

#if !defined(_WIN32)
#include <condition_variable>
#include <mutex>
#endif

namespace tandor {

// For std::lock_guard and std::unique_lock.
class Lock {
public:
    Lock() = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    void lock();
    void unlock();

private:
    friend class Condition;
#if defined(_WIN32)
    void* word_ = nullptr;
#else
    std::mutex mutex_;
#endif
};

enum class WaitResult { kWoken, kTimedOut, kFailed };

// Every wait may end without a cause.
class Condition {
public:
    static constexpr unsigned kForever = 0xFFFFFFFF;

    Condition() = default;
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    // Releases `lock`, which the caller holds, while it waits.
    WaitResult Wait(Lock& lock, unsigned milliseconds = kForever);
    void WakeOne();
    void WakeAll();

private:
#if defined(_WIN32)
    void* word_ = nullptr;
#else
    std::condition_variable condition_;
#endif
};

}  // namespace tandor
