// Every call into the cipher library, every draw and every allocation fails once, one at a time. The linker leads them
// through here: see tests/CMakeLists.txt.
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <sys/random.h>

#include <new>

#include "security/aes_gcm.h"
#include "security/sealed_message.h"
#include "security/secret_search.h"
#include "support/fail_each_step.h"

namespace {

thread_local int steps_left = 0;  // the step that makes it 0 fails
thread_local const char* failed = "";

bool Fails(const char* step) {
    if (steps_left == 0 || --steps_left != 0) return false;
    failed = step;
    return true;
}

}  // namespace

#define TANDOR_FAILING(Result, function, parameters, arguments, failure) \
    extern "C" Result __real_##function parameters;                      \
    extern "C" Result __wrap_##function parameters;                      \
    Result __wrap_##function parameters { return Fails(#function) ? failure : __real_##function arguments; }

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
TANDOR_FAILING(int, OPENSSL_init_crypto, (std::uint64_t options, const OPENSSL_INIT_SETTINGS* settings),
               (options, settings), 0)
TANDOR_FAILING(int, OPENSSL_atexit, (void (*handler)()), (handler), 0)
TANDOR_FAILING(int, SHA256_Init, (SHA256_CTX * c), (c), 0)
TANDOR_FAILING(int, SHA256_Update, (SHA256_CTX * c, const void* data, size_t size), (c, data, size), 0)
TANDOR_FAILING(int, SHA256_Final, (unsigned char* digest, SHA256_CTX* c), (digest, c), 0)
TANDOR_FAILING(ssize_t, getrandom, (void* buffer, size_t size, unsigned flags), (buffer, size, flags), -1)
TANDOR_FAILING(void*, _Znwm, (std::size_t size), (size), throw std::bad_alloc())
TANDOR_FAILING(void*, _ZnamRKSt9nothrow_t, (std::size_t size, const std::nothrow_t& tag), (size, tag), nullptr)

namespace {

using namespace tandor::test;

using Bytes = std::vector<unsigned char>;

const unsigned char kVector[16] = {1};

// The stock of contexts is empty meanwhile, so that each call has to make one.
class FailingLibrary {
public:
    explicit FailingLibrary(int step) : lent_(17) {
        failed = "";
        steps_left = step;
    }
    // The context just used must not be in stock again with a key that could not be replaced.
    ~FailingLibrary() {
        steps_left = 0;
        if (std::strcmp(failed, "EVP_EncryptInit_ex") == 0) EXPECT_EQ(kRoundKey.CountInProcess(), 0);
    }
    [[nodiscard]] bool HasFailed() const { return steps_left == 0; }

private:
    std::vector<tandor::GcmCipher> lent_;
};

// Whether a call gave its good result; one that fails gives -1 and nothing else.
bool Good(int result, int good) {
    EXPECT_TRUE(result == good || result == -1) << result;
    return result == good;
}

// In a process of its own, where the library has not been started: what it could not do then, the next call does.
TEST(SealingFaults, AStartThatFailsIsNotKept) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto start = [] {
        const unsigned char key[32] = {9}, plain[600] = {7};
        unsigned char sealed[632];
        const auto seal = [&](int step) {
            steps_left = step;
            return tandor::SealBytes(plain, 600, sealed, key, kVector);
        };
        const auto fails = [&](int step, const char* what) { return seal(step) == -1 && std::string(failed) == what; };
        const bool refused = fails(1, "OPENSSL_init_crypto") && fails(2, "OPENSSL_atexit");
        std::_Exit(refused && seal(0) == 632 ? 0 : 1);
    };
    EXPECT_EXIT(start(), testing::ExitedWithCode(0), "");
}

// 600 bytes and more, so that a plaintext waits for its tag in memory of its own.
TEST(SealingFaults, LeaveNoHalfMessageInBytes) {
    {
        const Secrets secrets;
        Bytes plain, sealed(672), out(672), opened(640, 0xEE);
        plain.reserve(640);
        for (int i = 0; i < 10; ++i) plain.insert(plain.end(), secrets.plain.bytes, secrets.plain.bytes + 64);
        const Bytes untouched = opened;
        const unsigned char* const key = secrets.key.bytes;
        ASSERT_EQ(tandor::SealBytes(plain.data(), 640, sealed.data(), key, kVector), 672);
        const auto refill = [&] { std::copy(plain.begin(), plain.end(), out.begin()); };
        const auto seal_in_place = [&] {
            return Good(tandor::SealBytes(out.data(), 640, out.data(), key, kVector), 672);
        };
        refill();
        FailEachStep<FailingLibrary>("seal", seal_in_place, [&](bool good) {
            EXPECT_EQ(out, good ? sealed : Bytes(672));
            refill();
        });
        const auto open = [&] { return Good(tandor::OpenBytes(sealed.data(), 672, opened.data(), key), 640); };
        FailEachStep<FailingLibrary>("open", open, [&](bool good) {
            EXPECT_EQ(opened, good ? plain : untouched);
            opened = untouched;
        });
        EXPECT_GE(kPlain.CountInProcess(), 1);  // the search finds what is there
        for (Bytes* const bytes : {&plain, &out}) Wipe(bytes->data(), bytes->size());
    }
    ExpectNoSecretInMemory("the byte form");
}

// The outputs have to grow.
TEST(SealingFaults, LeaveTextsUntouched) {
    {
        Secrets secrets;
        SecurityEncryptUtil util;
        util.SetSessionKey(secrets.key_text.text);
        std::string sealed, out;
        ASSERT_EQ(util.AesGcmEncrypt(secrets.plain_text.text, sealed), 96);
        const auto expect = [&](bool good) {
            EXPECT_EQ(out != "untouched", good);
            tandor::WipeText(out);
            std::string("untouched").swap(out);
        };
        expect(true);
        FailEachStep<FailingLibrary>(
            "seal", [&] { return Good(util.AesGcmEncrypt(secrets.plain_text.text, out), 96); }, expect);
        FailEachStep<FailingLibrary>(
            "open", [&] { return Good(util.AesGcmDecrypt(sealed, out), 64); }, expect);
        FailEachStep<FailingLibrary>(
            "draw", [&] { return util.GenerateRandom(out, 600); }, expect);
    }
    ExpectNoSecretInMemory("the text form");
    unsigned char digest[32] = {};
    std::string out;
    CTandorSecTools tools;
    FailEachStep<FailingLibrary>(
        "digits", [&] { return tools.NormalizeSha256(digest, out); },
        [&](bool good) { EXPECT_EQ(std::exchange(out, {}).size(), good ? 64u : 0u); });
    FailEachStep<FailingLibrary>(
        "digest", [&] { return tools.OPENSSL_SHA256(digest, 3, digest) == digest; }, [](bool) {});
}

}  // namespace
