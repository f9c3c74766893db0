// SHA-256 of bytes that come in pieces.
#pragma once

#include <openssl/sha.h>

#include <cstddef>

namespace tandor {

class Sha256 {
public:
    static constexpr std::size_t kSize = SHA256_DIGEST_LENGTH;

    Sha256() noexcept;
    ~Sha256();  // wipes the state
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    // False when the library refused this or an earlier piece.
    bool Update(const void* data, std::size_t size) noexcept;
    bool Finish(unsigned char* digest) noexcept;

private:
    SHA256_CTX context_;
    bool good_;
};

}  // namespace tandor
