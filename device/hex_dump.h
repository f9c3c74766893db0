// Bytes from hexadecimal text as people have it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tandor {

inline constexpr std::size_t kLargestDump = 32768;  // bytes: a base block and all extensions it can count

// The bytes, or what is wrong and where.
struct HexDump {
    std::vector<std::uint8_t> bytes;
    const char* fault = nullptr;  // null when all is well
    std::size_t line = 0;         // from 1
    std::size_t column = 0;       // from 1, in bytes
};

// Reads pairs of digits, in words of any even length, with or without 0x, between blanks, commas, dashes, colons,
// semicolons, braces and quotes; the lines of a registry export behind "hex:"; and dumps with offsets, which begin with
// a word of four or more zeros. Each offset must be the number of bytes before it. In such a dump the column of
// characters is passed over (behind a bar or an angle, behind an offset's colon and two blanks, or behind 16 bytes and
// two blanks), a line with an offset alone ends it, and a star repeats the line before up to the next offset. The text
// is UTF-8 or UTF-16 with its mark.
HexDump ReadHexDump(std::string_view text);

}  // namespace tandor
