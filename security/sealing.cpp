// What SecurityEncryptUtil does without the host log.
#include "tandor/sealing.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <new>

#include "base/hex.h"
#include "security/aes_gcm.h"
#include "security/secret.h"

namespace {

constexpr int kOverhead = tandor::kGcmVectorSize + tandor::kGcmTagSize;
constexpr int kCipherFailed = -1;
constexpr int kNotCopied = -15;
constexpr int kLargestHexInput = 511;

int NotCopied() {
    errno = EINVAL;
    return kNotCopied;
}

bool Overlap(const unsigned char* left, const unsigned char* right, int left_size, int right_size) {
    const std::less<> before;
    return before(left, right + right_size) && before(right, left + left_size);
}

// The plaintext stays here until its tag has been checked.
class UncheckedPlaintext {
public:
    explicit UncheckedPlaintext(int size) noexcept
        : size_(static_cast<std::size_t>(size)),
          large_(size_ > sizeof(small_) ? new (std::nothrow) unsigned char[size_] : nullptr) {}
    ~UncheckedPlaintext() {
        if (Get() != nullptr) ::OPENSSL_cleanse(Get(), size_);
    }
    UncheckedPlaintext(const UncheckedPlaintext&) = delete;
    UncheckedPlaintext& operator=(const UncheckedPlaintext&) = delete;

    // Null for want of memory.
    [[nodiscard]] unsigned char* Get() noexcept { return size_ > sizeof(small_) ? large_.get() : small_; }

private:
    unsigned char small_[512];
    std::size_t size_;
    std::unique_ptr<unsigned char[]> large_;
};

}  // namespace

SecurityEncryptUtil::SecurityEncryptUtil(const SecurityEncryptUtil& other) = default;
SecurityEncryptUtil::SecurityEncryptUtil(SecurityEncryptUtil&& other) noexcept = default;

SecurityEncryptUtil& SecurityEncryptUtil::operator=(const SecurityEncryptUtil& other) {
    if (this != &other) *this = SecurityEncryptUtil(other);
    return *this;
}

SecurityEncryptUtil& SecurityEncryptUtil::operator=(SecurityEncryptUtil&& other) noexcept {
    if (this == &other) return *this;
    tandor::WipeText(session_key_);  // the assignment hands the old memory on, with what is in it
    session_key_ = std::move(other.session_key_);
    tandor::WipeText(other.session_key_);
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
    session_key_.swap(keyHex);
    tandor::WipeText(keyHex);
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
    if (out == nullptr || iv == nullptr) return NotCopied();
    if (key == nullptr || plainLen < 0 || plainLen > INT_MAX - kOverhead || (plain == nullptr && plainLen > 0)) {
        return kCipherFailed;
    }
    unsigned char vector[tandor::kGcmVectorSize];
    std::memcpy(vector, iv, sizeof(vector));
    unsigned char* const cipher = out + sizeof(vector);
    if (plainLen > 0 && Overlap(plain, out, plainLen, plainLen + kOverhead)) {
        std::memmove(cipher, plain, static_cast<std::size_t>(plainLen));
        plain = cipher;
    }
    std::memcpy(out, vector, sizeof(vector));
    return tandor::GcmCipher().Encrypt(key, vector, plain, plainLen, cipher, cipher + plainLen) ? plainLen + kOverhead
                                                                                                : kCipherFailed;
}

int SecurityEncryptUtil::AesGcmDecrypt(unsigned char* sealed, int sealedLen, unsigned char* out,
                                       const unsigned char* key) noexcept {
    if (sealed == nullptr) return NotCopied();
    const int size = sealedLen < kOverhead ? -1 : sealedLen - kOverhead;
    if (key == nullptr || size < 0 || (out == nullptr && size > 0)) return kCipherFailed;
    UncheckedPlaintext plain(size);
    const unsigned char* const cipher = sealed + tandor::kGcmVectorSize;
    if (plain.Get() == nullptr || !tandor::GcmCipher().Decrypt(key, sealed, cipher, size, cipher + size, plain.Get())) {
        return kCipherFailed;
    }
    if (size > 0) std::memcpy(out, plain.Get(), static_cast<std::size_t>(size));
    return size;
}

int SecurityEncryptUtil::HexToString(const unsigned char* data, int len, std::string& out) noexcept {
    if (data == nullptr || len <= 0 || len > kLargestHexInput) return 0;
    try {
        out.resize(2 * static_cast<std::size_t>(len));
    } catch (const std::bad_alloc&) {
        return 0;
    }
    tandor::WriteHex(data, static_cast<std::size_t>(len), tandor::HexCase::kUpper, out.data());
    return 2 * len;
}

bool SecurityEncryptUtil::HexStringToByte(const std::string& hex, unsigned long long hexLen, unsigned char* out,
                                          unsigned long long outSize) noexcept {
    if (hexLen % 2 != 0 || hexLen > hex.size() || hexLen / 2 > outSize) return false;
    const std::string_view digits(hex.data(), hexLen);
    if (out != nullptr) return tandor::ReadHex(digits, out) == hexLen / 2;
    return std::all_of(digits.begin(), digits.end(), [](char digit) { return tandor::HexValue(digit) >= 0; });
}
