// What SecurityEncryptUtil does with random bytes and the host log.
#include <algorithm>
#include <exception>

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

constexpr wchar_t kEncrypt[] = L"SecurityEncryptUtil::AesGcmEncrypt";
constexpr wchar_t kDecrypt[] = L"SecurityEncryptUtil::AesGcmDecrypt";
constexpr wchar_t kGenerate[] = L"SecurityEncryptUtil::GenerateRandom";
constexpr int kNoVector = -1;

// A line that cannot be written for want of memory is dropped: what was done counts, and nothing may be thrown.
template <class... Parts>
void Report(LOG_MESSAGE_LEVEL level, const wchar_t* function, const Parts&... parts) noexcept {
    try {
        tandor::LogMessage(level, function, parts...);
    } catch (const std::exception&) {
        return;
    }
}

int ReportResult(int result, bool good, const wchar_t* function, const wchar_t* end) noexcept {
    good ? Report(kInfo, function, end) : Report(kFailure, function, L"error code ", result);
    return result;
}

}  // namespace

int SecurityEncryptUtil::AesGcmEncrypt(const std::string& plainHex, std::string& sealedHex) noexcept {
    unsigned char vector[tandor::kGcmVectorSize];
    if (!GenerateRandom(vector, sizeof(vector))) {
        Report(kFailure, kEncrypt, L"gen random fail");
        return kNoVector;
    }
    const int result = tandor::SealText(session_key_, plainHex, vector, sealedHex);
    return ReportResult(result, result > 0, kEncrypt, L"Encrpy end ");
}

int SecurityEncryptUtil::AesGcmDecrypt(const std::string& sealedHex, std::string& plainHex) noexcept {
    const int result = tandor::OpenText(session_key_, sealedHex, plainHex);
    return ReportResult(result, result >= 0, kDecrypt, L"Decrypt end ");
}

bool SecurityEncryptUtil::GenerateRandom(unsigned char* buffer, int len) noexcept {
    if (len >= 0 && CryptRandom::Gen(buffer, static_cast<unsigned long>(len)) == 1) return true;
    Report(kFailure, kGenerate, kGenerate, L" Fail to generate designated-length rand bytes!\n");
    return false;
}

bool SecurityEncryptUtil::GenerateRandom(std::string& hex, int len) noexcept {
    if (len < 1) return false;
    try {
        const auto size = static_cast<std::size_t>(len);
        std::string digits(2 * size, '\0');
        tandor::SecretBytes<512> part;
        for (std::size_t done = 0; done < size; done += sizeof(part.bytes)) {
            const std::size_t count = std::min(size - done, sizeof(part.bytes));
            if (!GenerateRandom(part.bytes, static_cast<int>(count))) {
                Report(kInfo, kGenerate, L"GenerateRandom error ");
                return false;
            }
            tandor::WriteHex(part.bytes, count, tandor::HexCase::kUpper, digits.data() + 2 * done);
        }
        hex = std::move(digits);
        return true;
    } catch (const std::exception&) {
        Report(kInfo, kGenerate, L"GenerateRandom error ");
        return false;
    }
}
