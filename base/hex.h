// Hexadecimal text of bytes: two digits a byte, high nibble first. The one table that everything uses.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tandor {

enum class HexCase { kUpper, kLower };

// Writes 2 * size digits to `out`.
void WriteHex(const void* data, std::size_t size, HexCase digits, char* out);
std::string HexFromBytes(std::string_view bytes, HexCase digits);

// The value of a hexadecimal digit in either case, or -1.
namespace hex_detail {
constexpr std::array<std::int8_t, 256> kValues = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::int8_t value = 0; value < 16; ++value) {
        values[static_cast<unsigned char>("0123456789ABCDEF"[value])] = value;
        values[static_cast<unsigned char>("0123456789abcdef"[value])] = value;
    }
    return values;
}();
}  // namespace hex_detail
constexpr int HexValue(char digit) { return hex_detail::kValues[static_cast<unsigned char>(digit)]; }

// Decodes size / 2 bytes into `out` (an odd last character is left out). Returns how many bytes were decoded before the
// first character that is not a hexadecimal digit; all of them when there is none.
std::size_t ReadHex(std::string_view digits, unsigned char* out);

}  // namespace tandor
