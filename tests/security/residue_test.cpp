// What is left in the process after sealing: no secret in memory, no handle, no memory more than before.
#include <array>

#include "base/hex.h"
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

// Sixteen bytes to look for. They are kept masked, so that the search does not find itself.
class Needle {
public:
    explicit Needle(const char* masked_hex) { tandor::ReadHex(masked_hex, masked_.data()); }

    [[nodiscard]] std::array<unsigned char, 16> Unmasked() const {
        std::array<unsigned char, 16> bytes{};
        for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = masked_[i] ^ kMask;
        return bytes;
    }

    // How often the bytes stand in the memory that this process can write to.
    [[nodiscard]] int CountInProcess() const {
        int count = 0;
        const auto same = [](unsigned char byte, unsigned char masked) { return (masked ^ kMask) == byte; };
        ForEachWritableRegion([&](const unsigned char* at, std::size_t size) {
            const unsigned char* const end = at + size;
            while ((at = std::search(at, end, masked_.begin(), masked_.end(), same)) != end) ++count, ++at;
        });
        return count;
    }

private:
    std::array<unsigned char, 16> masked_{};
};

void Wipe(void* memory, std::size_t size) {
    volatile auto* bytes = static_cast<volatile unsigned char*>(memory);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = 0;
}

// The key of FIPS 197, appendix A.3, and the third round key of its schedule; a plaintext. All masked.
const Needle kKeyHalf("3A67B14A4F902BE47129F4AADF272DDB");
const Needle kOtherKeyHalf("456F765D613B528D77C24AF9534E85AE");
const Needle kRoundKey("C1F90E4BD4337FF5FF40D1057A3DA684");
const Needle kPlain("0102040810204080112233445566778A");

// Hides from the optimiser that the call has no further effect, and keeps its frame apart from the search.
[[gnu::noinline]] void WithKey(void (*use)(const unsigned char* key)) {
    unsigned char key[32];
    auto half = kKeyHalf.Unmasked();
    auto other = kOtherKeyHalf.Unmasked();
    std::copy(half.begin(), half.end(), key);
    std::copy(other.begin(), other.end(), key + 16);
    use(key);
    Wipe(key, sizeof(key));
    Wipe(half.data(), half.size());
    Wipe(other.data(), other.size());
}

void ExpectNothingLeft(const char* after) {
    EXPECT_EQ(kKeyHalf.CountInProcess(), 0) << after;
    EXPECT_EQ(kRoundKey.CountInProcess(), 0) << after;
    EXPECT_EQ(kPlain.CountInProcess(), 0) << after;
}

TEST(Residue, NoKeyNorScheduleNorPlaintextStaysInMemory) {
    {
        std::vector<unsigned char> planted(100);
        auto bytes = kRoundKey.Unmasked();
        std::copy(bytes.begin(), bytes.end(), planted.begin() + 33);
        Wipe(bytes.data(), bytes.size());
        EXPECT_GE(kRoundKey.CountInProcess(), 1);  // the search finds what is there
        Wipe(planted.data(), planted.size());
    }
    ExpectNothingLeft("the search itself");
    WithKey([](const unsigned char* key) {
        SecurityEncryptUtil util;
        auto plain = kPlain.Unmasked();
        const unsigned char vector[16] = {1};
        unsigned char sealed[48], opened[16];
        EXPECT_EQ(util.AesGcmEncrypt(plain.data(), 16, sealed, key, vector), 48);
        EXPECT_EQ(util.AesGcmDecrypt(sealed, 48, opened, key), 16);
        sealed[47] ^= 1;
        EXPECT_EQ(util.AesGcmDecrypt(sealed, 48, opened, key), -1);
        Wipe(plain.data(), plain.size());
        Wipe(opened, sizeof(opened));
    });
    ExpectNothingLeft("the byte form");
    WithKey([](const unsigned char* key) {
        std::string key_text(64, '0'), plain_text(32, '0'), sealed, opened;
        auto plain = kPlain.Unmasked();
        tandor::WriteHex(key, 32, tandor::HexCase::kUpper, key_text.data());
        tandor::WriteHex(plain.data(), 16, tandor::HexCase::kUpper, plain_text.data());
        Wipe(plain.data(), plain.size());
        SecurityEncryptUtil util;
        util.SetSessionKey(key_text);
        EXPECT_EQ(util.AesGcmEncrypt(plain_text, sealed), 48);
        EXPECT_EQ(util.AesGcmEncrypt(plain_text + "zz", sealed), -1);
        EXPECT_EQ(util.AesGcmDecrypt(sealed, opened), 16);
        sealed[50] = sealed[50] == '0' ? '1' : '0';
        EXPECT_EQ(util.AesGcmDecrypt(sealed, opened), -1);
    });
    ExpectNothingLeft("the text form");
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
