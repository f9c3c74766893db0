// Ends the program when something takes too long: a wait that never ends would hold up the whole run without a word.
#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

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

    // Begins to watch, from the beginning of the program on. What the thread for it needs is there on return: a test
    // that counts handles would take it for its own.
    static void Watch() {
        std::thread(EndWhatHangs).detach();
        while (!watching_) ::Sleep(1);
    }

private:
    [[noreturn]] static void EndWhatHangs() {
        for (::Sleep(1);; ::Sleep(500)) {
            watching_ = true;
            const ULONGLONG end = end_;
            if (end == 0 || ::GetTickCount64() < end) continue;
            std::fprintf(stderr, "[  HANGS   ] %s\n", what_.load());
            ::TerminateProcess(::GetCurrentProcess(), 3);
        }
    }

    static inline std::atomic<bool> watching_ = false;
    static inline std::atomic<const char*> what_ = "";
    static inline std::atomic<ULONGLONG> end_ = 0;  // 0: there is no limit
    const char* what_before_;
    ULONGLONG end_before_;
};

}  // namespace tandor::test
