// A size-bounded file to which several processes append whole records.
//
// When a record would pass the bound the files are renamed one step down (name.log, name.1.log, name.2.log ...; the
// last is dropped) and a new file is begun. Writers in other processes notice and follow. A file that cannot be
// renamed, because somebody holds it open, is never cut: records go on into it, past the bound, and the rename is tried
// again later.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "base/win_handle.h"

namespace tandor {

class RotatingFile {
public:
    static constexpr std::size_t kLargestAppend = 64 * 1024;  // bytes

    // Who appends to the file. With one process alone nothing has to be locked or looked up before a write.
    enum class Writers { kOneProcess, kManyProcesses };

    // Opens or creates the file and its directories. Throws std::system_error when that fails.
    RotatingFile(std::filesystem::path path, std::uint64_t max_size, unsigned rotated_files, Writers writers);

    // Appends `records`: whole ones, so that lines of several processes never mix; at most kLargestAppend, or one.
    // Returns an empty text, or what went wrong in words; after a failed rename the records are in the file all the
    // same. Not thread-safe.
    [[nodiscard]] std::string Append(std::string_view records);

    [[nodiscard]] std::uint64_t Size() const noexcept;

private:
    bool Open() noexcept;
    bool LockOnce() noexcept;
    bool LockCurrent() noexcept;
    void Unlock() noexcept;
    [[nodiscard]] bool NearlyFull() const noexcept;
    std::string Rotate();
    [[nodiscard]] std::filesystem::path RotatedName(unsigned number) const;

    std::filesystem::path path_;
    std::uint64_t max_size_;
    unsigned rotated_files_;
    Writers writers_;
    FileHandle file_;
    std::uint64_t next_rename_ = 0;  // tick count before which a rename that failed is not tried again
};

}  // namespace tandor
