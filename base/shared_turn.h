// Whose turn it is among the processes that share a file, and a few words that they share with it.
//
// Both lie in a small file beside the shared one, which every process maps: taking and giving a turn costs no system
// call unless somebody has to wait. Each process holds a byte of that file locked for as long as it lives; the system
// takes the lock back when it dies, in whatever way, which is how the others tell a dead holder from a slow one.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>

#include "base/win_handle.h"

namespace tandor {

class SharedTurn {
public:
    // What lies in the file. New files are zero everywhere.
    struct Words {
        std::atomic<std::uint32_t> holder;      // the number of the process whose turn it is; 0 for nobody's
        std::atomic<std::uint32_t> generation;  // for the sharers' use, as is everything below
        std::atomic<std::uint64_t> size;        // a change shows that the holder is at work
        std::atomic<std::uint32_t> torn;
    };
    static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

    enum class Taken {
        kNo,  // the holder is alive and kept it for two seconds
        kYes,
        kFromTheDead,  // its holder died with it: what it was about may be half done
    };

    // Opens or creates the file. Throws std::system_error when it cannot be had.
    explicit SharedTurn(const std::filesystem::path& file);
    ~SharedTurn();
    SharedTurn(const SharedTurn&) = delete;
    SharedTurn& operator=(const SharedTurn&) = delete;

    // For one thread of the process at a time. A turn that was taken is to be given.
    [[nodiscard]] Taken Take() noexcept;
    void Give() noexcept { words_->holder.store(0, std::memory_order_release); }

    [[nodiscard]] Words& Shared() noexcept { return *words_; }

private:
    void LockNumber();
    [[nodiscard]] bool Try() noexcept;
    [[nodiscard]] bool TakeFromTheDead(std::uint32_t holder) noexcept;
    [[nodiscard]] Taken Wait() noexcept;

    FileHandle file_;
    Words* words_ = nullptr;
    std::uint32_t number_ = 0;
    std::uint32_t stuck_ = 0;  // a holder that was waited for in vain is not waited for again
};

}  // namespace tandor
