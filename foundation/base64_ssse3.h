// Base64 sixteen characters at a time. Only to be called on processors with SSSE3.
#pragma once

#include <cstddef>

namespace tandor {

// Codes as many groups of twelve bytes as can be read sixteen bytes wide; returns the number of bytes coded.
std::size_t EncodeBase64Blocks(const unsigned char* data, std::size_t size, char* out);

// Decodes blocks of sixteen characters up to the first one that holds anything but the alphabet, and not the last ones
// (sixteen bytes are written for twelve); returns the number of characters decoded.
std::size_t DecodeBase64Blocks(const unsigned char* text, std::size_t size, unsigned char* out);

}  // namespace tandor
