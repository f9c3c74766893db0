// SHA-256 of memory.
#include <new>

#include "base/hex.h"
#include "security/sha256.h"
#include "tandor/sealing.h"

unsigned char* CTandorSecTools::OPENSSL_SHA256(const unsigned char* data, unsigned long long len,
                                               unsigned char* digest) noexcept {
    static unsigned char shared[tandor::Sha256::kSize];
    if (data == nullptr && len > 0) return nullptr;
    if (digest == nullptr) digest = shared;
    tandor::Sha256 hash;
    return hash.Update(data, len) && hash.Finish(digest) ? digest : nullptr;
}

bool CTandorSecTools::NormalizeSha256(unsigned char* digest, std::string& out) noexcept {
    if (digest == nullptr) return false;
    const std::size_t before = out.size();
    try {
        out.resize(before + 2 * tandor::Sha256::kSize);
    } catch (const std::exception&) {  // no memory, or a text that cannot grow further
        return false;
    }
    tandor::WriteHex(digest, tandor::Sha256::kSize, tandor::HexCase::kLower, out.data() + before);
    return true;
}
