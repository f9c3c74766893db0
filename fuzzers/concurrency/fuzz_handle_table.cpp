// The walk through a handle table of any content stays inside it and agrees with a search byte by byte.
#include "concurrency/handle_table.h"
#include "fuzzers/property.h"

namespace {

using tandor::HandleEntry;

struct Model {
    std::size_t count_bytes, header, entry, process_at, process_bytes, type_at, type_bytes, handle_at, handle_bytes;
};
constexpr Model kModel16{4, 8, 24, 0, 4, 4, 1, 6, 2};
constexpr Model kModel64{8, 16, 40, 8, 8, 30, 2, 16, 8};

std::uint64_t Number(const std::uint8_t* data, std::size_t bytes) {
    std::uint64_t number = 0;
    while (bytes-- > 0) number = number << 8 | data[bytes];
    return number;
}

std::vector<HandleEntry> Search(const Model& model, const std::uint8_t* data, std::size_t size, std::uint64_t process) {
    std::vector<HandleEntry> found;
    if (size < model.header) return found;
    std::uint64_t left = Number(data, model.count_bytes);
    for (std::size_t at = model.header; left > 0 && at + model.entry <= size; at += model.entry, --left) {
        if (Number(data + at + model.process_at, model.process_bytes) != process) continue;
        found.push_back({Number(data + at + model.handle_at, model.handle_bytes),
                         static_cast<std::uint32_t>(Number(data + at + model.type_at, model.type_bytes))});
    }
    return found;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::byte> table(reinterpret_cast<const std::byte*>(data), size);
    // The processes of the first entries, so that something is found.
    const auto process16 = size >= 12 ? static_cast<std::uint32_t>(Number(data + 8, 4)) : 0;
    const std::uint64_t process64 = size >= 32 ? Number(data + 24, 8) : 0;
    TANDOR_HOLDS(tandor::HandlesInTable16(table, process16) == Search(kModel16, data, size, process16));
    TANDOR_HOLDS(tandor::HandlesInTable64(table, process64) == Search(kModel64, data, size, process64));
    return 0;
}
