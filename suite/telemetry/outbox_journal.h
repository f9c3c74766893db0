// The records that were put and do not lie in the outbox's tables yet.
//
// Every process appends to the file "<database>-new" in its turn ("<database>-turn"): one write and no lock of the
// system's, where a transaction takes several. What has been written survives the death of every process. When the file
// is full, or somebody wants to see the records, whoever has the turn takes all of them into the tables at once.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>

#include "base/shared_turn.h"
#include "base/win_handle.h"

namespace pelora {

class OutboxJournal {
public:
    static constexpr std::size_t kLargest = 256 * 1024;        // bytes of the file
    static constexpr std::size_t kLargestContent = 16 * 1024;  // of a record; a larger one goes into the tables at once

    // What the processes share besides the turn; read and written in it unless it says otherwise.
    struct Shared {
        std::atomic<std::uint64_t> identity;   // of the outbox
        std::atomic<std::uint64_t> next;       // sequence of the next record
        std::atomic<std::uint64_t> flushed;    // tick count of the last flush; at any time
        std::atomic<std::uint32_t> flush_all;  // whether every append is to be flushed; at any time
    };

    // Opens or creates the files. Throws std::system_error, as does everything below.
    explicit OutboxJournal(const std::filesystem::path& database);

    // Held for the object's life, or not, when another process kept it for two seconds.
    class Turn {
    public:
        explicit Turn(OutboxJournal& journal) noexcept
            : turn_(journal.turn_), held_(turn_.Take() != tandor::SharedTurn::Taken::kNo) {}
        ~Turn() {
            if (held_) turn_.Give();
        }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        [[nodiscard]] bool Held() const noexcept { return held_; }

    private:
        tandor::SharedTurn& turn_;
        bool held_;
    };

    // In the turn.
    [[nodiscard]] std::size_t Size() const noexcept { return words_.size; }
    [[nodiscard]] bool HasRoomFor(std::size_t bytes) const noexcept { return words_.size + bytes <= kLargest; }
    void Append(std::string_view entry);
    // All bytes of the file: what a process left that died while it appended stands behind the whole entries.
    [[nodiscard]] std::string Read() const;
    void Clear() noexcept;

    // Any thread, without the turn: what this process has appended is on the disk on return, unless less than
    // `interval` ms have passed since somebody's last flush. Threads that come while one flushes share the next.
    void Flush(std::uint64_t interval);

    [[nodiscard]] Shared& Words() noexcept { return shared_; }

private:
    [[nodiscard]] std::system_error Failure(const char* what, DWORD code = ::GetLastError()) const;

    tandor::SharedTurn turn_;
    tandor::SharedTurn::Words& words_;  // their size is that of the whole entries
    Shared& shared_;
    std::filesystem::path path_;
    tandor::FileHandle file_;
    std::atomic<std::uint64_t> appends_{0};  // of this process
    std::mutex flushing_;
    std::uint64_t flushed_appends_ = 0;  // under flushing_
};

}  // namespace pelora
