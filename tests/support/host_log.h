// Watches the host log from inside the process.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "pelora/log_service.h"
#include "tandor/uncopyable.h"

namespace tandor::test {

class HostLog : UnCopyable {
public:
    HostLog()
        : subscription_(VxLogger::GetInstance().Subscribe(
              LOG_MESSAGE_TRACE, [this](LOG_MESSAGE_LEVEL level, std::wstring_view message) { See(level, message); })) {
    }
    ~HostLog() { VxLogger::GetInstance().Unsubscribe(subscription_); }

    // The messages since construction or the last call, each as "<level> <text>". Another thread may be delivering what
    // this one logged: a mark that is logged behind it tells when all has arrived.
    std::vector<std::wstring> Take() {
        std::wstringstream mark;
        mark << kMark << this << L' ' << ++marks_;
        VxLogger::GetInstance().Log(LOG_MESSAGE_TRACE, mark);
        std::unique_lock lock(mutex_);
        arrived_.wait(lock, [&] { return last_mark_ == mark.view(); });
        return std::exchange(lines_, {});
    }

private:
    static constexpr std::wstring_view kMark = L"mark of a test's log ";

    void See(LOG_MESSAGE_LEVEL level, std::wstring_view message) {
        const std::lock_guard lock(mutex_);
        if (message.starts_with(kMark)) {
            last_mark_ = message;
            arrived_.notify_all();
        } else {
            lines_.push_back(std::to_wstring(level) + L" " + std::wstring(message));
        }
    }

    std::mutex mutex_;
    std::condition_variable arrived_;
    std::wstring last_mark_;
    unsigned marks_ = 0;
    std::vector<std::wstring> lines_;
    std::uint64_t subscription_;
};

// The lines that one function leaves: its name stands behind each text.
inline std::vector<std::wstring> LinesFrom(const std::wstring& function, std::vector<std::wstring> texts) {
    for (std::wstring& text : texts) text += L"(" + function + L")";
    return texts;
}

}  // namespace tandor::test
