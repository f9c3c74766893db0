#include "tandor/crypto.h"
#include "base/hex.h"
#include "pelora/digest.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

std::string Finished(DE::CryptBase& hash) {
    std::string digest(hash.DigestLen(), '\0');
    EXPECT_TRUE(hash.Finish(reinterpret_cast<unsigned char*>(digest.data())));
    return tandor::HexFromBytes(digest, tandor::HexCase::kLower);
}

TEST(CryptBase, HashesWithEachAlgorithm) {
    DE::CryptMD5 md5;
    DE::CryptSHA1 sha1;
    DE::CryptSHA256 sha256;
    struct Case {
        DE::CryptBase& hash;
        unsigned long length;
        const char *abc, *million;
    };
    for (const Case& c : {
             Case{md5, 16, "900150983cd24fb0d6963f7d28e17f72", "7707d6ae4e027c70eea2a935c2296f21"},
             Case{sha1, 20, "a9993e364706816aba3e25717850c26c9cd0d89d", "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
             Case{sha256, 32, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
                  "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
         }) {
        EXPECT_EQ(c.hash.DigestLen(), c.length);
        ASSERT_TRUE(c.hash.Create());
        EXPECT_TRUE(c.hash.Update("never finished", 14));
        ASSERT_TRUE(c.hash.Create());  // begins anew
        EXPECT_TRUE(c.hash.Update("ab", 2) && c.hash.Update(nullptr, 0) && !c.hash.Update(nullptr, 1));
        EXPECT_TRUE(c.hash.Update("c", 1));
        EXPECT_EQ(Finished(c.hash), c.abc);
        ASSERT_TRUE(c.hash.Create());
        for (int i = 0; i < 1000; ++i) c.hash.Update(std::string(1000, 'a').data(), 1000);
        EXPECT_EQ(Finished(c.hash), c.million);
    }
}

TEST(CryptBase, ResetsAndRefuses) {
    unsigned char digest[32] = {7};
    DE::CryptSHA256 hash;
    hash.Reset();
    EXPECT_FALSE(hash.Update("a", 1));
    EXPECT_FALSE(hash.Finish(digest));
    ASSERT_TRUE(hash.Create());
    hash.Reset();
    hash.Reset();
    EXPECT_FALSE(hash.Finish(digest));
    DE::CryptBase unknown(0x8002, 16), wrong_length(0x800C, 20);
    EXPECT_FALSE(unknown.Create());
    ASSERT_TRUE(wrong_length.Create());
    EXPECT_FALSE(wrong_length.Finish(digest));
    EXPECT_EQ(digest[0], 7);
    // A copy carries the same hash on; only one of the two may end with it.
    ASSERT_TRUE(hash.Create());
    hash.Update("ab", 2);
    DE::CryptSHA256 copy(hash);
    hash = DE::CryptSHA256();
    copy.Update("c", 1);
    EXPECT_EQ(Finished(copy), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(ShortIdentifier, IsTheBeginningOfTheDigest) {
    const std::string identifier = "手机-0815";
    EXPECT_EQ(DE::GetStringSha256(identifier), "7654e3b6c9dd85d04766e7299df469634eab3c9a13c72a715dbdf1aaf486b79e");
    for (const std::string text : {"7654e3b6", "", "7654e3b", "7654e3b6c", "7654e3b7"})
        EXPECT_EQ(DE::IsShortIdentifierOf(text, identifier), text == "7654e3b6") << text;
}

TEST(CryptRandom, FillsAllOfTheBufferOrSaysWhyNot) {
    HostLog log;
    std::vector<unsigned char> buffer(4096 + 1);
    ASSERT_EQ(CryptRandom().Random(buffer.data(), 4096), 1);
    int counts[256] = {};
    for (std::size_t i = 0; i < 4096; ++i) ++counts[buffer[i]];
    for (const int count : counts) EXPECT_LT(count, 64);  // 16 expected
    EXPECT_EQ(buffer[4096], 0);
    EXPECT_TRUE(log.Take().empty());
    EXPECT_EQ(CryptRandom::Gen(buffer.data() + 4096, 0), 1);
    EXPECT_EQ(buffer[4096], 0);
    for (const unsigned long length : {0ul, 16ul}) {
        EXPECT_EQ(CryptRandom::Gen(nullptr, length), 0);
        EXPECT_EQ(log.Take(), std::vector<std::wstring>{L"4 gen random failed, errCode -1073741811(CryptRandom::Gen)"});
    }
    buffer.resize((33 << 20) + 5);  // more than some systems give at once
    ASSERT_EQ(CryptRandom::Gen(buffer.data(), static_cast<unsigned long>(buffer.size())), 1);
    EXPECT_GT(std::set<unsigned char>(buffer.end() - 4096, buffer.end()).size(), 200u);
}

// How often the system's generator may be asked, and what it was asked for.
int draws_left = 0;
unsigned long long bytes_drawn = 0;
LONG WINAPI CountDraws(void*, UCHAR*, ULONG size, ULONG) {
    bytes_drawn += size;
    return draws_left-- > 0 ? 0 : static_cast<LONG>(0xC0000001);
}

TEST(CryptRandom, DrawsAnyLengthOrFailsWhereTheSystemDoes) {
    unsigned char nothing_written = 0;
    ASSERT_EQ(CryptRandom::Gen(&nothing_written, 1), 1);
    const DelayedImportPatch counted(L"TandorUtil.dll", L"bcrypt.dll", "BCryptGenRandom", CountDraws);
    HostLog log;
    draws_left = 1000;
    EXPECT_EQ(CryptRandom::Gen(&nothing_written, 0xFFFFFFFF), 1);
    EXPECT_EQ(bytes_drawn, 0xFFFFFFFFu);
    EXPECT_TRUE(log.Take().empty());
    draws_left = 2;
    EXPECT_EQ(CryptRandom::Gen(&nothing_written, 0xFFFFFFFF), 0);
    EXPECT_EQ(log.Take(), std::vector<std::wstring>{L"4 gen random failed, errCode -1073741823(CryptRandom::Gen)"});
}

}  // namespace
