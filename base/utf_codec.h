// UTF-8 to and from UTF-16 (2-byte units) or UTF-32 (4-byte units): the loops, without allocation.
//
// Each loop runs until its input ends, its output lacks room, or a sequence is not valid. What is valid is what the
// Unicode Standard's table 3-7 (well-formed UTF-8 byte sequences) allows: no overlong form, no encoded surrogate,
// nothing beyond U+10FFFF, no cut sequence.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tandor::utf {

// Where a loop stopped. `valid` is false when `in` stands at a sequence that is not valid.
template <class In, class Out>
struct Stop {
    const In* in;
    Out* out;
    bool valid;
};

inline constexpr std::ptrdiff_t kBlock = 16;  // bytes of a vector
inline constexpr std::ptrdiff_t kRoom = 4;    // the longest sequence; a loop stops when less output room is left

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

// Widens ASCII bytes, 32 at a time, as long as there are 32 of them and room for as many units.
template <class Unit>
void WidenAsciiRun(const unsigned char*& in, const unsigned char* end, Unit*& out, const Unit* out_last) {
    const __m128i zero = _mm_setzero_si128();
    while (end - in >= 2 * kBlock && out_last - out >= 2 * kBlock) {
        const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
        const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + kBlock));
        if (_mm_movemask_epi8(_mm_or_si128(first, second)) != 0) return;
        if constexpr (sizeof(Unit) == 2) {
            auto* const to = reinterpret_cast<__m128i*>(out);
            _mm_storeu_si128(to, _mm_unpacklo_epi8(first, zero));
            _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(first, zero));
            _mm_storeu_si128(to + 2, _mm_unpacklo_epi8(second, zero));
            _mm_storeu_si128(to + 3, _mm_unpackhi_epi8(second, zero));
        } else {
            for (int i = 0; i < 2 * kBlock; ++i) out[i] = in[i];
        }
        in += 2 * kBlock;
        out += 2 * kBlock;
    }
}

// Three-byte sequences, as texts of most Asian scripts are made of, as long as they are valid and there is room. One
// load of four bytes and one comparison tell lead and continuation bytes.
template <class Unit>
void DecodeTriples(const unsigned char*& in, const unsigned char* end, Unit*& out, const Unit* out_last) {
    while (end - in >= 4 && out != out_last) {
        std::uint32_t bytes;
        std::memcpy(&bytes, in, sizeof(bytes));
        if ((bytes & 0x00C0C0F0) != 0x008080E0) return;
        const std::uint32_t code = (bytes & 0x0F) << 12 | (bytes >> 2 & 0x0FC0) | (bytes >> 16 & 0x3F);
        if (code < 0x800 || (code & 0xF800) == 0xD800) return;
        *out++ = static_cast<Unit>(code);
        in += 3;
    }
}

// UTF-8 to units. The output needs at most one unit per byte.
template <class Unit>
Stop<char, Unit> Decode(const char* first, const char* last, Unit* out, Unit* out_last) {
    auto in = reinterpret_cast<const unsigned char*>(first);
    const auto end = reinterpret_cast<const unsigned char*>(last);
    const auto stop = [&](bool valid) { return Stop<char, Unit>{reinterpret_cast<const char*>(in), out, valid}; };
    while (in != end && out_last - out >= kRoom) {
        if (*in < 0x80) {
            WidenAsciiRun(in, end, out, out_last);
            while (in != end && *in < 0x80 && out != out_last) *out++ = static_cast<Unit>(*in++);
            continue;
        }
        DecodeTriples(in, end, out, out_last);
        if (in == end || *in < 0x80 || out_last - out < kRoom) continue;
        const Sequence sequence = ReadSequence(in, end - in);
        if (sequence.length == 0) return stop(false);
        in += sequence.length;
        out = WriteUnits(sequence.code_point, out);
    }
    return stop(true);
}

// Narrows ASCII units, 16 at a time, as long as there are 16 of them and room for as many bytes.
template <class Unit>
void NarrowAsciiRun(const Unit*& in, const Unit* end, char*& out, const char* out_last) {
    while (end - in >= kBlock && out_last - out >= kBlock) {
        if constexpr (sizeof(Unit) == 2) {
            const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
            const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 8));
            const __m128i above = _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi16(static_cast<short>(0xFF80)));
            if (_mm_movemask_epi8(_mm_cmpeq_epi8(above, _mm_setzero_si128())) != 0xFFFF) return;
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(low, high));
        } else {
            std::uint32_t all = 0;
            for (int i = 0; i < kBlock; ++i) all |= static_cast<std::uint32_t>(in[i]);
            if (all >= 0x80) return;
            for (int i = 0; i < kBlock; ++i) out[i] = static_cast<char>(in[i]);
        }
        in += kBlock;
        out += kBlock;
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
    constexpr std::uint32_t kUnitMask = sizeof(Unit) == 2 ? 0xFFFF : 0xFFFFFFFF;
    while (in != end && out_last - out >= kRoom) {
        char32_t code = static_cast<std::uint32_t>(*in) & kUnitMask;
        if (code < 0x80) {
            NarrowAsciiRun(in, end, out, out_last);
            while (in != end && (static_cast<std::uint32_t>(*in) & kUnitMask) < 0x80 && out != out_last) {
                *out++ = static_cast<char>(*in++);
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
