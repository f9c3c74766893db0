// Memory for secrets that is wiped at its end.
#pragma once

#include <openssl/crypto.h>

#include <cstddef>
#include <string>

namespace tandor {

// Bytes on the stack, zeroed at both ends of their life.
template <std::size_t Size>
struct SecretBytes {
    SecretBytes() = default;
    SecretBytes(const SecretBytes&) = delete;
    SecretBytes& operator=(const SecretBytes&) = delete;
    ~SecretBytes() { ::OPENSSL_cleanse(bytes, Size); }

    unsigned char bytes[Size]{};
};

// Empties the text and zeroes all memory that it holds, also what lies behind its end.
inline void WipeText(std::string& text) {
    text.resize(text.capacity());  // within the capacity: nothing is moved
    ::OPENSSL_cleanse(text.data(), text.size());
    text.clear();
}

}  // namespace tandor
