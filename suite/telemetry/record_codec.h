// The content of a record as bytes in the outbox's file.
//
//     version 1 (8-bit), event, extra, number of values (32-bit), for each: 1 for a number or 0 (8-bit), key, text;
//     number of files (32-bit), for each: path, size, time (64-bit). Texts have their length before them (32-bit); all
//     numbers are little-endian.
#pragma once

#include <string>
#include <string_view>

#include "pelora/outbox.h"

namespace pelora {

std::string EncodeContent(const OutboxRecord& record);

// Reads event, extra, values and files. False when the bytes are not what EncodeContent writes; the record's content is
// unspecified then.
[[nodiscard]] bool DecodeContent(std::string_view bytes, OutboxRecord& record);

}  // namespace pelora
