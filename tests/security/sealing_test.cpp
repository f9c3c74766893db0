#include <cerrno>
#include <climits>

#include "base/hex.h"
#include "security/sealed_message.h"
#include "support/testing.h"
#include "tandor/sealing.h"

namespace {

using namespace tandor::test;

using Bytes = std::vector<unsigned char>;

constexpr int kOverhead = 32;
constexpr unsigned char kUntouched = 0xEE;
const std::string kKeyText = "0F1E2D3C4B5A69788796A5B4C3D2E1F00123456789ABCDEFFEDCBA9876543210";

Bytes Pattern(int size, int factor, int offset) {
    Bytes bytes(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i) bytes[static_cast<std::size_t>(i)] = static_cast<unsigned char>(factor * i + offset);
    return bytes;
}

std::string Hex(const Bytes& bytes) {
    return tandor::HexFromBytes({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, tandor::HexCase::kUpper);
}

struct Message {
    Bytes key, vector, plain, sealed;

    explicit Message(int size)
        : key(Pattern(32, 7, size)),
          vector(Pattern(16, 11, 3 * size)),
          plain(Pattern(size, 13, 5 * size)),
          sealed(plain.size() + kOverhead) {
        SecurityEncryptUtil util;
        EXPECT_EQ(util.AesGcmEncrypt(plain.data(), size, sealed.data(), key.data(), vector.data()), size + kOverhead);
    }
};

struct KnownMessage {
    const char *key, *plain, *sealed;
};
constexpr KnownMessage kPublished[] = {
#include "security/data/gcm_published.inc"
};
constexpr KnownMessage kMadeElsewhere[] = {
#include "security/data/gcm_messages.inc"
};

Bytes FromHex(std::string_view hex) {
    Bytes bytes(hex.size() / 2);
    EXPECT_EQ(tandor::ReadHex(hex, bytes.data()), bytes.size());
    return bytes;
}

// In both forms. The text form seals up to 168 bytes and opens up to 200: another implementation may seal more.
void ExpectSealsAndOpens(const KnownMessage& known) {
    SCOPED_TRACE(known.sealed);
    SecurityEncryptUtil util;
    const Bytes key = FromHex(known.key);
    Bytes plain = FromHex(known.plain), sealed = FromHex(known.sealed), opened(plain.size()), out(sealed.size());
    const int size = static_cast<int>(plain.size()), total = static_cast<int>(sealed.size());
    EXPECT_EQ(util.AesGcmEncrypt(plain.data(), size, out.data(), key.data(), sealed.data()), total);
    EXPECT_EQ(out, sealed);
    EXPECT_EQ(util.AesGcmDecrypt(sealed.data(), total, opened.data(), key.data()), size);
    EXPECT_EQ(opened, plain);
    std::string sealed_text = "untouched", opened_text = "untouched";
    EXPECT_EQ(tandor::SealText(known.key, known.plain, sealed.data(), sealed_text), size <= 168 ? total : -1);
    EXPECT_EQ(sealed_text, size <= 168 ? Hex(sealed) : "untouched");
    EXPECT_EQ(tandor::OpenText(known.key, known.sealed, opened_text), size <= 200 ? size : -1);
    EXPECT_EQ(opened_text, size <= 200 ? Hex(plain) : "untouched");
}

TEST(AesGcm, AgreesWithPublishedVectorsAndOtherImplementations) {
    for (const KnownMessage& known : kPublished) ExpectSealsAndOpens(known);
    for (const KnownMessage& known : kMadeElsewhere) ExpectSealsAndOpens(known);
}

TEST(AesGcm, RefusesEveryFlippedBitAndEveryTruncation) {
    SecurityEncryptUtil util;
    const Bytes untouched(200, kUntouched);
    int opened = 0;
    for (int i = 0; i < 1000; ++i) {
        const int plain_size = i == 0 ? 168 : i % 41;
        Message message(plain_size);
        Bytes out = untouched;
        const int size = static_cast<int>(message.sealed.size());
        const auto open = [&](int length) {
            opened += util.AesGcmDecrypt(message.sealed.data(), length, out.data(), message.key.data()) != -1 ? 1 : 0;
        };
        for (unsigned char& byte : message.sealed) {
            for (int bit = 0; bit < 8; ++bit) {
                byte ^= static_cast<unsigned char>(1 << bit);
                open(size);
                byte ^= static_cast<unsigned char>(1 << bit);
            }
        }
        for (int length = -1; length < size; ++length) open(length);
        ASSERT_EQ(opened, 0) << i;
        ASSERT_EQ(out, untouched) << i;
        ASSERT_EQ(util.AesGcmDecrypt(message.sealed.data(), size, out.data(), message.key.data()), plain_size);
    }
    // Beyond what fits on the stack the plaintext waits elsewhere.
    Message large(5000);
    large.sealed.back() ^= 1;
    Bytes out(5000, kUntouched);
    EXPECT_EQ(util.AesGcmDecrypt(large.sealed.data(), 5032, out.data(), large.key.data()), -1);
    EXPECT_EQ(out, Bytes(5000, kUntouched));
}

// More threads than there are contexts in stock, each with a key of its own.
TEST(AesGcm, ServesManyThreadsAtOnce) {
    std::atomic<int> wrong = 0;
    InThreads(24, [&](int i) {
        SecurityEncryptUtil util;
        Message message(i);
        Bytes out(message.plain.size());
        const int size = static_cast<int>(message.sealed.size());
        for (int round = 0; round < 300; ++round) {
            const bool opened = util.AesGcmDecrypt(message.sealed.data(), size, out.data(), message.key.data()) == i;
            wrong += opened && out == message.plain ? 0 : 1;
            Bytes again(message.sealed.size());
            util.AesGcmEncrypt(message.plain.data(), i, again.data(), message.key.data(), message.vector.data());
            wrong += again == message.sealed ? 0 : 1;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(AesGcm, SealsAndOpensWhereTheRangesOverlap) {
    SecurityEncryptUtil util;
    const Message message(100);
    for (const int distance : {-50, -16, -1, 0, 1, 15, 16, 17, 40, 120, 140}) {
        Bytes memory(600);
        unsigned char* const out = memory.data() + 200;
        unsigned char* const plain = out + distance;
        std::copy(message.plain.begin(), message.plain.end(), plain);
        ASSERT_EQ(util.AesGcmEncrypt(plain, 100, out, message.key.data(), message.vector.data()), 132);
        ASSERT_EQ(Bytes(out, out + 132), message.sealed) << distance;
        unsigned char* const opened = out - distance;
        ASSERT_EQ(util.AesGcmDecrypt(out, 132, opened, message.key.data()), 100);
        ASSERT_EQ(Bytes(opened, opened + 100), message.plain) << distance;
    }
}

TEST(AesGcm, RefusesBadArgumentsWithTheirCodes) {
    SecurityEncryptUtil util;
    Message message(8), empty(0);
    unsigned char out[64];
    unsigned char* const plain = message.plain.data();
    const unsigned char *const key = message.key.data(), *const vector = message.vector.data();
    unsigned char* const sealed = message.sealed.data();
    EXPECT_EQ(util.AesGcmEncrypt(plain, -1, out, key, vector), -1);
    EXPECT_EQ(util.AesGcmEncrypt(plain, INT_MAX - 31, out, key, vector), -1);
    EXPECT_EQ(util.AesGcmEncrypt(nullptr, 8, out, key, vector), -1);
    EXPECT_EQ(util.AesGcmEncrypt(plain, 8, out, nullptr, vector), -1);
    EXPECT_EQ(util.AesGcmEncrypt(nullptr, 0, out, key, vector), 32);
    EXPECT_EQ(util.AesGcmDecrypt(sealed, 40, nullptr, key), -1);
    EXPECT_EQ(util.AesGcmDecrypt(sealed, 40, out, nullptr), -1);
    EXPECT_EQ(util.AesGcmDecrypt(sealed, INT_MIN, out, key), -1);
    EXPECT_EQ(util.AesGcmDecrypt(empty.sealed.data(), 32, nullptr, empty.key.data()), 0);
    const std::function<int()> with_errno[] = {[&] { return util.AesGcmEncrypt(plain, 8, nullptr, key, vector); },
                                               [&] { return util.AesGcmEncrypt(plain, 8, out, key, nullptr); },
                                               [&] { return util.AesGcmDecrypt(nullptr, 40, out, key); }};
    for (const auto& call : with_errno) {
        errno = 0;
        EXPECT_EQ(std::pair(call(), errno), std::pair(-15, 22));
    }
}

TEST(SealedText, ChecksKeyAndTextBeforeTheOutput) {
    const unsigned char vector[16] = {1};
    const std::string key = kKeyText;
    const std::string plain = "00Ff";
    std::string sealed;
    ASSERT_EQ(tandor::SealText(key, plain, vector, sealed), 34);
    std::string changed = sealed;
    changed[40] = changed[40] == '0' ? '1' : '0';
    struct Case {
        std::string key, plain, sealed;
    };
    const Case cases[] = {
        {"", plain, sealed},
        {key.substr(1), plain, sealed},  // 63 digits
        {key + "00", plain, sealed},     // 66 digits
        {key.substr(2) + "0g", plain, sealed},
        {key, "0", sealed.substr(1)},
        {key, "0g", sealed.substr(2) + "0g"},
        {key, std::string(338, 'a'), sealed + "00"},  // 169 bytes
        {key, std::string(1 << 20, 'a'), std::string(1 << 20, 'a')},
        {key, std::string((1 << 20) + 1, 'z'), std::string((1 << 20) + 1, 'z')},
        {key, std::string("00\0f", 4), changed},
        {key, "+1", ""},
    };
    for (const Case& c : cases) {
        std::string out = "untouched";
        EXPECT_EQ(tandor::SealText(c.key, c.plain, vector, out), -1) << c.key << " " << c.plain.substr(0, 99);
        EXPECT_EQ(tandor::OpenText(c.key, c.sealed, out), -1) << c.key << " " << c.sealed.substr(0, 99);
        EXPECT_EQ(out, "untouched");
    }
    // A shorter key is filled with zero bytes, lower case is read, and a message of no bytes empties the output.
    std::string opened;
    ASSERT_EQ(tandor::SealText("ab", plain, vector, sealed), 34);
    EXPECT_EQ(tandor::OpenText("AB" + std::string(62, '0'), sealed, opened), 2);
    EXPECT_EQ(opened, "00FF");
    ASSERT_EQ(tandor::SealText(key, "", vector, sealed), 32);
    EXPECT_EQ(tandor::OpenText(key, sealed, opened), 0);
    EXPECT_EQ(opened, "");
}

// The whole old key or the whole new one: never a mixture, never memory that was given back.
TEST(SealedText, IsSealedUnderOneOfTheKeysWhileTheyAreReplaced) {
    const std::string keys[] = {kKeyText, std::string(64, 'A')};
    SecurityEncryptUtil util;
    util.SetSessionKey(keys[0]);
    std::atomic<int> sealing = 4, wrong = 0;
    InThreads(5, [&](int i) {
        for (int round = 0; i == 0 && sealing > 0; ++round) util.SetSessionKey(keys[round % 2]);
        for (int round = 0; i > 0 && round < 500; ++round) {
            std::string sealed, opened;
            util.AesGcmEncrypt("00FF", sealed);
            const int under_one = tandor::OpenText(keys[0], sealed, opened);
            const int under_other = tandor::OpenText(keys[1], sealed, opened);
            SecurityEncryptUtil copy(util);
            copy.AesGcmEncrypt("AB", sealed);
            const bool same = copy.AesGcmDecrypt(sealed, opened) == 1;
            wrong += under_one + under_other == 1 && same ? 0 : 1;  // 2 and -1
        }
        if (i > 0) --sealing;
    });
    EXPECT_EQ(wrong, 0);
}

// A short text lies in its object, where wiping does not reach it once it was swapped.
TEST(SealedText, AShortKeyLeavesNoDigitsInTheObject) {
    const std::string key = "0011223344AABB";
    const auto digits_in = [](const SecurityEncryptUtil& util) {
        return std::string_view(reinterpret_cast<const char*>(&util), sizeof(util)).find("44AABB") != std::string::npos;
    };
    for (const std::string& next : {std::string("00"), std::string(14, '0'), kKeyText}) {
        SecurityEncryptUtil util;
        util.SetSessionKey(key);
        SecurityEncryptUtil copy(util), moved(std::move(util));
        EXPECT_FALSE(digits_in(copy) || digits_in(util) || digits_in(moved));
        std::string sealed, opened;
        EXPECT_EQ(copy.AesGcmEncrypt("00FF", sealed), 34);
        EXPECT_EQ(moved.AesGcmDecrypt(sealed, opened), 2);
        copy.SetSessionKey(next);
        EXPECT_FALSE(digits_in(copy)) << next;
        moved = copy;
        EXPECT_FALSE(digits_in(moved)) << next;
    }
}

TEST(SealingHex, WritesAndReads) {
    SecurityEncryptUtil util;
    const Bytes bytes = Pattern(512, 1, 250);
    std::string out = "untouched";
    EXPECT_EQ(util.HexToString(nullptr, 3, out), 0);
    for (const int size : {0, -1, 512}) EXPECT_EQ(util.HexToString(bytes.data(), size, out), 0) << size;
    EXPECT_EQ(out, "untouched");
    EXPECT_EQ(util.HexToString(bytes.data(), 511, out), 1022);
    EXPECT_EQ(out, Hex(Bytes(bytes.begin(), bytes.end() - 1)));

    struct Case {
        std::string hex;
        unsigned long long length, room;
        bool good;
        Bytes written;
    };
    const Case cases[] = {
        {"0A", 2, 1, true, {0x0A}},
        {"fFzz", 2, 1, true, {0xFF}},  // only the first digits are asked for
        {"0g", 2, 1, false, {}},
        {"12g4", 4, 2, false, {0x12}},
        {"12 34", 4, 2, false, {0x12}},
        {"123", 3, 2, false, {}},
        {"1234", 4, 1, false, {}},
        {"12", 4, 2, false, {}},  // beyond the text
        {"12", 1ull << 63, ~0ull, false, {}},
        {"zz", 0, 0, true, {}},
        {"0123456789abcdeFfg", 18, 9, false, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}},
    };
    for (const Case& c : cases) {
        Bytes room(9, kUntouched);
        EXPECT_EQ(util.HexStringToByte(c.hex, c.length, room.data(), c.room), c.good) << c.hex;
        Bytes expected = c.written;
        expected.resize(9, kUntouched);
        EXPECT_EQ(room, expected) << c.hex;
        EXPECT_EQ(util.HexStringToByte(c.hex, c.length, nullptr, c.room), c.good) << c.hex;
    }
}

TEST(ChallengeState, IsKeptCopiedAndAsked) {
    SecurityEncryptUtil util, copy;
    EXPECT_FALSE(util.IsSupportChallengeResponse());
    EXPECT_TRUE(util.IsSupportChallengeResponse(0));
    std::string local = "AA", remote = "BB";
    util.SetLocalRandomVector(local);
    util.SetRemoteRandomVector(remote);
    util.SetIsSupportChallengeResponse(true);
    util.SetSupportChallengeVersion(SecurityEncryptUtil::SUPPORT_CHALLENGE_VERSION);
    EXPECT_TRUE(util.IsSupportChallengeResponse(4));
    copy = util;
    copy = *&copy;
    util.SetSupportChallengeVersion(3);
    EXPECT_FALSE(util.IsSupportChallengeResponse(4));
    EXPECT_FALSE(util.IsSupportChallengeResponse(7));
    SecurityEncryptUtil moved(std::move(copy));
    copy = std::move(moved);
    EXPECT_EQ(copy.GetLocalRandomVector() + copy.GetRemoteRandomVector(), "AABB");
    EXPECT_EQ(copy.GetSupportChallengeVersion(), 7);
    EXPECT_TRUE(copy.IsSupportChallengeResponse());
    EXPECT_EQ(SecurityEncryptUtil::GetInstance(), SecurityEncryptUtil::GetInstance());
}

}  // namespace
