// Which side of a line a point lies on, and how far: decided exactly for any finite coordinates.
#pragma once

#include <cmath>

#include "device/gamut.h"

namespace tandor {

// mantissa * 2^exponent: a double with room for the product of any two. The mantissa is 0 or has the size of 1.
struct Scaled {
    double mantissa = 0;
    int exponent = 0;
};

// Twice the signed area of the triangle a, b, c, positive when it runs counter-clockwise: right in its sign, 0 only
// when it is 0, and with a relative error below 1e-13.
Scaled Orientation(const Chromaticity& a, const Chromaticity& b, const Chromaticity& c) noexcept;

// -1, 0 or 1 as Orientation is negative, 0 or positive.
int OrientationSign(const Chromaticity& a, const Chromaticity& b, const Chromaticity& c) noexcept;

inline bool IsNegative(double value) noexcept { return value < 0; }
inline bool IsNegative(const Scaled& value) noexcept { return value.mantissa < 0; }
inline bool IsPositive(double value) noexcept { return value > 0; }
inline bool IsPositive(const Scaled& value) noexcept { return value.mantissa > 0; }
inline double Negated(double value) noexcept { return -value; }
inline Scaled Negated(const Scaled& value) noexcept { return {-value.mantissa, value.exponent}; }

inline double Quotient(double dividend, double divisor) noexcept { return dividend / divisor; }
inline double Quotient(const Scaled& dividend, const Scaled& divisor) noexcept {
    return std::ldexp(dividend.mantissa / divisor.mantissa, dividend.exponent - divisor.exponent);
}

// Of two values of opposite signs, one of which may be 0: where between them, from 0 to 1, the sign changes.
inline double PartTo(double from, double to) noexcept { return from / (from - to); }
inline double PartTo(const Scaled& from, const Scaled& to) noexcept {
    if (from.mantissa == 0) return 0;
    return 1 / (1 - Quotient(to, from));
}

}  // namespace tandor
