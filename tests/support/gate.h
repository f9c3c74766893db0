// A door that threads wait at.
#pragma once

#include <condition_variable>
#include <mutex>

namespace tandor::test {

class Gate {
public:
    void Open() {
        const std::lock_guard lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }
    void Pass() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return open_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = false;
};

}  // namespace tandor::test
