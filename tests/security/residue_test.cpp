// What is left in the process after sealing: no secret in memory, no handle, no memory more than before.
#include "security/secret_search.h"

namespace {

using namespace tandor::test;

const unsigned char kVector[16] = {1};

void UseByteForm() {
    Secrets secrets;
    SecurityEncryptUtil util;
    unsigned char sealed[96];
    tandor::SecretBytes<64> opened;
    EXPECT_EQ(util.AesGcmEncrypt(secrets.plain.bytes, 64, sealed, secrets.key.bytes, kVector), 96);
    EXPECT_EQ(util.AesGcmDecrypt(sealed, 96, opened.bytes, secrets.key.bytes), 64);
    sealed[95] ^= 1;
    EXPECT_EQ(util.AesGcmDecrypt(sealed, 96, opened.bytes, secrets.key.bytes), -1);
    EXPECT_EQ(util.AesGcmEncrypt(secrets.plain.bytes, -1, sealed, secrets.key.bytes, kVector), -1);
    EXPECT_EQ(util.AesGcmEncrypt(secrets.plain.bytes, 64, sealed, secrets.key.bytes, nullptr), -15);
}

// More than waits on the stack for its tag.
void UseLargeByteForm() {
    Secrets secrets;
    SecurityEncryptUtil util;
    std::vector<unsigned char> plain(6400), sealed(6432);
    for (int i = 0; i < 100; ++i) std::memcpy(plain.data() + 64 * i, secrets.plain.bytes, 64);
    EXPECT_EQ(util.AesGcmEncrypt(plain.data(), 6400, sealed.data(), secrets.key.bytes, kVector), 6432);
    EXPECT_EQ(util.AesGcmDecrypt(sealed.data(), 6432, plain.data(), secrets.key.bytes), 6400);
    sealed[0] ^= 1;
    EXPECT_EQ(util.AesGcmDecrypt(sealed.data(), 6432, plain.data(), secrets.key.bytes), -1);
    Wipe(plain.data(), plain.size());
}

void UseTextForm() {
    Secrets secrets;
    SecurityEncryptUtil util;
    std::string sealed;
    tandor::SecretText opened, bad_key, long_text, quarter(secrets.plain_text.text.substr(96));
    util.SetSessionKey(secrets.key_text.text);
    long_text.text.reserve(400);
    long_text.text = secrets.plain_text.text;
    EXPECT_EQ(util.AesGcmEncrypt(quarter.text, sealed), 48);
    EXPECT_EQ(util.AesGcmDecrypt(sealed, opened.text), 16);
    EXPECT_EQ(util.AesGcmEncrypt(secrets.plain_text.text, sealed), 96);
    EXPECT_EQ(util.AesGcmDecrypt(sealed, opened.text), 64);  // the output held a plaintext and has to grow
    long_text.text += "zz";
    EXPECT_EQ(util.AesGcmEncrypt(long_text.text, sealed), -1);
    while (long_text.text.size() < 338) long_text.text += 'a';
    EXPECT_EQ(util.AesGcmEncrypt(long_text.text, sealed), -1);  // 169 bytes
    sealed[50] = sealed[50] == '0' ? '1' : '0';
    EXPECT_EQ(util.AesGcmDecrypt(sealed, opened.text), -1);
    bad_key.text.reserve(80);
    for (const char* const more : {"0", "00"}) {
        bad_key.text = secrets.key_text.text;
        bad_key.text += more;
        util.SetSessionKey(bad_key.text);
        EXPECT_EQ(util.AesGcmEncrypt("00", sealed), -1);
        EXPECT_EQ(util.AesGcmDecrypt(sealed, opened.text), -1);
    }
}

void DrawOverAKey() {
    Secrets secrets;
    std::string text = secrets.key_text.text;
    EXPECT_TRUE(SecurityEncryptUtil().GenerateRandom(text, 32));
    std::string other = secrets.key_text.text;
    EXPECT_TRUE(SecurityEncryptUtil().GenerateRandom(other, 500));
}

// The one key that is left is the object's.
void HandTheKeyOn() {
    SecurityEncryptUtil last;
    {
        Secrets secrets;
        SecurityEncryptUtil first;
        first.SetSessionKey(secrets.key_text.text);
        SecurityEncryptUtil second(first), third(std::move(first));
        second = third;
        third.SetSessionKey(std::string(64, '0'));
        last.SetSessionKey(secrets.key_text.text);
        last = std::move(second);
        last = *&last;
    }
    EXPECT_EQ(kKeyHalf.CountInProcess(), 1);
}

TEST(Residue, NoKeyNorScheduleNorPlaintextStaysInMemory) {
    {
        std::vector<unsigned char> planted(100);
        kRoundKey.Unmask(planted.data() + 33);
        EXPECT_GE(kRoundKey.CountInProcess(), 1);  // the search finds what is there
        Wipe(planted.data(), planted.size());
        const Secrets secrets;
        EXPECT_EQ(kPlain.CountInProcess(), 8);  // four times in bytes, four in text
    }
    const std::pair<const char*, void (*)()> uses[] = {
        {"the search itself", [] {}},   {"the byte form", UseByteForm}, {"large messages", UseLargeByteForm},
        {"the text form", UseTextForm}, {"random text", DrawOverAKey},  {"handing the key on", HandTheKeyOn},
    };
    for (const auto& [what, use] : uses) {
        use();
        ExpectNoSecretInMemory(what);
    }
}

// Seals, opens and fails to open `count` messages.
void SealAndOpen(int count) {
    SecurityEncryptUtil util;
    const unsigned char key[32] = {1}, vector[16] = {2};
    unsigned char plain[64] = {3}, sealed[96], opened[64];
    for (int i = 0; i < count; ++i) {
        util.AesGcmEncrypt(plain, sizeof(plain), sealed, key, vector);
        if (i % 4 == 0) util.AesGcmDecrypt(sealed, sizeof(sealed), opened, key);
        sealed[0] ^= 1;
        if (i % 4 == 1) util.AesGcmDecrypt(sealed, sizeof(sealed), opened, key);
    }
}

void SealInThreads(int count) {
    for (int i = 0; i < count; ++i) std::thread(SealAndOpen, 4).join();
}

TEST(Residue, AMillionSealsLeaveNoHandleAndNoMemory) {
    SealAndOpen(1000);
    SealInThreads(50);
    std::size_t committed = PrivateBytesOfThisProcess();
    {
        const LeakWatch watch;
        SealAndOpen(1'000'000);
        watch.ExpectNoMoreThan(0);
        EXPECT_LT(PrivateBytesOfThisProcess(), committed + 500'000);  // half a byte a message
    }
    const std::size_t handles = HandlesOfThisProcess(), bytes = HeapBytesOfThisProcess();
    committed = PrivateBytesOfThisProcess();
    {
        const std::vector<char> planted(3'000'000, 'x');
        EXPECT_GT(HeapBytesOfThisProcess(), bytes + 2'000'000);  // the counters see what is there
        EXPECT_GT(PrivateBytesOfThisProcess(), committed + 2'000'000);
        const tandor::KernelHandle event(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
        EXPECT_EQ(HandlesOfThisProcess(), handles + 1);
        EXPECT_EQ(planted.back(), 'x');
    }
    const LeakWatch watch;
    SealInThreads(2000);
    watch.ExpectNoMoreThan(2);
    EXPECT_LT(PrivateBytesOfThisProcess(), committed + 400'000);  // 200 bytes a thread
}

}  // namespace
