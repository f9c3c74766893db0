#include <cstddef>
#include <string_view>
#include <utility>

#include "pelora/digest.h"
#include "tandor/crypto.h"

namespace DE {
namespace {

constexpr std::size_t kShortIdentifier = 8;

DigestHash* Hash(void* handle) { return static_cast<DigestHash*>(handle); }

}  // namespace

static_assert(sizeof(CryptBase) == 24, "virtual table, handle and the two numbers");

CryptBase::CryptBase(unsigned long algId, unsigned long digestLen) noexcept
    : algorithm_(static_cast<unsigned int>(algId)), digest_length_(static_cast<unsigned int>(digestLen)) {}

CryptBase::CryptBase(const CryptBase& other) noexcept = default;
CryptBase& CryptBase::operator=(const CryptBase& other) noexcept = default;
CryptBase::~CryptBase() { Reset(); }

bool CryptBase::Create() noexcept {
    Reset();
    hash_ = OpenDigest(algorithm_);
    return hash_ != nullptr;
}

bool CryptBase::Update(const void* data, unsigned long long length) noexcept {
    return FeedDigest(Hash(hash_), data, length);
}

bool CryptBase::Finish(unsigned char* digest) noexcept {
    return FinishDigest(Hash(std::exchange(hash_, nullptr)), digest, digest_length_);
}

void CryptBase::Reset() noexcept { CloseDigest(Hash(std::exchange(hash_, nullptr))); }

CryptMD5::CryptMD5() noexcept : CryptBase(0x8003, 16) {}
CryptSHA1::CryptSHA1() noexcept : CryptBase(0x8004, 20) {}
CryptSHA256::CryptSHA256() noexcept : CryptBase(0x800C, 32) {}

bool IsShortIdentifierOf(const std::string& shortIdentifier, const std::string& identifier) {
    const std::string digest = GetStringSha256(identifier);
    return digest.size() >= kShortIdentifier && shortIdentifier == std::string_view(digest).substr(0, kShortIdentifier);
}

}  // namespace DE
