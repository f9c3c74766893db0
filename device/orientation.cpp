#include "device/orientation.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace tandor {
namespace {

// A sum of products of doubles without any rounding: an unsigned integer in units of the smallest product, 2^-2148.
class ExactSum {
public:
    void AddProduct(double left, double right) noexcept {
        const Integer a(left);
        const Integer b(right);
        const std::size_t bit = a.bit + b.bit;
        const std::uint64_t a_high = a.mantissa >> 32, a_low = a.mantissa & 0xFFFFFFFFu;
        const std::uint64_t b_high = b.mantissa >> 32, b_low = b.mantissa & 0xFFFFFFFFu;
        Add(a_low * b_low, bit);
        Add(a_low * b_high, bit + 32);
        Add(a_high * b_low, bit + 32);
        Add(a_high * b_high, bit + 64);
    }

    // The difference of two sums, rounded at the end.
    static Scaled Difference(const ExactSum& left, const ExactSum& right) noexcept {
        for (std::size_t i = kLimbs; i-- > 0;) {
            if (left.limbs_[i] > right.limbs_[i]) return left.Less(right);
            if (left.limbs_[i] < right.limbs_[i]) {
                const Scaled negative = right.Less(left);
                return {-negative.mantissa, negative.exponent};
            }
        }
        return {};
    }

private:
    // 2 * 1074 bits below one and 2 * 1024 above, and a few for the sum.
    static constexpr std::size_t kLimbs = 66;
    static constexpr int kUnit = -2148;

    // |value| as mantissa * 2^(bit - 1074).
    struct Integer {
        explicit Integer(double value) noexcept {
            if (value == 0) return;
            int exponent = 0;
            const double fraction = std::frexp(std::abs(value), &exponent);
            mantissa = static_cast<std::uint64_t>(std::ldexp(fraction, 53));
            const int at = exponent - 53 + 1074;
            mantissa >>= at < 0 ? -at : 0;  // these bits are zeros: nothing is smaller than 2^-1074
            bit = static_cast<std::size_t>(at < 0 ? 0 : at);
        }
        std::uint64_t mantissa = 0;
        std::size_t bit = 0;
    };

    void Add(std::uint64_t value, std::size_t bit) noexcept {
        const std::size_t first = bit / 64;
        const std::size_t shift = bit % 64;
        AddLimb(first, value << shift);
        if (shift != 0) AddLimb(first + 1, value >> (64 - shift));
    }

    void AddLimb(std::size_t at, std::uint64_t value) noexcept {
        for (; value != 0 && at < kLimbs; ++at) {
            limbs_[at] += value;
            value = limbs_[at] < value ? 1 : 0;
        }
    }

    // This less a smaller sum.
    [[nodiscard]] Scaled Less(const ExactSum& smaller) const noexcept {
        ExactSum rest;
        std::size_t top = 0;
        bool borrow = false;
        for (std::size_t i = 0; i < kLimbs; ++i) {
            const std::uint64_t from = limbs_[i], taken = smaller.limbs_[i];
            rest.limbs_[i] = from - taken - (borrow ? 1 : 0);
            borrow = borrow ? taken >= from : taken > from;
            if (rest.limbs_[i] != 0) top = i;
        }
        double mantissa = std::ldexp(static_cast<double>(rest.limbs_[top]), 64);
        if (top > 0) mantissa += static_cast<double>(rest.limbs_[top - 1]);
        int exponent = 0;
        mantissa = std::frexp(mantissa, &exponent);
        return {mantissa, exponent + 64 * (static_cast<int>(top) - 1) + kUnit};
    }

    std::array<std::uint64_t, kLimbs> limbs_{};
};

}  // namespace

Scaled Orientation(const Chromaticity& a, const Chromaticity& b, const Chromaticity& c) noexcept {
    // Plain arithmetic is off by at most 4e-16 of what it adds up, unless that underflows or overflows.
    constexpr double kGood = 1e-2, kSmallest = 1e-280, kLargest = 1e300;
    if (a == b || b == c || a == c) return {};
    const double left = (b.first - a.first) * (c.second - a.second);
    const double right = (b.second - a.second) * (c.first - a.first);
    const double size = std::abs(left) + std::abs(right);
    if (std::abs(left - right) >= kGood * size && size >= kSmallest && size <= kLargest) {
        Scaled scaled;
        scaled.mantissa = std::frexp(left - right, &scaled.exponent);
        return scaled;
    }
    ExactSum positive, negative;
    const auto add = [&](double one, double other, bool minus) {
        const bool below = (std::signbit(one) != std::signbit(other)) != minus;
        (below ? negative : positive).AddProduct(one, other);
    };
    add(a.first, b.second, false);
    add(a.second, b.first, true);
    add(b.first, c.second, false);
    add(b.second, c.first, true);
    add(c.first, a.second, false);
    add(c.second, a.first, true);
    return ExactSum::Difference(positive, negative);
}

int OrientationSign(const Chromaticity& a, const Chromaticity& b, const Chromaticity& c) noexcept {
    const Scaled twice = Orientation(a, b, c);
    return IsPositive(twice) ? 1 : IsNegative(twice) ? -1 : 0;
}

}  // namespace tandor
