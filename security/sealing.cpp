// What SecurityEncryptUtil does without the host log.
#include "tandor/sealing.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <utility>

#include "base/hex.h"
#include "base/lock.h"
#include "security/sealed_message.h"
#include "security/secret.h"

namespace {

constexpr int kLargestHexInput = 511;

// What guards an object's session key. The objects share a few locks, because their own layout has no room for one.
tandor::Lock& KeyLockOf(const SecurityEncryptUtil* object) {
    static std::array<tandor::Lock, 8> locks;
    return locks[reinterpret_cast<std::uintptr_t>(object) / sizeof(SecurityEncryptUtil) % locks.size()];
}

}  // namespace

// Exported as well: a caller that takes it by reference asks the library for it.
constexpr int SecurityEncryptUtil::SUPPORT_CHALLENGE_VERSION;

SecurityEncryptUtil::SecurityEncryptUtil(const SecurityEncryptUtil& other)
    : local_random_vector_(other.local_random_vector_),
      remote_random_vector_(other.remote_random_vector_),
      challenge_version_(other.challenge_version_),
      challenge_response_(other.challenge_response_) {
    const std::lock_guard guard(KeyLockOf(&other));
    session_key_ = other.session_key_;
    tandor::MoveOutOfObject(session_key_);
}

SecurityEncryptUtil::SecurityEncryptUtil(SecurityEncryptUtil&& other) noexcept { *this = std::move(other); }

SecurityEncryptUtil& SecurityEncryptUtil::operator=(const SecurityEncryptUtil& other) {
    if (this != &other) *this = SecurityEncryptUtil(other);
    return *this;
}

SecurityEncryptUtil& SecurityEncryptUtil::operator=(SecurityEncryptUtil&& other) noexcept {
    if (this == &other) return *this;
    tandor::SecretText key;
    {
        const std::lock_guard guard(KeyLockOf(&other));
        key.text.swap(other.session_key_);
    }
    ExchangeSessionKey(key.text);
    local_random_vector_ = std::move(other.local_random_vector_);
    remote_random_vector_ = std::move(other.remote_random_vector_);
    challenge_version_ = other.challenge_version_;
    challenge_response_ = other.challenge_response_;
    return *this;
}

SecurityEncryptUtil::~SecurityEncryptUtil() { tandor::WipeText(session_key_); }

SecurityEncryptUtil* SecurityEncryptUtil::GetInstance() {
    static SecurityEncryptUtil instance;
    return &instance;
}

void SecurityEncryptUtil::SetSessionKey(std::string keyHex) {
    tandor::MoveOutOfObject(keyHex);
    ExchangeSessionKey(keyHex);
    tandor::WipeText(keyHex);
}

void SecurityEncryptUtil::ExchangeSessionKey(std::string& key) noexcept {
    const std::lock_guard guard(KeyLockOf(this));
    session_key_.swap(key);
}

std::size_t SecurityEncryptUtil::CopySessionKey(char* digits, std::size_t room) const noexcept {
    const std::lock_guard guard(KeyLockOf(this));
    return session_key_.copy(digits, room);
}

void SecurityEncryptUtil::SetLocalRandomVector(std::string& vector) { local_random_vector_ = vector; }
std::string SecurityEncryptUtil::GetLocalRandomVector() { return local_random_vector_; }
void SecurityEncryptUtil::SetRemoteRandomVector(std::string& vector) { remote_random_vector_ = vector; }
std::string SecurityEncryptUtil::GetRemoteRandomVector() { return remote_random_vector_; }

void SecurityEncryptUtil::SetSupportChallengeVersion(int version) { challenge_version_ = version; }
int SecurityEncryptUtil::GetSupportChallengeVersion() { return challenge_version_; }
void SecurityEncryptUtil::SetIsSupportChallengeResponse(bool supported) { challenge_response_ = supported; }
bool SecurityEncryptUtil::IsSupportChallengeResponse() { return challenge_response_; }
bool SecurityEncryptUtil::IsSupportChallengeResponse(int required) {
    return (challenge_version_ & required) == required;
}

int SecurityEncryptUtil::AesGcmEncrypt(unsigned char* plain, int plainLen, unsigned char* out, const unsigned char* key,
                                       const unsigned char* iv) noexcept {
    return tandor::SealBytes(plain, plainLen, out, key, iv);
}

int SecurityEncryptUtil::AesGcmDecrypt(unsigned char* sealed, int sealedLen, unsigned char* out,
                                       const unsigned char* key) noexcept {
    return tandor::OpenBytes(sealed, sealedLen, out, key);
}

int SecurityEncryptUtil::HexToString(const unsigned char* data, int len, std::string& out) noexcept {
    if (data == nullptr || len <= 0 || len > kLargestHexInput) return 0;
    return tandor::AssignHex(data, len, out) ? 2 * len : 0;
}

bool SecurityEncryptUtil::HexStringToByte(const std::string& hex, unsigned long long hexLen, unsigned char* out,
                                          unsigned long long outSize) noexcept {
    if (hexLen % 2 != 0 || hexLen > hex.size() || hexLen / 2 > outSize) return false;
    const std::string_view digits(hex.data(), hexLen);
    if (out != nullptr) return tandor::ReadHex(digits, out) == hexLen / 2;
    return std::all_of(digits.begin(), digits.end(), [](char digit) { return tandor::HexValue(digit) >= 0; });
}
