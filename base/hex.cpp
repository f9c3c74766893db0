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

// All ones in the bytes from `first` to `last`, both below 128; bytes above 127 are negative and lie in no range.
__m128i Within(__m128i bytes, char first, char last) {
    return _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(static_cast<char>(first - 1))),
                         _mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(last + 1)), bytes));
}

// Decodes sixteen digits into eight bytes; false, and nothing written, when there is another character.
bool ReadBlock(const char* in, unsigned char* out) {
    const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    const __m128i lower = _mm_or_si128(text, _mm_set1_epi8(0x20));
    const __m128i numbers = Within(text, '0', '9'), letters = Within(lower, 'a', 'f');
    if (_mm_movemask_epi8(_mm_or_si128(numbers, letters)) != 0xFFFF) return false;
    const __m128i nibbles = _mm_or_si128(_mm_and_si128(numbers, _mm_sub_epi8(text, _mm_set1_epi8('0'))),
                                         _mm_and_si128(letters, _mm_sub_epi8(lower, _mm_set1_epi8('a' - 10))));
    // In each pair the first digit is the low byte: it goes up by four bits, the second comes down by a byte.
    const __m128i pairs = _mm_or_si128(_mm_slli_epi16(nibbles, 4), _mm_srli_epi16(nibbles, 8));
    const __m128i bytes = _mm_packus_epi16(_mm_and_si128(pairs, _mm_set1_epi16(0xFF)), _mm_setzero_si128());
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), bytes);
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
    std::size_t done = 0;
    while (size - done >= kBlock / 2 && ReadBlock(digits.data() + 2 * done, out + done)) done += kBlock / 2;
    for (; done < size; ++done) {
        const int high = HexValue(digits[2 * done]);
        const int low = HexValue(digits[2 * done + 1]);
        if ((high | low) < 0) break;
        out[done] = static_cast<unsigned char>(high << 4 | low);
    }
    return done;
}

}  // namespace tandor
