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
const std::string kKeyText = "603DEB1015CA71BE2B73AEF0857D77811F352C073B6108D72D9810A30914DFF4";

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

// Expected values from an implementation that shares no code with the cipher library used here.
TEST(AesGcm, AgreesWithAnotherImplementationAndOpensWhatItSealed) {
    const std::pair<int, const char*> vectors[] = {
        {0, "000B16212C37424D58636E79848F9AA532598D15F75154C4777CA710AFA9B178"},
        {1, "030E19242F3A45505B66717C87929DA889337FFC790ECC4E2493A35DAE020FF2DE"},
        {16, "303B46515C67727D88939EA9B4BFCAD544ADA2AC80A6F473E4B95787310F6F93CAE816E3AD0C8DEF97F1616E78F7DB51"},
        {31,
         "5D68737E89949FAAB5C0CBD6E1ECF702E65AB925DA0C7F86B9F5C4F5941D789EFE904ABFE4A0EA032470E12F829D353FC3F7266146402"
         "BF6FED339901F3252"},
    };
    SecurityEncryptUtil util;
    for (const auto& [size, expected] : vectors) {
        Message message(size);
        EXPECT_EQ(Hex(message.sealed), expected) << size;
        std::string sealed_text;
        std::string opened_text = "before";
        EXPECT_EQ(tandor::SealText(Hex(message.key), Hex(message.plain), message.vector.data(), sealed_text),
                  size + kOverhead);
        EXPECT_EQ(sealed_text, expected);
        EXPECT_EQ(tandor::OpenText(Hex(message.key), sealed_text, opened_text), size);
        EXPECT_EQ(opened_text, Hex(message.plain));
    }
    for (const auto& [size, expected] :
         {std::pair{168, "99098DC387E7AF6AE9E6FF5554E18CB3AD159E4CB225C3431D91AF2649CE222C"},
          {100'000, "A58B899F6EBA0C8ECFDC94FC4FE687A4B8F84EE624C9A009E13914538A8687AF"}}) {
        Message large(size);
        unsigned char digest[32];
        CTandorSecTools().OPENSSL_SHA256(large.sealed.data(), large.sealed.size(), digest);
        EXPECT_EQ(Hex(Bytes(digest, digest + 32)), expected);
        Bytes opened(large.plain.size());
        EXPECT_EQ(util.AesGcmDecrypt(large.sealed.data(), size + kOverhead, opened.data(), large.key.data()), size);
        EXPECT_EQ(opened, large.plain);
    }
}

TEST(AesGcm, RefusesEveryFlippedBitAndEveryTruncation) {
    SecurityEncryptUtil util;
    const Bytes untouched(200, kUntouched);
    int opened = 0;
    for (int i = 0; i < 1000; ++i) {
        Message message(i % 41);
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
        ASSERT_EQ(util.AesGcmDecrypt(message.sealed.data(), size, out.data(), message.key.data()), i % 41);
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
        {key, std::string(4000, 'a'), std::string(4000, 'a')},
        {key, std::string("00\0f", 4), changed},
        {key, "+1", ""},
    };
    for (const Case& c : cases) {
        std::string out = "untouched";
        EXPECT_EQ(tandor::SealText(c.key, c.plain, vector, out), -1) << c.key << " " << c.plain;
        EXPECT_EQ(tandor::OpenText(c.key, c.sealed, out), -1) << c.key << " " << c.sealed;
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

// What another implementation sealed may be a little longer than what is sealed here.
TEST(SealedText, OpensUpTo200Bytes) {
    SecurityEncryptUtil util;
    for (const int size : {168, 169, 200, 201}) {
        Message message(size);
        std::string opened = "untouched";
        const bool fits = size <= 200;
        EXPECT_EQ(tandor::OpenText(Hex(message.key), Hex(message.sealed), opened), fits ? size : -1);
        EXPECT_EQ(opened, fits ? Hex(message.plain) : "untouched");
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
    };
    for (const Case& c : cases) {
        Bytes room(4, kUntouched);
        EXPECT_EQ(util.HexStringToByte(c.hex, c.length, room.data(), c.room), c.good) << c.hex;
        Bytes expected = c.written;
        expected.resize(4, kUntouched);
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
