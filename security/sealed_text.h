// The text form of sealed messages, without the host log and the draw of the vector.
#pragma once

#include <string>

namespace tandor {

// What SecurityEncryptUtil's text forms do and return, under the key's text and with a given 16-byte vector.
int SealText(const std::string& key_hex, const std::string& plain_hex, const unsigned char* vector,
             std::string& sealed_hex) noexcept;
int OpenText(const std::string& key_hex, const std::string& sealed_hex, std::string& plain_hex) noexcept;

}  // namespace tandor
