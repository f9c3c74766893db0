#include "security/aes_gcm.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <array>
#include <atomic>

#include "base/crypto_start.h"

namespace tandor {
namespace {

std::array<std::atomic<EVP_CIPHER_CTX*>, 16> stock{};

void EmptyStock() {
    for (auto& slot : stock) ::EVP_CIPHER_CTX_free(slot.exchange(nullptr, std::memory_order_acq_rel));
}

// The stock is emptied by the library's own clean-up, because it must not outlive it. A failure is not kept: the next
// call may have the memory that this one lacked. Emptying it twice does no harm.
bool PrepareLibrary() noexcept {
    static std::atomic<bool> prepared = false;
    if (prepared.load(std::memory_order_acquire)) return true;
    if (!StartCrypto() || ::OPENSSL_atexit(EmptyStock) != 1) return false;
    prepared.store(true, std::memory_order_release);
    return true;
}

EVP_CIPHER_CTX* NewContext() noexcept {
    if (!PrepareLibrary()) return nullptr;
    EVP_CIPHER_CTX* const context = ::EVP_CIPHER_CTX_new();
    if (context != nullptr && ::EVP_EncryptInit_ex(context, ::EVP_aes_256_gcm(), nullptr, nullptr, nullptr) == 1 &&
        ::EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_IVLEN, kGcmVectorSize, nullptr) == 1) {
        return context;
    }
    ::EVP_CIPHER_CTX_free(context);
    return nullptr;
}

EVP_CIPHER_CTX* TakeContext() noexcept {
    for (auto& slot : stock) {
        if (slot.load(std::memory_order_relaxed) == nullptr) continue;
        if (EVP_CIPHER_CTX* const context = slot.exchange(nullptr, std::memory_order_acq_rel)) return context;
    }
    return NewContext();
}

void GiveContext(EVP_CIPHER_CTX* context) noexcept {
    for (auto& slot : stock) {
        EVP_CIPHER_CTX* empty = nullptr;
        if (slot.load(std::memory_order_relaxed) == nullptr &&
            slot.compare_exchange_strong(empty, context, std::memory_order_acq_rel)) {
            return;
        }
    }
    ::EVP_CIPHER_CTX_free(context);
}

// The expanded key and the tag's table are all overwritten by a new key; freeing the context would wipe them as well,
// but costs twice as much.
bool ForgetKey(EVP_CIPHER_CTX* context) noexcept {
    static constexpr unsigned char kZeroKey[kGcmKeySize] = {};
    return ::EVP_EncryptInit_ex(context, nullptr, nullptr, kZeroKey, nullptr) == 1;
}

}  // namespace

GcmCipher::GcmCipher() noexcept : context_(TakeContext()) {}

GcmCipher::~GcmCipher() {
    if (context_ == nullptr) return;
    ForgetKey(context_) ? GiveContext(context_) : ::EVP_CIPHER_CTX_free(context_);
}

bool GcmCipher::Encrypt(const unsigned char* key, const unsigned char* vector, const unsigned char* plain, int size,
                        unsigned char* cipher, unsigned char* tag) noexcept {
    int written = 0;
    return context_ != nullptr && ::EVP_EncryptInit_ex(context_, nullptr, nullptr, key, vector) == 1 &&
           (size == 0 || ::EVP_EncryptUpdate(context_, cipher, &written, plain, size) == 1) && written == size &&
           ::EVP_EncryptFinal_ex(context_, cipher + size, &written) == 1 &&
           ::EVP_CIPHER_CTX_ctrl(context_, EVP_CTRL_GCM_GET_TAG, kGcmTagSize, tag) == 1;
}

bool GcmCipher::Decrypt(const unsigned char* key, const unsigned char* vector, const unsigned char* cipher, int size,
                        const unsigned char* tag, unsigned char* plain) noexcept {
    int written = 0;
    return context_ != nullptr && ::EVP_DecryptInit_ex(context_, nullptr, nullptr, key, vector) == 1 &&
           (size == 0 || ::EVP_DecryptUpdate(context_, plain, &written, cipher, size) == 1) && written == size &&
           ::EVP_CIPHER_CTX_ctrl(context_, EVP_CTRL_GCM_SET_TAG, kGcmTagSize, const_cast<unsigned char*>(tag)) == 1 &&
           ::EVP_DecryptFinal_ex(context_, plain + size, &written) == 1;
}

}  // namespace tandor
