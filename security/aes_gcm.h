// AES-256-GCM with 16-byte initialisation vectors: the cipher alone, without the message's form.
#pragma once

#include <openssl/types.h>

#include <cstddef>

namespace tandor {

inline constexpr int kGcmKeySize = 32;
inline constexpr int kGcmVectorSize = 16;
inline constexpr int kGcmTagSize = 16;

// A cipher context, lent from a small stock that all threads share: setting one up costs more than a short message.
// What goes back to the stock has its key schedule overwritten by that of the zero key.
class GcmCipher {
public:
    GcmCipher() noexcept;
    ~GcmCipher();
    GcmCipher(const GcmCipher&) = delete;
    GcmCipher& operator=(const GcmCipher&) = delete;

    // Encrypts `size` bytes and computes their tag. In place is allowed, another overlap is not.
    bool Encrypt(const unsigned char* key, const unsigned char* vector, const unsigned char* plain, int size,
                 unsigned char* cipher, unsigned char* tag) noexcept;

    // Decrypts `size` bytes and says whether the tag fits. On false `plain` holds what nobody has vouched for.
    [[nodiscard]] bool Decrypt(const unsigned char* key, const unsigned char* vector, const unsigned char* cipher,
                               int size, const unsigned char* tag, unsigned char* plain) noexcept;

private:
    EVP_CIPHER_CTX* context_;
};

}  // namespace tandor
