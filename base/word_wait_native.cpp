// For the machine that builds: Linux.
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <ctime>
#include <thread>

#include "base/word_wait.h"

namespace tandor {
namespace {

long Futex(const Word& word, int operation, std::uint32_t value, const timespec* time = nullptr) {
    return ::syscall(SYS_futex, &word, operation, value, time, nullptr, 0);
}

}  // namespace

WaitResult WaitWhile(const Word& word, std::uint32_t value, unsigned milliseconds) {
    const timespec time{.tv_sec = milliseconds / 1000, .tv_nsec = long{milliseconds % 1000} * 1'000'000};
    if (Futex(word, FUTEX_WAIT_PRIVATE, value, milliseconds == kForever ? nullptr : &time) == 0 || errno == EAGAIN ||
        errno == EINTR)
        return WaitResult::kWoken;
    return errno == ETIMEDOUT ? WaitResult::kTimedOut : WaitResult::kFailed;
}

void WakeOneAt(const Word& word) { Futex(word, FUTEX_WAKE_PRIVATE, 1); }
void WakeAllAt(const Word& word) { Futex(word, FUTEX_WAKE_PRIVATE, INT_MAX); }

void Pause() { std::this_thread::yield(); }

}  // namespace tandor
