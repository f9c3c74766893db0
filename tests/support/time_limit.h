// Ends the program when something takes too long: a wait that never ends would hold up the whole run without a word.
#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdio>

#include "tandor/uncopyable.h"

namespace tandor::test {

// What outlives its limit is named, and the program ends with 3. A limit may begin within another one, on the same
// thread, and stands in its place until it ends. Beginning and ending makes no thread and no handle, which tests count.
class TimeLimit : UnCopyable {
public:
    TimeLimit(const char* what, std::chrono::milliseconds limit) : what_before_(what_), end_before_(end_) {
        what_ = what;
        end_ = ::GetTickCount64() + static_cast<ULONGLONG>(limit.count());
    }
    ~TimeLimit() {
        end_ = end_before_;
        what_ = what_before_;
    }

    // For a thread of its own, from the beginning of the program on.
    [[noreturn]] static void Watch() {
        for (;; ::Sleep(500)) {
            const ULONGLONG end = end_;
            if (end == 0 || ::GetTickCount64() < end) continue;
            std::fprintf(stderr, "[  HANGS   ] %s\n", what_.load());
            ::TerminateProcess(::GetCurrentProcess(), 3);
        }
    }

private:
    static inline std::atomic<const char*> what_ = "";
    static inline std::atomic<ULONGLONG> end_ = 0;  // 0: there is no limit
    const char* what_before_;
    ULONGLONG end_before_;
};

}  // namespace tandor::test
