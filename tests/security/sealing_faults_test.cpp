// Every call into the cipher library and every allocation fails once, one at a time. The linker leads them through
// here: see tests/CMakeLists.txt.
#include <openssl/evp.h>
#include <openssl/sha.h>

#include <new>

#include "security/aes_gcm.h"
#include "security/sealed_message.h"
#include "support/fail_each_step.h"
#include "support/testing.h"
#include "tandor/sealing.h"

namespace {

thread_local int steps_left = 0;  // the step that makes it 0 fails

bool Fails() { return steps_left > 0 && --steps_left == 0; }

}  // namespace

#define TANDOR_FAILING(Result, function, parameters, arguments, failure) \
    extern "C" Result __real_##function parameters;                      \
    extern "C" Result __wrap_##function parameters;                      \
    Result __wrap_##function parameters { return Fails() ? failure : __real_##function arguments; }

TANDOR_FAILING(EVP_CIPHER_CTX*, EVP_CIPHER_CTX_new, (), (), nullptr)
TANDOR_FAILING(int, EVP_CIPHER_CTX_ctrl, (EVP_CIPHER_CTX * c, int type, int size, void* data), (c, type, size, data), 0)
TANDOR_FAILING(int, EVP_EncryptInit_ex,
               (EVP_CIPHER_CTX * c, const EVP_CIPHER* type, ENGINE* e, const unsigned char* key,
                const unsigned char* iv),
               (c, type, e, key, iv), 0)
TANDOR_FAILING(int, EVP_DecryptInit_ex,
               (EVP_CIPHER_CTX * c, const EVP_CIPHER* type, ENGINE* e, const unsigned char* key,
                const unsigned char* iv),
               (c, type, e, key, iv), 0)
TANDOR_FAILING(int, EVP_EncryptUpdate,
               (EVP_CIPHER_CTX * c, unsigned char* out, int* n, const unsigned char* in, int size),
               (c, out, n, in, size), 0)
TANDOR_FAILING(int, EVP_DecryptUpdate,
               (EVP_CIPHER_CTX * c, unsigned char* out, int* n, const unsigned char* in, int size),
               (c, out, n, in, size), 0)
TANDOR_FAILING(int, EVP_EncryptFinal_ex, (EVP_CIPHER_CTX * c, unsigned char* out, int* n), (c, out, n), 0)
TANDOR_FAILING(int, EVP_DecryptFinal_ex, (EVP_CIPHER_CTX * c, unsigned char* out, int* n), (c, out, n), 0)
TANDOR_FAILING(int, OPENSSL_atexit, (void (*handler)()), (handler), 0)
TANDOR_FAILING(int, SHA256_Init, (SHA256_CTX * c), (c), 0)
TANDOR_FAILING(int, SHA256_Update, (SHA256_CTX * c, const void* data, size_t size), (c, data, size), 0)
TANDOR_FAILING(int, SHA256_Final, (unsigned char* digest, SHA256_CTX* c), (digest, c), 0)
TANDOR_FAILING(void*, _Znwm, (std::size_t size), (size), throw std::bad_alloc())
TANDOR_FAILING(void*, _ZnamRKSt9nothrow_t, (std::size_t size, const std::nothrow_t& tag), (size, tag), nullptr)

namespace {

using namespace tandor::test;

using Bytes = std::vector<unsigned char>;

const std::string kKeyText = "0F1E2D3C4B5A69788796A5B4C3D2E1F00123456789ABCDEFFEDCBA9876543210";
const unsigned char kKey[32] = {9}, kVector[16] = {1};

// The stock of contexts is empty meanwhile, so that each call has to make one.
class FailingLibrary {
public:
    explicit FailingLibrary(int step) : lent_(17) { steps_left = step; }
    ~FailingLibrary() { steps_left = 0; }
    [[nodiscard]] bool HasFailed() const { return steps_left == 0; }

private:
    std::vector<tandor::GcmCipher> lent_;
};

TEST(SealingFaults, LeaveNoHalfMessageInBytes) {
    const Bytes plain(600, 7), untouched(600, 0xEE);
    Bytes sealed(632);
    ASSERT_EQ(tandor::SealBytes(plain.data(), 600, sealed.data(), kKey, kVector), 632);
    Bytes out(632);
    const auto seal_in_place = [&] { return tandor::SealBytes(out.data(), 600, out.data(), kKey, kVector) == 632; };
    const auto refill = [&] { std::copy(plain.begin(), plain.end(), out.begin()); };
    refill();
    FailEachStep<FailingLibrary>("seal", seal_in_place, [&](bool good) {
        EXPECT_EQ(out, good ? sealed : Bytes(632));
        refill();
    });
    Bytes opened = untouched;
    const auto open = [&] { return tandor::OpenBytes(sealed.data(), 632, opened.data(), kKey) == 600; };
    FailEachStep<FailingLibrary>(
        "open", open, [&](bool good) { EXPECT_EQ(std::exchange(opened, untouched), good ? plain : untouched); });
}

// The outputs have to grow.
TEST(SealingFaults, LeaveTextsUntouched) {
    SecurityEncryptUtil util;
    util.SetSessionKey(kKeyText);
    const std::string plain(64, 'A');
    std::string sealed, out;
    ASSERT_EQ(util.AesGcmEncrypt(plain, sealed), 64);
    const auto expect = [&](bool good) {
        EXPECT_EQ(out != "untouched", good) << out;
        std::string("untouched").swap(out);
    };
    expect(true);
    FailEachStep<FailingLibrary>(
        "seal", [&] { return util.AesGcmEncrypt(plain, out) == 64; }, expect);
    FailEachStep<FailingLibrary>(
        "open", [&] { return util.AesGcmDecrypt(sealed, out) == 32; }, expect);
    FailEachStep<FailingLibrary>(
        "draw", [&] { return util.GenerateRandom(out, 600); }, expect);
    unsigned char digest[32] = {};
    CTandorSecTools tools;
    FailEachStep<FailingLibrary>(
        "digits", [&] { return tools.NormalizeSha256(digest, out); }, expect);
    FailEachStep<FailingLibrary>(
        "digest", [&] { return tools.OPENSSL_SHA256(digest, 3, digest) == digest; }, [](bool) {});
}

}  // namespace
