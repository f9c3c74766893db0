#include <windows.h>

#include <bcrypt.h>

#include <algorithm>

#include "foundation/message.h"
#include "tandor/crypto.h"

namespace {

// Some systems draw from a device that gives no more than 32 MiB at once.
constexpr unsigned long kLargestDraw = 16 * 1024 * 1024;
constexpr NTSTATUS kInvalidParameter = static_cast<NTSTATUS>(0xC000000D);

NTSTATUS Draw(unsigned char* buffer, unsigned long length) noexcept {
    if (buffer == nullptr) return kInvalidParameter;
    while (length > 0) {
        const unsigned long part = std::min(length, kLargestDraw);
        const NTSTATUS status = ::BCryptGenRandom(nullptr, buffer, part, BCRYPT_USE_SYSTEM_PREFERRED_RNG);
        if (status != 0) return status;
        buffer += part;
        length -= part;
    }
    return 0;
}

}  // namespace

CryptRandom::~CryptRandom() = default;

int CryptRandom::Gen(unsigned char* const buffer, unsigned long length) noexcept {
    const NTSTATUS status = Draw(buffer, length);
    if (status == 0) return 1;
    tandor::TryLogMessage(tandor::kFailure, L"CryptRandom::Gen", L"gen random failed, errCode ", status);
    return 0;
}

int CryptRandom::Random(void* buffer, unsigned long length) noexcept {
    return Gen(static_cast<unsigned char*>(buffer), length);
}
