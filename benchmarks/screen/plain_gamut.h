// Coverage of one panel by clipping as a textbook has it (I. Sutherland, G. Hodgman, Reentrant polygon clipping, 1974),
// in arithmetic of one's choice: what fuzzers and benchmarks compare with.
#pragma once

#include <cmath>
#include <utility>
#include <vector>

#include "device/edid.h"

namespace tandor::test {

template <class Number>
using PlainPolygon = std::vector<std::pair<Number, Number>>;

template <class Number, class Points>
PlainPolygon<Number> PlainTriangle(const Points& gamut) {
    return {gamut.begin(), gamut.begin() + 3};
}

template <class Number>
Number PlainArea(const PlainPolygon<Number>& points) {
    Number twice = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto& next = points[(i + 1) % points.size()];
        twice += points[i].first * next.second - next.first * points[i].second;
    }
    return twice / 2;
}

// What of `polygon` lies inside the counter-clockwise triangle `reference`.
template <class Number>
PlainPolygon<Number> PlainClip(PlainPolygon<Number> polygon, const PlainPolygon<Number>& reference) {
    for (std::size_t i = 0; i < 3; ++i) {
        const auto a = reference[i], b = reference[(i + 1) % 3];
        const auto side = [&](const auto& p) {
            return (b.first - a.first) * (p.second - a.second) - (b.second - a.second) * (p.first - a.first);
        };
        PlainPolygon<Number> kept;
        for (std::size_t j = 0; j < polygon.size(); ++j) {
            const auto p = polygon[j], q = polygon[(j + 1) % polygon.size()];
            const Number at_p = side(p), at_q = side(q);
            if (at_p >= 0) kept.push_back(p);
            if ((at_p > 0 && at_q < 0) || (at_p < 0 && at_q > 0)) {
                const Number part = at_p / (at_p - at_q);
                kept.emplace_back(p.first + part * (q.first - p.first), p.second + part * (q.second - p.second));
            }
        }
        polygon = kept;
    }
    return polygon;
}

template <class Number, class Points>
Number PlainCoverage(const Points& reference, const Points& panel) {
    const auto outer = PlainTriangle<Number>(reference);
    return std::abs(PlainArea(PlainClip(PlainTriangle<Number>(panel), outer))) / PlainArea(outer);
}

}  // namespace tandor::test
