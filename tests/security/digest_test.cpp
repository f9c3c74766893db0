#include "security/linear_congruential.h"
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

struct KnownDraws {
    unsigned long long seed;
    const char* values;
};
constexpr KnownDraws kDraws[] = {
#include "security/data/device_random.inc"
};

TEST(DeviceRandom, AgreesNumberForNumberWithAnotherImplementation) {
    for (const KnownDraws& known : kDraws) {
        const auto seed = static_cast<long long>(known.seed);
        TrustDeviceRandom random;
        random.Random(seed);
        unsigned long long state = tandor::SeededLcg(seed);
        for (const char* at = known.values; *at != '\0'; at += 8) {
            const auto expected = static_cast<unsigned>(std::stoul(std::string(at, 8), nullptr, 16));
            state = tandor::SteppedLcg(state);
            ASSERT_EQ(static_cast<unsigned>(tandor::LcgBits(state, 32)), expected) << seed;
            for (int bits = 1; bits < 32; ++bits)
                ASSERT_EQ(static_cast<unsigned>(tandor::LcgBits(state, bits)), expected >> (32 - bits)) << bits;
            for (int bits = 33; bits <= 48; ++bits)
                ASSERT_EQ(static_cast<unsigned>(tandor::LcgBits(state, bits)) >> (bits - 32),
                          expected << (bits - 32) >> (bits - 32))
                    << bits;
            ASSERT_EQ(random.nextFloat(), static_cast<float>(expected >> 8) * 0x1p-24f) << seed;
        }
    }
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
