// What is left in the process after sealing: no secret in memory, no handle, no memory more than before.
#include <array>

#include "base/hex.h"
#include "security/secret.h"
#include "support/fail_each_step.h"
#include "support/failing_memory.h"
#include "support/testing.h"
#include "tandor/sealing.h"

namespace {

using namespace tandor::test;

constexpr unsigned char kMask = 0x5A;

template <class Visit>
void ForEachWritableRegion(Visit visit) {
    MEMORY_BASIC_INFORMATION region{};
    for (const unsigned char* at = nullptr; ::VirtualQuery(at, &region, sizeof(region)) != 0;
         at = static_cast<const unsigned char*>(region.BaseAddress) + region.RegionSize) {
        const bool writable = (region.Protect & (PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READWRITE)) != 0;
        if (region.State == MEM_COMMIT && writable && (region.Protect & PAGE_GUARD) == 0) {
            visit(static_cast<const unsigned char*>(region.BaseAddress), region.RegionSize);
        }
    }
}

void Wipe(void* memory, std::size_t size) {
    volatile auto* bytes = static_cast<volatile unsigned char*>(memory);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = 0;
}

// Registers are not memory, but Wine keeps a thread's in the process while it serves a system call: of a text that was
// copied, by a test as well, they hold parts until something else is computed in them.
void ClearVectorRegisters() {
    asm volatile(
        "pxor %%xmm0, %%xmm0; pxor %%xmm1, %%xmm1; pxor %%xmm2, %%xmm2;"
        "pxor %%xmm3, %%xmm3; pxor %%xmm4, %%xmm4; pxor %%xmm5, %%xmm5"
        :
        :
        : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5");
}

// Sixteen bytes to look for, as they are and the first eight as hexadecimal text. They are kept masked, so that the
// search does not find itself.
class Needle {
public:
    explicit Needle(const char* masked_hex) {
        tandor::ReadHex(masked_hex, forms_[0].data());
        for (std::size_t i = 0; i < 16; ++i) {
            const int nibble = (forms_[0][i / 2] ^ kMask) >> (i % 2 == 0 ? 4 : 0) & 15;
            forms_[1][i] = static_cast<unsigned char>("0123456789ABCDEF"[nibble] ^ kMask);
            forms_[2][i] = static_cast<unsigned char>("0123456789abcdef"[nibble] ^ kMask);
        }
    }

    void Unmask(unsigned char* bytes) const {
        for (std::size_t i = 0; i < 16; ++i) bytes[i] = forms_[0][i] ^ kMask;
    }

    // How often any of the forms stands in the memory that this process can write to.
    [[nodiscard]] int CountInProcess() const {
        ClearVectorRegisters();
        int count = 0;
        ForEachWritableRegion([&](const unsigned char* at, std::size_t size) {
            for (const Form& form : forms_) count += Count(form, at, at + size);
        });
        return count;
    }

private:
    using Form = std::array<unsigned char, 16>;

    static int Count(const Form& form, const unsigned char* at, const unsigned char* end) {
        const auto same = [](unsigned char masked, unsigned char byte) { return (masked ^ kMask) == byte; };
        int count = 0;
        while (end - at >= 16) {
            at = static_cast<const unsigned char*>(
                std::memchr(at, form[0] ^ kMask, static_cast<std::size_t>(end - at) - 15));
            if (at == nullptr) break;
            count += std::equal(form.begin(), form.end(), at, same) ? 1 : 0;
            ++at;
        }
        return count;
    }

    std::array<Form, 3> forms_{};
};

// The key of FIPS 197, appendix A.3, and the third round key of its schedule; a plaintext. All masked.
const Needle kKeyHalf("3A67B14A4F902BE47129F4AADF272DDB");
const Needle kOtherKeyHalf("456F765D613B528D77C24AF9534E85AE");
const Needle kRoundKey("C1F90E4BD4337FF5FF40D1057A3DA684");
const Needle kPlain("0102040810204080112233445566778A");

// The secrets, for as long as it lives, in bytes and as text.
struct Secrets {
    tandor::SecretBytes<32> key;
    tandor::SecretBytes<64> plain;  // four times the same
    tandor::SecretText key_text, plain_text;

    Secrets() {
        kKeyHalf.Unmask(key.bytes);
        kOtherKeyHalf.Unmask(key.bytes + 16);
        for (int i = 0; i < 64; i += 16) kPlain.Unmask(plain.bytes + i);
        key_text.text.resize(64);
        plain_text.text.resize(128);
        tandor::WriteHex(key.bytes, 32, tandor::HexCase::kUpper, key_text.text.data());
        tandor::WriteHex(plain.bytes, 64, tandor::HexCase::kLower, plain_text.text.data());
    }
};

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

// The next allocation fails, and the next, until none is left.
void RunShortOfMemory() {
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
    FailEachStep<FailingMemory>(
        "seal", [&] { return util.AesGcmEncrypt(secrets.plain_text.text, out) == 96; }, expect);
    FailEachStep<FailingMemory>(
        "open", [&] { return util.AesGcmDecrypt(sealed, out) == 64; }, expect);
    FailEachStep<FailingMemory>(
        "draw", [&] { return util.GenerateRandom(out, 600); }, expect);
    std::vector<unsigned char> large(6400, 1), sealed_large(6432);
    util.AesGcmEncrypt(large.data(), 6400, sealed_large.data(), secrets.key.bytes, kVector);
    FailEachStep<FailingMemory>(
        "open bytes",
        [&] { return util.AesGcmDecrypt(sealed_large.data(), 6432, large.data(), secrets.key.bytes) == 6400; },
        [](bool) {});
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
        {"the search itself", [] {}},          {"the byte form", UseByteForm}, {"large messages", UseLargeByteForm},
        {"the text form", UseTextForm},        {"random text", DrawOverAKey},  {"handing the key on", HandTheKeyOn},
        {"memory shortage", RunShortOfMemory},
    };
    for (const auto& [what, use] : uses) {
        use();
        for (const Needle* const needle : {&kKeyHalf, &kOtherKeyHalf, &kRoundKey, &kPlain})
            EXPECT_EQ(needle->CountInProcess(), 0) << what;
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
    std::size_t handles = HandlesOfThisProcess(), bytes = HeapBytesOfThisProcess();
    std::size_t committed = PrivateBytesOfThisProcess();
    SealAndOpen(1'000'000);
    EXPECT_EQ(HandlesOfThisProcess(), handles);
    EXPECT_LT(HeapBytesOfThisProcess(), bytes + 4096);
    EXPECT_LT(PrivateBytesOfThisProcess(), committed + 500'000);  // half a byte a message
    handles = HandlesOfThisProcess(), bytes = HeapBytesOfThisProcess(), committed = PrivateBytesOfThisProcess();
    {
        const std::vector<char> planted(3'000'000, 'x');
        EXPECT_GT(HeapBytesOfThisProcess(), bytes + 2'000'000);  // the counters see what is there
        EXPECT_GT(PrivateBytesOfThisProcess(), committed + 2'000'000);
        const tandor::KernelHandle event(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
        EXPECT_EQ(HandlesOfThisProcess(), handles + 1);
        EXPECT_EQ(planted.back(), 'x');
    }
    SealInThreads(2000);
    EXPECT_LE(HandlesOfThisProcess(), handles + 2);
    EXPECT_LT(HeapBytesOfThisProcess(), bytes + 4096);
    EXPECT_LT(PrivateBytesOfThisProcess(), committed + 400'000);  // 200 bytes a thread
}

}  // namespace
