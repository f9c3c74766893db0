#include "concurrency/handle_table.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tandor {
namespace {

static_assert(std::endian::native == std::endian::little);

template <class Number>
Number Read(const std::byte* at) {
    Number number;
    std::memcpy(&number, at, sizeof(number));
    return number;
}

struct Layout16 {
    using Count = std::uint32_t;
    using Process = std::uint32_t;
    using Type = std::uint8_t;
    using Handle = std::uint16_t;
    static constexpr std::size_t kHeader = 8, kEntry = 24, kProcessAt = 0, kTypeAt = 4, kHandleAt = 6;
};

struct Layout64 {
    using Count = std::uint64_t;
    using Process = std::uint64_t;
    using Type = std::uint16_t;
    using Handle = std::uint64_t;
    static constexpr std::size_t kHeader = 16, kEntry = 40, kProcessAt = 8, kTypeAt = 30, kHandleAt = 16;
};

template <class Layout>
std::vector<HandleEntry> HandlesOf(typename Layout::Process process, std::span<const std::byte> table) {
    std::vector<HandleEntry> found;
    if (table.size() < Layout::kHeader) return found;
    const std::uint64_t room = (table.size() - Layout::kHeader) / Layout::kEntry;
    const std::uint64_t count = std::min<std::uint64_t>(Read<typename Layout::Count>(table.data()), room);
    const std::byte* entry = table.data() + Layout::kHeader;
    for (std::uint64_t i = 0; i < count; ++i, entry += Layout::kEntry) {
        if (Read<typename Layout::Process>(entry + Layout::kProcessAt) != process) continue;
        found.push_back({Read<typename Layout::Handle>(entry + Layout::kHandleAt),
                         Read<typename Layout::Type>(entry + Layout::kTypeAt)});
    }
    return found;
}

}  // namespace

std::vector<HandleEntry> HandlesInTable16(std::span<const std::byte> table, std::uint32_t process) {
    return HandlesOf<Layout16>(process, table);
}

std::vector<HandleEntry> HandlesInTable64(std::span<const std::byte> table, std::uint64_t process) {
    return HandlesOf<Layout64>(process, table);
}

}  // namespace tandor
