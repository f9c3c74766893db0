// Sealed messages, as free functions: the initialisation vector, the ciphertext, the tag; in bytes and as text.
#pragma once

#include <string>
#include <string_view>

namespace tandor {

// What SecurityEncryptUtil's byte forms do and return.
int SealBytes(const unsigned char* plain, int size, unsigned char* out, const unsigned char* key,
              const unsigned char* vector) noexcept;
int OpenBytes(const unsigned char* sealed, int sealed_size, unsigned char* out, const unsigned char* key) noexcept;

// What its text forms do and return, under the key's text and with a given 16-byte vector.
int SealText(std::string_view key_hex, const std::string& plain_hex, const unsigned char* vector,
             std::string& sealed_hex) noexcept;
int OpenText(std::string_view key_hex, const std::string& sealed_hex, std::string& plain_hex) noexcept;

// Replaces `out` by the bytes' upper-case digits, and wipes what it held where it has to grow. False for want of
// memory, `out` untouched.
bool AssignHex(const unsigned char* data, int size, std::string& out) noexcept;

}  // namespace tandor
