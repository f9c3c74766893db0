// A record as bytes in the outbox's files: its content, and the entry of the journal that holds it for the time being.
//
//     version 1 (8-bit), event, extra, number of values (32-bit), for each: 1 for a number or 0 (8-bit), key, text;
//     number of files (32-bit), for each: path, size, time (64-bit). Texts have their length before them (32-bit); all
//     numbers are little-endian.
//
// An entry is the length of what follows the check (32-bit), a check of that (64-bit), sequence (64-bit), time
// (64-bit), process (32-bit), kind (8-bit), and the content.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "pelora/outbox.h"

namespace pelora {

std::string EncodeContent(const OutboxRecord& record);

// Reads event, extra, values and files. False when the bytes are not what EncodeContent writes; the record's content is
// unspecified then.
[[nodiscard]] bool DecodeContent(std::string_view bytes, OutboxRecord& record);

struct JournalEntry {
    std::uint64_t sequence = 0;
    std::int64_t time = 0;
    std::uint32_t process = 0;
    OutboxKind kind = OutboxKind::kBusiness;
    std::string_view content;
};

inline constexpr std::size_t kEntryHead = 33;  // bytes of an entry before its content

std::string EncodeEntry(const JournalEntry& entry);

// Takes the entry at the front of `bytes` off. False, and nothing is changed, when no whole one begins there. The
// content lies in the bytes.
[[nodiscard]] bool TakeEntry(std::string_view& bytes, JournalEntry& entry);

}  // namespace pelora
