#include "base/hex.h"

#include <emmintrin.h>

namespace tandor {
namespace {

constexpr std::size_t kBlock = 16;

// Sixteen bytes at a time: each nibble becomes '0' + nibble, and those above 9 the distance to the letters more.
void WriteBlock(const unsigned char* in, int letters, char* out) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    const __m128i low_mask = _mm_set1_epi8(0x0F);
    const __m128i high = _mm_and_si128(_mm_srli_epi16(bytes, 4), low_mask);
    const __m128i low = _mm_and_si128(bytes, low_mask);
    const auto digits = [&](__m128i nibbles) {
        const __m128i above =
            _mm_and_si128(_mm_cmpgt_epi8(nibbles, _mm_set1_epi8(9)), _mm_set1_epi8(static_cast<char>(letters)));
        return _mm_add_epi8(_mm_add_epi8(nibbles, _mm_set1_epi8('0')), above);
    };
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), digits(_mm_unpacklo_epi8(high, low)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16), digits(_mm_unpackhi_epi8(high, low)));
}

}  // namespace

void WriteHex(const void* data, std::size_t size, HexCase digits, char* out) {
    const auto* in = static_cast<const unsigned char*>(data);
    const int letters = digits == HexCase::kUpper ? 'A' - '9' - 1 : 'a' - '9' - 1;
    for (; size >= kBlock; size -= kBlock, in += kBlock, out += 2 * kBlock) WriteBlock(in, letters, out);
    const char* table = digits == HexCase::kUpper ? "0123456789ABCDEF" : "0123456789abcdef";
    for (; size != 0; --size, ++in) {
        *out++ = table[*in >> 4];
        *out++ = table[*in & 0x0F];
    }
}

std::string HexFromBytes(std::string_view bytes, HexCase digits) {
    std::string text(2 * bytes.size(), '\0');
    WriteHex(bytes.data(), bytes.size(), digits, text.data());
    return text;
}

std::size_t ReadHex(std::string_view digits, unsigned char* out) {
    const std::size_t size = digits.size() / 2;
    for (std::size_t i = 0; i < size; ++i) {
        const int high = HexValue(digits[2 * i]);
        const int low = HexValue(digits[2 * i + 1]);
        if ((high | low) < 0) return i;
        out[i] = static_cast<unsigned char>(high << 4 | low);
    }
    return size;
}

}  // namespace tandor
