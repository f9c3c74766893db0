#include "base/hex.h"

#include <emmintrin.h>

namespace tandor {
namespace {

constexpr std::size_t kBlock = 16;

constexpr int LetterDistance(HexCase digits) { return (digits == HexCase::kUpper ? 'A' : 'a') - '9' - 1; }

// '0' + nibble, and those above 9 the distance to the letters more.
char Digit(int nibble, int letters) { return static_cast<char>('0' + nibble + (((9 - nibble) >> 31) & letters)); }

// The same, sixteen bytes at a time.
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

// The values of sixteen digits, and whether all of them are digits. A digit's low nibble is its value, a letter's is 9
// less.
bool ReadDigits(const char* in, __m128i& values) {
    const auto between = [](__m128i bytes, char first, char last) {
        return _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(static_cast<char>(first - 1))),
                             _mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(last + 1)), bytes));
    };
    const __m128i digits = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    const __m128i numerals = between(digits, '0', '9');
    const __m128i letters = between(_mm_or_si128(digits, _mm_set1_epi8(0x20)), 'a', 'f');
    values = _mm_add_epi8(_mm_and_si128(digits, _mm_set1_epi8(0x0F)), _mm_and_si128(letters, _mm_set1_epi8(9)));
    return _mm_movemask_epi8(_mm_or_si128(numerals, letters)) == 0xFFFF;
}

// Thirty-two digits at a time; false when one of them is none.
bool ReadBlock(const char* in, unsigned char* out) {
    __m128i first, second;
    if (!ReadDigits(in, first) || !ReadDigits(in + kBlock, second)) return false;
    const auto joined = [](__m128i values) {  // of each pair the first is the high nibble
        return _mm_and_si128(_mm_or_si128(_mm_slli_epi16(values, 4), _mm_srli_epi16(values, 8)),
                             _mm_set1_epi16(0x00FF));
    };
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(joined(first), joined(second)));
    return true;
}

}  // namespace

void WriteHex(const void* data, std::size_t size, HexCase digits, char* out) {
    const auto* in = static_cast<const unsigned char*>(data);
    const int letters = LetterDistance(digits);
    for (; size >= kBlock; size -= kBlock, in += kBlock, out += 2 * kBlock) WriteBlock(in, letters, out);
    for (; size != 0; --size, ++in) {
        *out++ = Digit(*in >> 4, letters);
        *out++ = Digit(*in & 0x0F, letters);
    }
}

std::string HexFromBytes(std::string_view bytes, HexCase digits) {
    std::string text(2 * bytes.size(), '\0');
    WriteHex(bytes.data(), bytes.size(), digits, text.data());
    return text;
}

std::size_t ReadHex(std::string_view digits, unsigned char* out) {
    const std::size_t size = digits.size() / 2;
    std::size_t i = 0;
    while (size - i >= kBlock && ReadBlock(digits.data() + 2 * i, out + i)) i += kBlock;
    for (; i < size; ++i) {
        const int high = HexValue(digits[2 * i]);
        const int low = HexValue(digits[2 * i + 1]);
        if ((high | low) < 0) return i;
        out[i] = static_cast<unsigned char>(high << 4 | low);
    }
    return size;
}

}  // namespace tandor
