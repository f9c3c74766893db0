// Base64 with the standard alphabet and padding, as free functions.
#pragma once

#include <cstddef>

namespace tandor {

inline constexpr char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Writes (size + 2) / 3 * 4 characters.
void EncodeBase64(const unsigned char* data, std::size_t size, char* out);

// Returns the number of bytes written; size * 3 / 4 at most. The rules for what ends the decoding are the exported
// one's.
std::size_t DecodeBase64(const unsigned char* text, std::size_t size, unsigned char* out);

}  // namespace tandor
