#include "app/stop_signal.h"

#include <algorithm>
#include <atomic>

#include "base/win_error.h"

namespace tandor::app {
namespace {

std::atomic<HANDLE> current{nullptr};

}  // namespace

StopSignal::StopSignal(double seconds)
    : event_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      end_(seconds > 0 ? ::GetTickCount64() + static_cast<std::uint64_t>(seconds * 1000) : UINT64_MAX) {
    if (!event_) throw WindowsError("the event that Ctrl-C sets", ::GetLastError());
    current = event_.Get();
    ::SetConsoleCtrlHandler(&Handle, TRUE);
}

StopSignal::~StopSignal() {
    ::SetConsoleCtrlHandler(&Handle, FALSE);
    current = nullptr;
}

bool StopSignal::WaitFor(unsigned milliseconds) const {
    const std::uint64_t now = ::GetTickCount64();
    if (now >= end_) return true;
    const auto wait = static_cast<DWORD>(std::min<std::uint64_t>(milliseconds, end_ - now));
    return ::WaitForSingleObject(event_.Get(), wait) == WAIT_OBJECT_0 || ::GetTickCount64() >= end_;
}

// On a thread of the system's. Returning TRUE for a closed console gives the command five seconds to end by itself.
BOOL WINAPI StopSignal::Handle(DWORD) {
    const HANDLE event = current;
    if (event == nullptr) return FALSE;
    ::SetEvent(event);
    return TRUE;
}

}  // namespace tandor::app
