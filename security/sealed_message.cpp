#include "security/sealed_message.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <new>

#include "base/hex.h"
#include "security/aes_gcm.h"
#include "security/secret.h"

namespace tandor {
namespace {

constexpr int kOverhead = kGcmVectorSize + kGcmTagSize;
constexpr int kFailed = -1;
constexpr int kNotCopied = -15;
constexpr std::size_t kTextBuffer = 200;  // of the sealed message when sealing text, of the plaintext when opening it

int NotCopied() {
    errno = EINVAL;
    return kNotCopied;
}

bool Overlap(const unsigned char* left, int left_size, const unsigned char* right, int right_size) {
    const std::less<> before;
    return before(left, right + right_size) && before(right, left + left_size);
}

// Where a plaintext stays until its tag has been checked.
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

// Decodes all of `hex`; the rest of `out` stays zero. The number of bytes, or -1.
template <std::size_t Size>
int DecodeHex(std::string_view hex, SecretBytes<Size>& out) {
    const std::size_t size = hex.size() / 2;
    if (hex.size() % 2 != 0 || size > Size || ReadHex(hex, out.bytes) != size) return kFailed;
    return static_cast<int>(size);
}

}  // namespace

int SealBytes(const unsigned char* plain, int size, unsigned char* out, const unsigned char* key,
              const unsigned char* vector) noexcept {
    if (out == nullptr || vector == nullptr) return NotCopied();
    if (key == nullptr || size < 0 || size > INT_MAX - kOverhead || (plain == nullptr && size > 0)) return kFailed;
    unsigned char kept_vector[kGcmVectorSize];  // they may lie where the message goes
    SecretBytes<kGcmKeySize> kept_key;
    std::memcpy(kept_vector, vector, sizeof(kept_vector));
    std::memcpy(kept_key.bytes, key, sizeof(kept_key.bytes));
    unsigned char* const cipher = out + kGcmVectorSize;
    if (size > 0 && Overlap(plain, size, out, size + kOverhead)) {
        std::memmove(cipher, plain, static_cast<std::size_t>(size));  // from here it is encrypted in place
        plain = cipher;
    }
    std::memcpy(out, kept_vector, sizeof(kept_vector));
    if (GcmCipher().Encrypt(kept_key.bytes, kept_vector, plain, size, cipher, cipher + size)) return size + kOverhead;
    ::OPENSSL_cleanse(out, static_cast<std::size_t>(size) + kOverhead);  // the plaintext may have been moved there
    return kFailed;
}

int OpenBytes(const unsigned char* sealed, int sealed_size, unsigned char* out, const unsigned char* key) noexcept {
    if (sealed == nullptr) return NotCopied();
    const int size = sealed_size < kOverhead ? -1 : sealed_size - kOverhead;
    if (key == nullptr || size < 0 || (out == nullptr && size > 0)) return kFailed;
    UncheckedPlaintext plain(size);
    const unsigned char* const cipher = sealed + kGcmVectorSize;
    if (plain.Get() == nullptr || !GcmCipher().Decrypt(key, sealed, cipher, size, cipher + size, plain.Get())) {
        return kFailed;
    }
    if (size > 0) std::memcpy(out, plain.Get(), static_cast<std::size_t>(size));
    return size;
}

int SealText(std::string_view key_hex, const std::string& plain_hex, const unsigned char* vector,
             std::string& sealed_hex) noexcept {
    SecretBytes<kGcmKeySize> key;
    SecretBytes<kTextBuffer - kOverhead> plain;
    if (DecodeHex(key_hex, key) <= 0) return kFailed;
    unsigned char sealed[kTextBuffer];
    const int result = SealBytes(plain.bytes, DecodeHex(plain_hex, plain), sealed, key.bytes, vector);
    return result > 0 && !AssignHex(sealed, result, sealed_hex) ? kFailed : result;
}

int OpenText(std::string_view key_hex, const std::string& sealed_hex, std::string& plain_hex) noexcept {
    SecretBytes<kGcmKeySize> key;
    SecretBytes<kTextBuffer + kOverhead> sealed;
    SecretBytes<kTextBuffer> plain;
    if (DecodeHex(key_hex, key) <= 0) return kFailed;
    const int result = OpenBytes(sealed.bytes, DecodeHex(sealed_hex, sealed), plain.bytes, key.bytes);
    // A message of no bytes is one: the output becomes empty and does not keep what it had before.
    return result >= 0 && !AssignHex(plain.bytes, result, plain_hex) ? kFailed : result;
}

bool AssignHex(const unsigned char* data, int size, std::string& out) noexcept {
    const std::size_t digits = 2 * static_cast<std::size_t>(size);
    try {
        ReserveWiped(out, digits);
    } catch (const std::bad_alloc&) {
        return false;
    }
    out.resize(digits);
    WriteHex(data, static_cast<std::size_t>(size), HexCase::kUpper, out.data());
    return true;
}

}  // namespace tandor
