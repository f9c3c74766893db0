// What SecurityEncryptUtil does with random bytes and the host log.
#include <algorithm>
#include <exception>
#include <string_view>

#include "base/hex.h"
#include "foundation/message.h"
#include "security/aes_gcm.h"
#include "security/sealed_message.h"
#include "security/secret.h"
#include "tandor/crypto.h"
#include "tandor/sealing.h"

namespace {

using tandor::kFailure;
using tandor::kInfo;
using tandor::TryLogMessage;

constexpr wchar_t kEncrypt[] = L"SecurityEncryptUtil::AesGcmEncrypt";
constexpr wchar_t kDecrypt[] = L"SecurityEncryptUtil::AesGcmDecrypt";
constexpr wchar_t kGenerate[] = L"SecurityEncryptUtil::GenerateRandom";
constexpr int kNoVector = -1;

// The session key's digits, or one more than a key can have: too many are refused as they would be whole.
using KeyDigits = tandor::SecretBytes<2 * tandor::kGcmKeySize + 1>;

char* Text(KeyDigits& digits) { return reinterpret_cast<char*>(digits.bytes); }

int ReportResult(int result, bool good, const wchar_t* function, const wchar_t* end) noexcept {
    good ? TryLogMessage(kInfo, function, end) : TryLogMessage(kFailure, function, L"error code ", result);
    return result;
}

bool Draw(unsigned char* buffer, int size) noexcept {
    if (size >= 0 && CryptRandom::Gen(buffer, static_cast<unsigned long>(size)) == 1) return true;
    TryLogMessage(kFailure, kGenerate, kGenerate, L" Fail to generate designated-length rand bytes!\n");
    return false;
}

bool RefuseText() noexcept {
    TryLogMessage(kInfo, kGenerate, L"GenerateRandom error ");
    return false;
}

bool DrawForText(unsigned char* buffer, int size) noexcept { return Draw(buffer, size) || RefuseText(); }

}  // namespace

int SecurityEncryptUtil::AesGcmEncrypt(const std::string& plainHex, std::string& sealedHex) noexcept {
    unsigned char vector[tandor::kGcmVectorSize];
    if (!DrawForText(vector, sizeof(vector))) {
        TryLogMessage(kFailure, kEncrypt, L"gen random fail");
        return kNoVector;
    }
    KeyDigits digits;
    const std::string_view key(Text(digits), CopySessionKey(Text(digits), sizeof(digits.bytes)));
    const int result = tandor::SealText(key, plainHex, vector, sealedHex);
    return ReportResult(result, result > 0, kEncrypt, L"Encrpy end ");
}

int SecurityEncryptUtil::AesGcmDecrypt(const std::string& sealedHex, std::string& plainHex) noexcept {
    KeyDigits digits;
    const std::string_view key(Text(digits), CopySessionKey(Text(digits), sizeof(digits.bytes)));
    const int result = tandor::OpenText(key, sealedHex, plainHex);
    return ReportResult(result, result >= 0, kDecrypt, L"Decrypt end ");
}

bool SecurityEncryptUtil::GenerateRandom(unsigned char* buffer, int len) noexcept { return Draw(buffer, len); }

bool SecurityEncryptUtil::GenerateRandom(std::string& hex, int len) noexcept {
    if (len < 1) return false;
    const auto size = static_cast<std::size_t>(len);
    tandor::SecretText digits;
    try {
        digits.text.resize(2 * size);
    } catch (const std::exception&) {
        return RefuseText();
    }
    tandor::SecretBytes<512> part;
    for (std::size_t done = 0; done < size; done += sizeof(part.bytes)) {
        const std::size_t count = std::min(size - done, sizeof(part.bytes));
        if (!DrawForText(part.bytes, static_cast<int>(count))) return false;
        tandor::WriteHex(part.bytes, count, tandor::HexCase::kUpper, digits.text.data() + 2 * done);
    }
    tandor::WipeText(hex);
    hex.swap(digits.text);
    return true;
}
