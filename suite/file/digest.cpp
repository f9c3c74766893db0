#include "pelora/digest.h"

#include <windows.h>

#include <bcrypt.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "base/hex.h"
#include "base/win_handle.h"

namespace DE {
namespace {

struct Algorithm {
    unsigned int identifier;
    const wchar_t* name;
    ULONG digest_length;
};
constexpr std::array kAlgorithms{Algorithm{0x8003, BCRYPT_MD5_ALGORITHM, 16},
                                 Algorithm{0x8004, BCRYPT_SHA1_ALGORITHM, 20},
                                 Algorithm{0x800C, BCRYPT_SHA256_ALGORITHM, 32}};
constexpr unsigned int kSha256 = 0x800C;
constexpr unsigned long kSha256Length = 32;

struct ProviderPolicy {
    using Value = BCRYPT_ALG_HANDLE;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { ::BCryptCloseAlgorithmProvider(value, 0); }
};

struct HashPolicy {
    using Value = BCRYPT_HASH_HANDLE;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { ::BCryptDestroyHash(value); }
};

// The interface counts in 32 bits and takes what it only reads through a pointer to non-const.
constexpr unsigned long long kLargestFeed = 1u << 30;

}  // namespace

class DigestHash {
public:
    bool Begin(const Algorithm& algorithm) noexcept {
        digest_length_ = algorithm.digest_length;
        return ::BCryptOpenAlgorithmProvider(provider_.Receive(), algorithm.name, nullptr, 0) >= 0 &&
               ::BCryptCreateHash(provider_.Get(), hash_.Receive(), nullptr, 0, nullptr, 0, 0) >= 0;
    }
    bool Feed(const unsigned char* data, unsigned long long length) noexcept {
        while (length > 0) {
            const auto part = static_cast<ULONG>(std::min(length, kLargestFeed));
            if (::BCryptHashData(hash_.Get(), const_cast<UCHAR*>(data), part, 0) < 0) return false;
            data += part;
            length -= part;
        }
        return true;
    }
    bool Finish(unsigned char* digest, ULONG length) noexcept {
        return length == digest_length_ && ::BCryptFinishHash(hash_.Get(), digest, length, 0) >= 0;
    }

private:
    tandor::UniqueHandle<ProviderPolicy> provider_;
    tandor::UniqueHandle<HashPolicy> hash_;  // closed before its provider
    ULONG digest_length_ = 0;
};

DigestHash* OpenDigest(unsigned int algorithm) noexcept {
    const auto* const found =
        std::find_if(kAlgorithms.begin(), kAlgorithms.end(),
                     [algorithm](const Algorithm& candidate) { return candidate.identifier == algorithm; });
    if (found == kAlgorithms.end()) return nullptr;
    std::unique_ptr<DigestHash> hash(new (std::nothrow) DigestHash);
    return hash != nullptr && hash->Begin(*found) ? hash.release() : nullptr;
}

bool FeedDigest(DigestHash* hash, const void* data, unsigned long long length) noexcept {
    if (hash == nullptr || (data == nullptr && length > 0)) return false;
    return hash->Feed(static_cast<const unsigned char*>(data), length);
}

bool FinishDigest(DigestHash* hash, unsigned char* digest, unsigned long length) noexcept {
    const std::unique_ptr<DigestHash> ended(hash);
    return hash != nullptr && digest != nullptr && hash->Finish(digest, length);
}

void CloseDigest(DigestHash* hash) noexcept { delete hash; }

std::string GetStringSha256(const std::string& text) {
    std::string digest(kSha256Length, '\0');
    DigestHash* const hash = OpenDigest(kSha256);
    const bool fed = FeedDigest(hash, text.data(), text.size());
    const bool finished = FinishDigest(hash, reinterpret_cast<unsigned char*>(digest.data()), kSha256Length);
    return fed && finished ? tandor::HexFromBytes(digest, tandor::HexCase::kLower) : std::string();
}

}  // namespace DE
