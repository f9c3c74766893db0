// Memory for secrets that is wiped at its end.
#pragma once

#include <openssl/crypto.h>

#include <cstddef>
#include <string>
#include <utility>

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
inline void WipeText(std::string& text) noexcept {
    text.resize(text.capacity());  // within the capacity: nothing is moved
    ::OPENSSL_cleanse(text.data(), text.size());
    text.clear();
}

// Makes room for `size` characters. A text that grows by itself hands its old memory back with what is in it; here that
// is wiped first, and the text emptied. Throws std::bad_alloc, the text being as before.
inline void ReserveWiped(std::string& text, std::size_t size) {
    if (size <= text.capacity()) return;
    std::string larger;
    larger.reserve(size);
    WipeText(text);
    text.swap(larger);
}

// Moves a short text, which lies in its object, to memory of its own: swapping and moving the object would leave parts
// of it behind, where no wiping reaches. Throws std::bad_alloc, the text being wiped.
inline void MoveOutOfObject(std::string& text) {
    const std::size_t inside = std::string().capacity();
    if (text.empty() || text.capacity() > inside) return;
    SecretBytes<sizeof(std::string)> kept;
    const std::size_t size = text.copy(reinterpret_cast<char*>(kept.bytes), sizeof(kept.bytes));
    WipeText(text);
    text.reserve(inside + 1);
    text.assign(reinterpret_cast<const char*>(kept.bytes), size);
}

// A text that is wiped at its end.
struct SecretText {
    std::string text;

    SecretText() = default;
    explicit SecretText(std::string content) : text(std::move(content)) {}
    ~SecretText() { WipeText(text); }
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;
};

}  // namespace tandor
