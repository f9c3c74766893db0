// The system's table of all handles, as the kernel writes it, and the search for one process's in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tandor {

struct HandleEntry {
    std::uint64_t handle;
    std::uint32_t type;

    bool operator==(const HandleEntry&) const = default;
};

// The handles of one process, in the table's order. A count that the table is too short for ends with the table.
// Information class 16: the process number has 16 bits and shares a word with an index that is 0; the handle has 16
// bits.
std::vector<HandleEntry> HandlesInTable16(std::span<const std::byte> table, std::uint32_t process);
// Information class 64: process and handle of any size.
std::vector<HandleEntry> HandlesInTable64(std::span<const std::byte> table, std::uint64_t process);

}  // namespace tandor
