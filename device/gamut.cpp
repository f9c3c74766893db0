#include "device/gamut.h"

#include <algorithm>
#include <cmath>

namespace tandor {
namespace {

// Rounding moves a point by a few units in its last place (2e-16 of its size). A point on a border must not fall out of
// both tests that could find it, so each takes in a little more; the hull makes the surplus harmless.
constexpr double kSlack = 1e-14;

double Cross(const Chromaticity& origin, const Chromaticity& a, const Chromaticity& b) noexcept {
    return (a.first - origin.first) * (b.second - origin.second) -
           (b.first - origin.first) * (a.second - origin.second);
}

double Extent(const Chromaticity& a, const Chromaticity& b) noexcept {
    return std::max(std::abs(b.first - a.first), std::abs(b.second - a.second));
}

bool IsFinite(const Triangle& triangle) noexcept {
    return std::all_of(triangle.begin(), triangle.end(), [](const Chromaticity& point) {
        return std::isfinite(point.first) && std::isfinite(point.second);
    });
}

// The convex hull, counter-clockwise (A. M. Andrew, Another efficient algorithm for convex hulls in two dimensions,
// 1979).
Polygon Hull(Polygon& points) noexcept {
    std::sort(points.points.begin(), points.points.begin() + static_cast<std::ptrdiff_t>(points.size));
    std::array<Chromaticity, 2 * std::tuple_size_v<decltype(Polygon::points)>> chain;
    std::size_t size = 0;
    const auto add = [&](const Chromaticity& point, std::size_t fixed) {
        while (size >= fixed + 2 && Cross(chain[size - 2], chain[size - 1], point) <= 0) --size;
        chain[size++] = point;
    };
    for (std::size_t i = 0; i < points.size; ++i) add(points.points[i], 0);
    const std::size_t lower = size - 1;
    for (std::size_t i = points.size - 1; i-- > 0;) add(points.points[i], lower);
    Polygon hull;
    hull.size = std::min(size - 1, hull.points.size());
    std::copy_n(chain.begin(), hull.size, hull.points.begin());
    return hull;
}

}  // namespace

void Polygon::Add(const Chromaticity& point) {
    for (std::size_t i = 0; i < size; ++i) {
        if (SamePoint(points[i], point)) return;
    }
    points[size++] = point;
}

bool SamePoint(const Chromaticity& left, const Chromaticity& right) noexcept { return Extent(left, right) <= kSlack; }

double SignedArea(const Chromaticity* points, std::size_t size) noexcept {
    if (size < 3) return 0;
    double twice = 0;
    for (std::size_t i = 1; i + 1 < size; ++i) twice += Cross(points[0], points[i], points[i + 1]);
    return twice / 2;
}

bool InsideTriangle(const Triangle& triangle, const Chromaticity& point) noexcept {
    const double area = SignedArea(triangle.data(), triangle.size());
    if (area == 0) return false;
    const double sign = area > 0 ? 1 : -1;
    for (std::size_t i = 0; i < 3; ++i) {
        const Chromaticity& from = triangle[i];
        const Chromaticity& to = triangle[(i + 1) % 3];
        const double scale = Extent(from, to) * std::max(Extent(from, to), Extent(from, point));
        if (sign * Cross(from, to, point) < -kSlack * scale) return false;
    }
    return true;
}

bool CrossSegments(const Chromaticity& a, const Chromaticity& b, const Chromaticity& c, const Chromaticity& d,
                   Chromaticity& crossing) noexcept {
    const double ab_x = b.first - a.first;
    const double ab_y = b.second - a.second;
    const double cd_x = d.first - c.first;
    const double cd_y = d.second - c.second;
    const double denominator = ab_x * cd_y - ab_y * cd_x;
    if (denominator == 0) return false;
    const double along_ab = ((c.first - a.first) * cd_y - (c.second - a.second) * cd_x) / denominator;
    const double along_cd = ((c.first - a.first) * ab_y - (c.second - a.second) * ab_x) / denominator;
    const auto within = [](double along) { return along >= -kSlack && along <= 1 + kSlack; };
    if (!within(along_ab) || !within(along_cd)) return false;
    crossing = {a.first + along_ab * ab_x, a.second + along_ab * ab_y};
    return true;
}

Polygon Intersect(const Triangle& reference, const Triangle& other) noexcept {
    Polygon shared;
    if (!IsFinite(reference) || !IsFinite(other)) return shared;
    for (const Chromaticity& point : reference) {
        if (InsideTriangle(other, point)) shared.Add(point);
    }
    for (const Chromaticity& point : other) {
        if (InsideTriangle(reference, point)) shared.Add(point);
    }
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            Chromaticity crossing;
            if (CrossSegments(reference[i], reference[(i + 1) % 3], other[j], other[(j + 1) % 3], crossing))
                shared.Add(crossing);
        }
    }
    if (shared.size < 3) return shared;
    Polygon hull = Hull(shared);
    if (SignedArea(reference.data(), reference.size()) < 0) {
        std::reverse(hull.points.begin(), hull.points.begin() + static_cast<std::ptrdiff_t>(hull.size));
    }
    return hull;
}

Coverage Cover(const Triangle& reference, const Triangle& panel) noexcept {
    const double reference_area = SignedArea(reference.data(), reference.size());
    const double panel_area = SignedArea(panel.data(), panel.size());
    if (reference_area == 0 || !std::isfinite(reference_area) || !std::isfinite(panel_area)) return {};
    const Polygon shared = Intersect(reference, panel);
    const double covered = SignedArea(shared.points.data(), shared.size) / reference_area;
    const Coverage result{panel_area / reference_area,
                          std::min(covered, 1.0)};  // rounding must not make it more than all
    return std::isfinite(result.area_ratio) && std::isfinite(result.coverage) ? result : Coverage{};
}

bool CoversEnough(const Coverage& coverage) noexcept {
    constexpr double kEnough = 0.9;
    constexpr double kRounding = 1e-12;  // a coverage of exactly 0.9 is not enough, whatever its last digits became
    return coverage.coverage > kEnough + kRounding;
}

}  // namespace tandor
