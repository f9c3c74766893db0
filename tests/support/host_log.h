// Watches the host log from inside the process.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "pelora/log_service.h"
#include "tandor/uncopyable.h"

namespace tandor::test {

class HostLog : UnCopyable {
public:
    HostLog()
        : subscription_(VxLogger::GetInstance().Subscribe([this](LOG_MESSAGE_LEVEL level, std::wstring_view message) {
              const std::lock_guard lock(mutex_);
              lines_.push_back(std::to_wstring(level) + L" " + std::wstring(message));
          })) {}
    ~HostLog() { VxLogger::GetInstance().Unsubscribe(subscription_); }

    // The messages since construction or the last call, each as "<level> <text>".
    std::vector<std::wstring> Take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }

private:
    std::mutex mutex_;
    std::vector<std::wstring> lines_;
    std::uint64_t subscription_;
};

// The lines that one function leaves: its name stands behind each text.
inline std::vector<std::wstring> LinesFrom(const std::wstring& function, std::vector<std::wstring> texts) {
    for (std::wstring& text : texts) text += L"(" + function + L")";
    return texts;
}

}  // namespace tandor::test
