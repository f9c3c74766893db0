#include <array>

#include "support/testing.h"
#include "tandor/sealing.h"

namespace {

using namespace tandor::test;

using Lines = std::vector<std::wstring>;

const std::string kKey = "0f1e2d3c4b5a69788796a5b4c3d2e1f00123456789abcdeffedcba9876543210";

TEST(SealedMessages, AreSealedAndOpenedWithALineForEach) {
    SecurityEncryptUtil util;
    util.SetSessionKey(kKey);
    HostLog log;
    std::string sealed, opened;
    EXPECT_EQ(util.AesGcmEncrypt("00ff", sealed), 34);
    EXPECT_EQ(sealed.size(), 68u);
    EXPECT_EQ(sealed.find_first_not_of("0123456789ABCDEF"), std::string::npos);
    EXPECT_EQ(util.AesGcmDecrypt(sealed, opened), 2);
    EXPECT_EQ(opened, "00FF");
    EXPECT_EQ(util.AesGcmEncrypt("", sealed), 32);
    EXPECT_EQ(util.AesGcmDecrypt(sealed, opened), 0);
    EXPECT_EQ(opened, "");
    const std::wstring encrypted = L"3 Encrpy end (SecurityEncryptUtil::AesGcmEncrypt)";
    const std::wstring decrypted = L"3 Decrypt end (SecurityEncryptUtil::AesGcmDecrypt)";
    EXPECT_THAT(log.Take(), ElementsAre(encrypted, decrypted, encrypted, decrypted));
}

TEST(SealedMessages, NoVectorComesTwiceFromEightProcesses) {
    const auto each = static_cast<std::size_t>(Amount("TANDOR_STRESS_SEALS", 100'000) / 8);
    const TemporaryFolder folder;
    const auto file = [&](int i) { return folder.path / std::to_wstring(i); };
    std::vector<std::wstring> commands;
    for (int i = 0; i < 8; ++i)
        commands.push_back(L"seal-vectors " + std::to_wstring(each) + L" \"" + file(i).native() + L"\"");
    RunChildren(commands, 30 * Child::kPatience);
    std::vector<std::array<char, 16>> vectors(8 * each);
    for (int i = 0; i < 8; ++i) {
        const std::string content = ReadAll(file(i));
        ASSERT_EQ(content.size(), 16 * each);
        std::memcpy(&vectors[static_cast<std::size_t>(i) * each], content.data(), content.size());
    }
    std::sort(vectors.begin(), vectors.end());
    EXPECT_EQ(std::adjacent_find(vectors.begin(), vectors.end()), vectors.end());
}

TEST(SealedMessages, ThatFailSayWhyAndLeaveTheOutput) {
    SecurityEncryptUtil util;
    HostLog log;
    std::string out = "untouched";
    EXPECT_EQ(util.AesGcmEncrypt("00", out), -1);  // no session key
    util.SetSessionKey(kKey);
    std::string sealed;
    ASSERT_EQ(util.AesGcmEncrypt("00", sealed), 33);
    log.Take();
    sealed.back() = sealed.back() == '0' ? '1' : '0';
    EXPECT_EQ(util.AesGcmDecrypt(sealed, out), -1);
    EXPECT_EQ(util.AesGcmEncrypt("zz", out), -1);
    EXPECT_EQ(out, "untouched");
    EXPECT_EQ(log.Take(), (Lines{L"4 error code -1(SecurityEncryptUtil::AesGcmDecrypt)",
                                 L"4 error code -1(SecurityEncryptUtil::AesGcmEncrypt)"}));
    // A copy has the key; an object that was moved from has none.
    SecurityEncryptUtil copy(util);
    SecurityEncryptUtil moved(std::move(util));
    ASSERT_EQ(moved.AesGcmEncrypt("AB", sealed), 33);
    EXPECT_EQ(copy.AesGcmDecrypt(sealed, out), 1);
    EXPECT_EQ(out, "AB");
}

LONG WINAPI NoRandom(void*, UCHAR*, ULONG, ULONG) { return static_cast<LONG>(0xC0000001); }

TEST(RandomText, IsDrawnOrRefused) {
    SecurityEncryptUtil util;
    HostLog log;
    std::string hex = "untouched";
    EXPECT_FALSE(util.GenerateRandom(hex, 0));
    EXPECT_FALSE(util.GenerateRandom(hex, -1));
    EXPECT_EQ(hex, "untouched");
    for (const int length : {1, 16, 511, 512, 513, 5000}) {
        std::string first, second;
        ASSERT_TRUE(util.GenerateRandom(first, length));
        ASSERT_TRUE(util.GenerateRandom(second, length));
        EXPECT_EQ(first.size(), 2u * static_cast<std::size_t>(length));
        EXPECT_TRUE(util.HexStringToByte(first, first.size(), nullptr, first.size()));
        EXPECT_EQ(first.find('a'), std::string::npos);
        EXPECT_TRUE(first != second || length == 1);
    }
    EXPECT_EQ(log.Take(), Lines{});

    const std::wstring failed =
        L"4 SecurityEncryptUtil::GenerateRandom Fail to generate designated-length rand bytes!\n"
        L"(SecurityEncryptUtil::GenerateRandom)";
    unsigned char buffer[8] = {};
    EXPECT_TRUE(util.GenerateRandom(buffer, 0));
    EXPECT_FALSE(util.GenerateRandom(buffer, -1));
    EXPECT_FALSE(util.GenerateRandom(static_cast<unsigned char*>(nullptr), 8));
    EXPECT_EQ(log.Take(), (Lines{failed, L"4 gen random failed, errCode -1073741811(CryptRandom::Gen)", failed}));

    const DelayedImportPatch broken(L"TandorUtil.dll", L"bcrypt.dll", "BCryptGenRandom", NoRandom);
    const std::wstring status = L"4 gen random failed, errCode -1073741823(CryptRandom::Gen)";
    const std::wstring no_text = L"3 GenerateRandom error (SecurityEncryptUtil::GenerateRandom)";
    hex = "untouched";
    EXPECT_FALSE(util.GenerateRandom(hex, 16));
    EXPECT_EQ(log.Take(), (Lines{status, failed, no_text}));
    util.SetSessionKey(kKey);
    EXPECT_EQ(util.AesGcmEncrypt("00", hex), -1);
    EXPECT_EQ(hex, "untouched");
    EXPECT_EQ(log.Take(), (Lines{status, failed, no_text, L"4 gen random fail(SecurityEncryptUtil::AesGcmEncrypt)"}));
}

}  // namespace
