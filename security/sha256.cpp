// The library's low-level functions are deprecated, and six times as fast for a short text as its general interface,
// which looks the algorithm up and allocates. They are called here and nowhere else.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "security/sha256.h"

#include <openssl/crypto.h>

namespace tandor {

Sha256::Sha256() noexcept : good_(::SHA256_Init(&context_) == 1) {}

Sha256::~Sha256() { ::OPENSSL_cleanse(&context_, sizeof(context_)); }

bool Sha256::Update(const void* data, std::size_t size) noexcept {
    good_ = good_ && ::SHA256_Update(&context_, data, size) == 1;
    return good_;
}

bool Sha256::Finish(unsigned char* digest) noexcept { return good_ && ::SHA256_Final(digest, &context_) == 1; }

}  // namespace tandor
