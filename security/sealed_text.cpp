#include "security/sealed_text.h"

#include "base/hex.h"
#include "security/aes_gcm.h"
#include "security/secret.h"
#include "tandor/sealing.h"

namespace tandor {
namespace {

constexpr int kFailed = -1;
constexpr int kOverhead = kGcmVectorSize + kGcmTagSize;
constexpr std::size_t kBufferSize = 200;  // of the sealed message when sealing, of the plaintext when opening

// Decodes all of `hex`; the rest of `out` stays as it is. The number of bytes, or -1.
template <std::size_t Size>
int ReadAll(const std::string& hex, SecretBytes<Size>& out) {
    if (hex.size() % 2 != 0 || hex.size() / 2 > Size) return kFailed;
    const std::size_t size = hex.size() / 2;
    return ReadHex(hex, out.bytes) == size ? static_cast<int>(size) : kFailed;
}

}  // namespace

int SealText(const std::string& key_hex, const std::string& plain_hex, const unsigned char* vector,
             std::string& sealed_hex) noexcept {
    SecretBytes<kGcmKeySize> key;
    SecretBytes<kBufferSize - kOverhead> plain;
    if (ReadAll(key_hex, key) <= 0) return kFailed;
    const int size = ReadAll(plain_hex, plain);
    if (size < 0) return kFailed;
    SecurityEncryptUtil util;
    unsigned char sealed[kBufferSize];
    const int result = util.AesGcmEncrypt(plain.bytes, size, sealed, key.bytes, vector);
    if (result > 0 && util.HexToString(sealed, result, sealed_hex) == 0) return kFailed;
    return result;
}

int OpenText(const std::string& key_hex, const std::string& sealed_hex, std::string& plain_hex) noexcept {
    SecretBytes<kGcmKeySize> key;
    SecretBytes<kBufferSize + kOverhead> sealed;
    SecretBytes<kBufferSize> plain;
    if (ReadAll(key_hex, key) <= 0) return kFailed;
    SecurityEncryptUtil util;
    const int result = util.AesGcmDecrypt(sealed.bytes, ReadAll(sealed_hex, sealed), plain.bytes, key.bytes);
    if (result > 0 && util.HexToString(plain.bytes, result, plain_hex) == 0) return kFailed;
    if (result == 0) plain_hex.clear();  // a message of no bytes is one, and not what the caller had there before
    return result;
}

}  // namespace tandor
