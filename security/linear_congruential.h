// The 48-bit linear congruential generator, as arithmetic on its state.
#pragma once

namespace tandor {

inline constexpr unsigned long long kLcgMultiplier = 0x5DEECE66D;
inline constexpr unsigned long long kLcgIncrement = 0xB;
inline constexpr unsigned long long kLcgMask = (1ull << 48) - 1;

constexpr unsigned long long SeededLcg(long long seed) {
    return (static_cast<unsigned long long>(seed) ^ kLcgMultiplier) & kLcgMask;
}

constexpr unsigned long long SteppedLcg(unsigned long long state) {
    return (state * kLcgMultiplier + kLcgIncrement) & kLcgMask;
}

// The top `bits` of the state, cut to 32. The shift is taken modulo 64, as the processor does: a number of bits outside
// 0 to 48 has no other meaning, and no undefined one.
constexpr int LcgBits(unsigned long long state, int bits) {
    return static_cast<int>(static_cast<unsigned>(state >> ((48u - static_cast<unsigned>(bits)) & 63u)));
}

constexpr float LcgFloat(unsigned long long state) { return static_cast<float>(state >> 24) * 5.9604645e-8f; }

}  // namespace tandor
