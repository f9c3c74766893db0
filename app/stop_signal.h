// The end of a command that runs until it is told to stop: Ctrl-C, a closed console, or a time.
#pragma once

#include <windows.h>

#include <cstdint>

#include "base/win_handle.h"

namespace tandor::app {

// One at a time: the system calls back without saying for whom.
class StopSignal {
public:
    // Ends by itself after `seconds`; never with 0.
    explicit StopSignal(double seconds);
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    // Waits so long, or shorter when the end comes. Returns whether it has come.
    bool WaitFor(unsigned milliseconds) const;

private:
    static BOOL WINAPI Handle(DWORD cause);

    KernelHandle event_;
    std::uint64_t end_;
};

}  // namespace tandor::app
