// Looks for secrets in all memory of the process, and seals and opens with secrets that can be looked for.
#pragma once

#include <array>
#include <cstring>

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#endif

#include "base/hex.h"
#include "security/secret.h"
#include "support/testing.h"
#include "tandor/sealing.h"

namespace tandor::test {

inline constexpr unsigned char kSearchMask = 0x5A;

inline void Wipe(void* memory, std::size_t size) {
    volatile auto* bytes = static_cast<volatile unsigned char*>(memory);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = 0;
}

#ifdef _WIN32
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

#else
// Through the kernel, in pieces that overlap: under the sanitizers memory that was given back stays as it was for long,
// but must not be touched. Regions as large as a sanitizer's own books are passed over.
template <class Visit>
void ForEachWritableRegion(Visit visit) {
    constexpr std::size_t kPiece = 1 << 20, kOverlap = 15, kBooks = std::size_t{1} << 30;
    const int memory = ::open("/proc/self/mem", O_RDONLY);
    ASSERT_NE(memory, -1);
    std::vector<unsigned char> piece(kPiece + kOverlap);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::size_t at = 0, end = 0;
        char rights[5]{};
        if (std::sscanf(line.c_str(), "%zx-%zx %4s", &at, &end, rights) != 3 || rights[1] != 'w') continue;
        for (; end - at < kBooks && at < end; at += kPiece) {
            const auto read = ::pread(memory, piece.data(), std::min(piece.size(), end - at), static_cast<off_t>(at));
            if (read > 0) visit(piece.data(), static_cast<std::size_t>(read));
        }
    }
    Wipe(piece.data(), piece.size());  // what was found is not to be found in here
    ::close(memory);
}
#endif

// Registers are not memory, but Wine keeps a thread's in the process while it serves a system call: of a text that was
// copied, by a test as well, they hold parts until something else is computed in them.
inline void ClearVectorRegisters() {
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
            const int nibble = (forms_[0][i / 2] ^ kSearchMask) >> (i % 2 == 0 ? 4 : 0) & 15;
            forms_[1][i] = static_cast<unsigned char>("0123456789ABCDEF"[nibble] ^ kSearchMask);
            forms_[2][i] = static_cast<unsigned char>("0123456789abcdef"[nibble] ^ kSearchMask);
        }
    }

    void Unmask(unsigned char* bytes) const {
        for (std::size_t i = 0; i < 16; ++i) bytes[i] = forms_[0][i] ^ kSearchMask;
    }

    // How often any of the forms stands in the memory that this process can write to; a hit may count twice where
    // memory is read in pieces.
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
        const auto same = [](unsigned char masked, unsigned char byte) { return (masked ^ kSearchMask) == byte; };
        int count = 0;
        while (end - at >= 16) {
            at = static_cast<const unsigned char*>(
                std::memchr(at, form[0] ^ kSearchMask, static_cast<std::size_t>(end - at) - 15));
            if (at == nullptr) break;
            count += std::equal(form.begin(), form.end(), at, same) ? 1 : 0;
            ++at;
        }
        return count;
    }

    std::array<Form, 3> forms_{};
};

// The key of FIPS 197, appendix A.3, and the third round key of its schedule; a plaintext. All masked.
inline const Needle kKeyHalf("3A67B14A4F902BE47129F4AADF272DDB");
inline const Needle kOtherKeyHalf("456F765D613B528D77C24AF9534E85AE");
inline const Needle kRoundKey("C1F90E4BD4337FF5FF40D1057A3DA684");
inline const Needle kPlain("0102040810204080112233445566778A");

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

inline void ExpectNoSecretInMemory(const char* after) {
    for (const Needle* const needle : {&kKeyHalf, &kOtherKeyHalf, &kRoundKey, &kPlain})
        EXPECT_EQ(needle->CountInProcess(), 0) << after;
}

}  // namespace tandor::test
