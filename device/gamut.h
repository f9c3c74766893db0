// Colour gamuts as triangles in the CIE 1931 xy plane.
#pragma once

#include <array>
#include <cstddef>
#include <utility>

namespace tandor {

using Chromaticity = std::pair<double, double>;  // x, y

inline constexpr std::size_t kGamutPoints = 4;  // red, green, blue, white
using Gamut = std::array<Chromaticity, kGamutPoints>;

// The references that a panel is judged by. BT.2020's blue y is 0.0046 here and not 0.046: the verdicts that hosts rely
// on were made with it.
inline constexpr Gamut kP3{{{0.68, 0.32}, {0.265, 0.69}, {0.15, 0.06}, {0.3127, 0.329}}};
inline constexpr Gamut kAdobeRgb{{{0.64, 0.33}, {0.21, 0.71}, {0.15, 0.06}, {0.3127, 0.329}}};
inline constexpr Gamut kBt2020{{{0.708, 0.292}, {0.17, 0.797}, {0.131, 0.0046}, {0.3127, 0.329}}};
// For information alone: ITU-R BT.2020 as the standard has it, and IEC 61966-2-1.
inline constexpr Gamut kBt2020Standard{{{0.708, 0.292}, {0.17, 0.797}, {0.131, 0.046}, {0.3127, 0.329}}};
inline constexpr Gamut kSrgb{{{0.64, 0.33}, {0.3, 0.6}, {0.15, 0.06}, {0.3127, 0.329}}};

using Triangle = std::array<Chromaticity, 3>;
inline constexpr Triangle TriangleOf(const Gamut& gamut) { return {gamut[0], gamut[1], gamut[2]}; }

// A small convex polygon. Two triangles share one of at most six corners; where corners lie on edges, some come twice
// before duplicates go.
inline constexpr std::size_t kMostShared = 9;
struct Polygon {
    std::array<Chromaticity, kMostShared> points;
    std::size_t size = 0;

    void Add(const Chromaticity& point, double slack);  // unless it is there
};

// Everything below is decided exactly for any finite coordinates and answers no (or none, or 0) for others.

// Whether two points differ by no more than rounding.
bool SamePoint(const Chromaticity& left, const Chromaticity& right) noexcept;

// The shoelace formula over the points in their order, in plain arithmetic: positive when they run counter-clockwise, 0
// below three points.
double SignedArea(const Chromaticity* points, std::size_t size) noexcept;

// Whether the point lies in the triangle, of either winding; its border belongs to it. Never in a triangle without
// area.
bool InsideTriangle(const Triangle& triangle, const Chromaticity& point) noexcept;

// Where the segments a-b and c-d cross; ends belong to them. False for parallel ones, also when they overlap, and for
// one without length.
bool CrossSegments(const Chromaticity& a, const Chromaticity& b, const Chromaticity& c, const Chromaticity& d,
                   Chromaticity& crossing) noexcept;

// What two triangles share, in the winding of `reference`. Fewer than three points: no area is shared.
Polygon Intersect(const Triangle& reference, const Triangle& other) noexcept;

// Of two triangles: the signed area of the panel by the reference's (at most the largest double), and the shared area
// by the reference's, 0 to 1 for any winding and within 1e-12 of the exact value. Both are 0 when a triangle has
// exactly no area.
struct Coverage {
    double area_ratio = 0;
    double coverage = 0;
};
Coverage Cover(const Triangle& reference, const Triangle& panel) noexcept;

// Whether a panel supports a reference of which it covers so much: more than 0.9. The ratio of the areas does not
// count.
bool CoversEnough(const Coverage& coverage) noexcept;

}  // namespace tandor
