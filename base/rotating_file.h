// A size-bounded file to which one process or several append whole records.
//
// When a record would pass the bound the files are renamed one step down (name.log, name.1.log, name.2.log ...; the
// last is dropped) and a new file is begun. Writers in other processes notice and follow. A file that cannot be
// renamed, because somebody holds it open, is never cut: records go on into it, past the bound, and the rename is tried
// again later.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/shared_turn.h"
#include "base/win_handle.h"

namespace tandor {

class RotatingFile {
public:
    // Several processes agree through "<file>.turn" beside the file; with one alone there is nothing to agree on.
    enum class Writers { kOneProcess, kManyProcesses };

    // Opens or creates the file and its directories. Throws std::system_error when that fails.
    RotatingFile(std::filesystem::path path, std::uint64_t max_size, unsigned rotated_files, Writers writers);

    struct Outcome {
        bool written;         // with the system; also when the rename failed
        std::string trouble;  // in words; empty when there was none
    };

    // Appends `records`: whole ones, so that lines of several processes never mix. A process that kept its turn for two
    // seconds is not waited for; where the system does not append in one step, a line may then be torn. Not
    // thread-safe.
    [[nodiscard]] Outcome Append(std::string_view records);

private:
    class Turn;

    bool Open(const Turn& turn) noexcept;
    [[nodiscard]] bool Full(std::size_t more) noexcept;
    std::string Rotate();
    void EndTornRecord() noexcept;
    Outcome Write(std::string_view records);
    [[nodiscard]] std::filesystem::path RotatedName(unsigned number) const;

    std::filesystem::path path_;
    std::uint64_t max_size_;
    unsigned rotated_files_;
    FileHandle file_;
    std::optional<SharedTurn> turn_;
    SharedTurn::Words own_{};  // stands in for the shared ones with one process
    SharedTurn::Words* words_ = &own_;
    std::uint32_t generation_ = 0;   // of the file that is open
    std::uint64_t next_rename_ = 0;  // tick count before which a rename that failed is not tried again
};

}  // namespace tandor
