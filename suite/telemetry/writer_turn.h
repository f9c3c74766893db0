// The queue of processes that want to write one outbox.
#pragma once

#include <chrono>
#include <string>

#include "base/win_handle.h"

namespace pelora {

// SQLite's own waiting is sleeping and trying again, unfair and slow among many short writes; a named mutex wakes the
// next one at once. What keeps the data right is SQLite's lock alone: where the mutex cannot be had, as when another
// user's process made it, writers go on without. A process that dies holding it gives it up.
class WriterTurn {
public:
    // `name` without a namespace; the same for all who write one file.
    explicit WriterTurn(const std::wstring& name);

    // Held for the object's life. Waits until the deadline at most; it is not held then.
    class Hold {
    public:
        Hold(const WriterTurn& turn, std::chrono::milliseconds wait) noexcept;
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        HANDLE mutex_ = nullptr;
    };

private:
    tandor::KernelHandle mutex_;
};

}  // namespace pelora
