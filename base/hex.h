// Hexadecimal text of bytes: two digits a byte, high nibble first. Keys and plaintexts come through here: no memory is
// addressed by a digit or a nibble, and nothing is branched on but whether a character is a digit at all, so that the
// time and the traces in the processor's cache say nothing about the bytes. Of text that is not hexadecimal the time
// tells where it stops being so.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tandor {

enum class HexCase { kUpper, kLower };

// Writes 2 * size digits to `out`.
void WriteHex(const void* data, std::size_t size, HexCase digits, char* out);
std::string HexFromBytes(std::string_view bytes, HexCase digits);

// The value of a hexadecimal digit in either case, or -1.
constexpr int HexValue(char digit) {
    const int c = static_cast<unsigned char>(digit);
    // Each mask is all ones when the character lies in the range: only there both differences are not negative.
    const int number = c - '0', letter = (c | 0x20) - 'a';
    const int is_number = ~((number | (9 - number)) >> 31), is_letter = ~((letter | (5 - letter)) >> 31);
    return (number & is_number) | ((letter + 10) & is_letter) | ~(is_number | is_letter);
}

// Decodes size / 2 bytes into `out` (an odd last character is left out). Returns how many bytes were decoded before the
// first character that is not a hexadecimal digit; all of them when there is none. Nothing is written behind those.
std::size_t ReadHex(std::string_view digits, unsigned char* out);

}  // namespace tandor
