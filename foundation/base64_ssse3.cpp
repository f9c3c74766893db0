// The bit moves by multiplication and the alphabet by shuffled offsets follow W. Mula and D. Lemire, "Faster Base64
// Encoding and Decoding Using AVX2 Instructions", ACM Transactions on the Web 12(3), 2018, in their 128-bit form.
#include "foundation/base64_ssse3.h"

#include <tmmintrin.h>

namespace tandor {
namespace {

__m128i Load(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }
void Store(void* to, __m128i value) { _mm_storeu_si128(static_cast<__m128i*>(to), value); }

// Twelve bytes to sixteen values of six bits.
__m128i SplitBits(__m128i bytes) {
    const __m128i spread = _mm_shuffle_epi8(bytes, _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    const __m128i first_third =
        _mm_mulhi_epu16(_mm_and_si128(spread, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
    const __m128i second_fourth =
        _mm_mullo_epi16(_mm_and_si128(spread, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
    return _mm_or_si128(first_third, second_fourth);
}

// Six-bit values to characters: each range of the alphabet lies at a fixed distance from its values.
__m128i ToAlphabet(__m128i values) {
    const __m128i ranges =
        _mm_subs_epu8(values, _mm_set1_epi8(51));  // 0 for both letter ranges, 1 to 10 digits, 11 '+', 12 '/'
    const __m128i upper = _mm_cmpgt_epi8(_mm_set1_epi8(26), values);
    const __m128i index = _mm_or_si128(ranges, _mm_and_si128(upper, _mm_set1_epi8(13)));
    constexpr char kDigits = '0' - 52;
    const __m128i distances = _mm_setr_epi8('a' - 26, kDigits, kDigits, kDigits, kDigits, kDigits, kDigits, kDigits,
                                            kDigits, kDigits, kDigits, '+' - 62, '/' - 63, 'A', 0, 0);
    return _mm_add_epi8(values, _mm_shuffle_epi8(distances, index));
}

// Characters to six-bit values. Returns false when one is not of the alphabet: the two nibbles of a character select
// bit masks that have a bit in common exactly for foreign ones.
bool FromAlphabet(__m128i text, __m128i& values) {
    const __m128i high_nibbles = _mm_and_si128(_mm_srli_epi32(text, 4), _mm_set1_epi8(0x0F));
    const __m128i low_nibbles = _mm_and_si128(text, _mm_set1_epi8(0x0F));
    const __m128i high_masks = _mm_shuffle_epi8(
        _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10),
        high_nibbles);
    const __m128i low_masks = _mm_shuffle_epi8(
        _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A),
        low_nibbles);
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(high_masks, low_masks), _mm_setzero_si128())) != 0xFFFF)
        return false;
    const __m128i slash = _mm_cmpeq_epi8(text, _mm_set1_epi8('/'));
    const __m128i distances = _mm_shuffle_epi8(_mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0),
                                               _mm_add_epi8(slash, high_nibbles));
    values = _mm_add_epi8(text, distances);
    return true;
}

// Sixteen values of six bits to twelve bytes, in the low end.
__m128i JoinBits(__m128i values) {
    const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140));
    const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    return _mm_shuffle_epi8(groups, _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
}

}  // namespace

std::size_t EncodeBase64Blocks(const unsigned char* data, std::size_t size, char* out) {
    std::size_t done = 0;
    for (; size - done >= 16; done += 12, out += 16) Store(out, ToAlphabet(SplitBits(Load(data + done))));
    return done;
}

std::size_t DecodeBase64Blocks(const unsigned char* text, std::size_t size, unsigned char* out) {
    std::size_t done = 0;
    __m128i values;
    // Behind a block there must be two more groups, for which the output has the six bytes that this block writes too
    // far.
    for (; size - done >= 24 && FromAlphabet(Load(text + done), values); done += 16, out += 12)
        Store(out, JoinBits(values));
    return done;
}

}  // namespace tandor
