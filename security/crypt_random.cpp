#include <windows.h>

#include <bcrypt.h>

#include <exception>

#include "foundation/message.h"
#include "tandor/crypto.h"

CryptRandom::~CryptRandom() = default;

int CryptRandom::Gen(unsigned char* const buffer, unsigned long length) noexcept {
    const NTSTATUS status = ::BCryptGenRandom(nullptr, buffer, length, BCRYPT_USE_SYSTEM_PREFERRED_RNG);
    if (status == 0) return 1;
    try {
        tandor::LogMessage(tandor::kFailure, L"CryptRandom::Gen", L"gen random failed, errCode ", status);
    } catch (const std::exception&) {  // no memory for the line; the result says the same
        return 0;
    }
    return 0;
}

int CryptRandom::Random(void* buffer, unsigned long length) noexcept {
    return Gen(static_cast<unsigned char*>(buffer), length);
}
