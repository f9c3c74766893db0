// UTF-8 to and from UTF-16 (2-byte units) or UTF-32 (4-byte units): the loops, without allocation.
//
// Each loop runs until its input ends, its output lacks room, or a sequence is not valid. What is valid is what the
// Unicode Standard's table 3-7 (well-formed UTF-8 byte sequences) allows: no overlong form, no encoded surrogate,
// nothing beyond U+10FFFF, no cut sequence.
#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>

namespace tandor::utf {

// Where a loop stopped. `valid` is false when `in` stands at a sequence that is not valid.
template <class In, class Out>
struct Stop {
    const In* in;
    Out* out;
    bool valid;
};

inline constexpr std::ptrdiff_t kBlock = 16;  // units per vector step; a loop stops when less output room is left

inline bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// The code point of the sequence at `in` (a byte of 0x80 or more) and its length; length 0 when it is not valid.
struct Sequence {
    char32_t code_point;
    int length;
};

inline Sequence ReadSequence(const unsigned char* in, std::ptrdiff_t left) {
    const unsigned char lead = in[0];
    if (lead >= 0xE0 && lead < 0xF0 && left >= 3 && IsContinuation(in[1]) && IsContinuation(in[2])) {
        const char32_t code = (char32_t{lead} & 0x0F) << 12 | (char32_t{in[1]} & 0x3F) << 6 | (in[2] & 0x3F);
        if (code >= 0x800 && (code & 0xF800) != 0xD800) return {code, 3};
    } else if (lead >= 0xC2 && lead < 0xE0 && left >= 2 && IsContinuation(in[1])) {
        return {(char32_t{lead} & 0x1F) << 6 | (in[1] & 0x3F), 2};
    } else if (lead >= 0xF0 && lead < 0xF5 && left >= 4 && IsContinuation(in[1]) && IsContinuation(in[2]) &&
               IsContinuation(in[3])) {
        const char32_t code = (char32_t{lead} & 0x07) << 18 | (char32_t{in[1]} & 0x3F) << 12 |
                              (char32_t{in[2]} & 0x3F) << 6 | (in[3] & 0x3F);
        if (code >= 0x10000 && code <= 0x10FFFF) return {code, 4};
    }
    return {0, 0};
}

template <class Unit>
Unit* WriteUnits(char32_t code, Unit* out) {
    if (sizeof(Unit) == 2 && code >= 0x10000) {
        *out++ = static_cast<Unit>(0xD7C0 + (code >> 10));
        code = 0xDC00 + (code & 0x3FF);
    }
    *out++ = static_cast<Unit>(code);
    return out;
}

// Widens 16 ASCII bytes; returns how many of them, from the first, are ASCII. All 16 units are written.
template <class Unit>
int WidenAscii(const unsigned char* in, Unit* out) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    if constexpr (sizeof(Unit) == 2) {
        const __m128i zero = _mm_setzero_si128();
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8), _mm_unpackhi_epi8(bytes, zero));
    } else {
        for (int i = 0; i < kBlock; ++i) out[i] = in[i];
    }
    return std::countr_zero(static_cast<unsigned>(_mm_movemask_epi8(bytes)) | 0x10000u);
}

// UTF-8 to units. The output needs at most one unit per byte.
template <class Unit>
Stop<char, Unit> Decode(const char* first, const char* last, Unit* out, Unit* out_last) {
    auto in = reinterpret_cast<const unsigned char*>(first);
    const auto end = reinterpret_cast<const unsigned char*>(last);
    const auto stop = [&](bool valid) { return Stop<char, Unit>{reinterpret_cast<const char*>(in), out, valid}; };
    while (in != end && out_last - out >= kBlock) {
        if (*in < 0x80) {
            if (end - in >= kBlock) {
                const int ascii = WidenAscii(in, out);
                in += ascii;
                out += ascii;
            } else {
                *out++ = static_cast<Unit>(*in++);
            }
            continue;
        }
        const Sequence sequence = ReadSequence(in, end - in);
        if (sequence.length == 0) return stop(false);
        in += sequence.length;
        out = WriteUnits(sequence.code_point, out);
    }
    return stop(true);
}

// Narrows 16 units; returns how many of them, from the first, are ASCII. All 16 bytes are written.
template <class Unit>
int NarrowAscii(const Unit* in, char* out) {
    if constexpr (sizeof(Unit) == 2) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 8));
        const __m128i packed = _mm_packus_epi16(low, high);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), packed);
        const __m128i not_ascii = _mm_set1_epi16(static_cast<short>(0xFF80));
        const __m128i zero = _mm_setzero_si128();
        const __m128i ascii = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(low, not_ascii), zero),
                                              _mm_cmpeq_epi16(_mm_and_si128(high, not_ascii), zero));
        return std::countr_one(static_cast<unsigned>(_mm_movemask_epi8(ascii)));
    } else {
        int count = 0;
        while (count < kBlock && static_cast<std::uint32_t>(in[count]) < 0x80) {
            out[count] = static_cast<char>(in[count]);
            ++count;
        }
        return count;
    }
}

inline char* WriteUtf8(char32_t code, char* out) {
    if (code < 0x80) {
        *out++ = static_cast<char>(code);
    } else if (code < 0x800) {
        *out++ = static_cast<char>(0xC0 | code >> 6);
        *out++ = static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        *out++ = static_cast<char>(0xE0 | code >> 12);
        *out++ = static_cast<char>(0x80 | (code >> 6 & 0x3F));
        *out++ = static_cast<char>(0x80 | (code & 0x3F));
    } else {
        *out++ = static_cast<char>(0xF0 | code >> 18);
        *out++ = static_cast<char>(0x80 | (code >> 12 & 0x3F));
        *out++ = static_cast<char>(0x80 | (code >> 6 & 0x3F));
        *out++ = static_cast<char>(0x80 | (code & 0x3F));
    }
    return out;
}

// Units to UTF-8. The output needs at most three bytes per 2-byte unit, four per 4-byte unit.
template <class Unit>
Stop<Unit, char> Encode(const Unit* in, const Unit* end, char* out, char* out_last) {
    while (in != end && out_last - out >= kBlock) {
        auto code = static_cast<char32_t>(*in) & (sizeof(Unit) == 2 ? 0xFFFFu : 0xFFFFFFFFu);
        if (code < 0x80) {
            if (end - in >= kBlock) {
                const int ascii = NarrowAscii(in, out);
                in += ascii;
                out += ascii;
            } else {
                *out++ = static_cast<char>(code);
                ++in;
            }
            continue;
        }
        int length = 1;
        if ((code & 0xFFFFF800) == 0xD800) {
            const bool pair = sizeof(Unit) == 2 && code < 0xDC00 && end - in >= 2 && (in[1] & 0xFC00) == 0xDC00;
            if (!pair) return {in, out, false};
            code = 0x10000 + ((code & 0x3FF) << 10) + (static_cast<char32_t>(in[1]) & 0x3FF);
            length = 2;
        } else if (code > 0x10FFFF) {
            return {in, out, false};
        }
        in += length;
        out = WriteUtf8(code, out);
    }
    return {in, out, true};
}

}  // namespace tandor::utf
