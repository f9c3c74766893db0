#include <bit>

#include "security/linear_congruential.h"
#include "security/sha256.h"
#include "support/testing.h"
#include "tandor/crypto.h"
#include "tandor/sealing.h"

namespace {

using namespace tandor::test;

const unsigned char* Data(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

std::string Normalized(unsigned char* digest) {
    std::string text;
    EXPECT_TRUE(CTandorSecTools().NormalizeSha256(digest, text));
    return text;
}

std::string Sha256Of(const std::string& text) {
    unsigned char digest[32];
    EXPECT_EQ(CTandorSecTools().OPENSSL_SHA256(Data(text), text.size(), digest), digest);
    return Normalized(digest);
}

TEST(Sha256, AgreesWithThePublishedVectors) {
    EXPECT_EQ(Sha256Of(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(Sha256Of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    // The digests of every length from 0 to 300 bytes, digested; the value is another implementation's.
    std::string digests;
    for (int size = 0; size <= 300; ++size) {
        std::string text;
        for (int i = 0; i < size; ++i) text += static_cast<char>(29 * i + size);
        unsigned char digest[32];
        CTandorSecTools().OPENSSL_SHA256(Data(text), text.size(), digest);
        digests.append(digest, digest + 32);
    }
    EXPECT_EQ(Sha256Of(digests), "bf0083806f91eea66107862f8b6352ec785c2f26578f5c65894eef9685d13a39");
}

TEST(Sha256, KeepsToItsArguments) {
    CTandorSecTools tools;
    unsigned char* const shared = tools.OPENSSL_SHA256(Data("abc"), 3, nullptr);
    ASSERT_NE(shared, nullptr);
    std::string text;
    EXPECT_TRUE(tools.NormalizeSha256(shared, text));
    EXPECT_TRUE(tools.NormalizeSha256(shared, text));
    EXPECT_EQ(text, Sha256Of("abc") + Sha256Of("abc"));
    EXPECT_FALSE(tools.NormalizeSha256(nullptr, text));
    EXPECT_EQ(text.size(), 128u);
    EXPECT_EQ(tools.OPENSSL_SHA256(nullptr, 1, shared), nullptr);
    EXPECT_EQ(tools.OPENSSL_SHA256(nullptr, 0, nullptr), shared);
    EXPECT_EQ(Normalized(shared), Sha256Of(""));
}

// 100 seeds, 100 draws each, of every number of bits; digested, against another implementation's draws.
TEST(DeviceRandom, AgreesNumberForNumberWithAnotherImplementation) {
    tandor::Sha256 bits_digest, floats_digest;
    const auto feed = [](tandor::Sha256& digest, unsigned value) {
        for (const int shift : {24, 16, 8, 0}) {
            const auto byte = static_cast<unsigned char>(value >> shift);
            digest.Update(&byte, 1);
        }
    };
    for (long long i = 0; i < 100; ++i) {
        const auto seed = static_cast<long long>(static_cast<unsigned long long>(i) * 0x123456789ABCDEF - 42);
        for (int bits = 1; bits <= 48; ++bits) {
            unsigned long long state = tandor::SeededLcg(seed);
            for (int draw = 0; draw < 100; ++draw) {
                state = tandor::SteppedLcg(state);
                feed(bits_digest, static_cast<unsigned>(tandor::LcgBits(state, bits)));
            }
        }
        TrustDeviceRandom random;
        random.Random(seed);
        for (int draw = 0; draw < 100; ++draw) {
            feed(floats_digest, std::bit_cast<unsigned>(random.nextFloat()));
        }
    }
    unsigned char digest[32];
    ASSERT_TRUE(bits_digest.Finish(digest));
    EXPECT_EQ(Normalized(digest), "325a57d31bc156b682516a32c0ec3622cc03e581772693610cea205b0b7140e4");
    ASSERT_TRUE(floats_digest.Finish(digest));
    EXPECT_EQ(Normalized(digest), "e83404b97d1f1616391ce2468805aabc940bea06575f32e1f18c37a9fdc4144e");
}

TEST(DeviceRandom, BeginsWhereItIsTold) {
    EXPECT_EQ(tandor::LcgBits(tandor::SteppedLcg(tandor::SeededLcg(42)), 32), -1170105035);
    const unsigned long long state = 0xABCD'8765'4321;
    EXPECT_EQ(tandor::LcgBits(state, 48), static_cast<int>(0x87654321u));
    EXPECT_EQ(tandor::LcgBits(state, 0), 0);
    EXPECT_EQ(tandor::LcgBits(state, 49), 0);  // shifted by 63

    TrustDeviceRandom fresh, seeded;
    seeded.Random(42);
    EXPECT_EQ(seeded.nextFloat(), 0.72756368f);
    seeded.Random(0);
    EXPECT_EQ(fresh.nextFloat(), 0.0f);  // the state after one step is 0xB
    const TrustDeviceRandom copy(fresh);
    TrustDeviceRandom assigned;
    assigned = copy;
    const float second = fresh.nextFloat();
    EXPECT_EQ(assigned.nextFloat(), second);
    EXPECT_NE(seeded.nextFloat(), second);
}

}  // namespace
