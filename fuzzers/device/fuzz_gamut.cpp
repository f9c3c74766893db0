// Any twelve doubles as two triangles: coverage is a share, the same for every winding and rotation, and agrees with
// the reverse question. Of triangles of ordinary shape, it and the shared polygon agree with cutting one by the other's
// edges.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "device/gamut.h"
#include "device/orientation.h"
#include "fuzzers/property.h"

namespace {

using tandor::Triangle;

bool Near(double left, double right) { return std::abs(left - right) <= 1e-11; }

void CheckSwapped(const Triangle& reference, const Triangle& panel, double coverage) {
    const tandor::Scaled outer = tandor::Orientation(reference[0], reference[1], reference[2]);
    const tandor::Scaled inner = tandor::Orientation(panel[0], panel[1], panel[2]);
    if (outer.mantissa == 0 || inner.mantissa == 0) {
        TANDOR_HOLDS(coverage == 0);
        return;
    }
    // Both shares are of one area: the smaller triangle's is the exacter one.
    const double by_panel = std::abs(tandor::Quotient(inner, outer));
    if (by_panel <= 1) TANDOR_HOLDS(Near(coverage, tandor::Cover(panel, reference).coverage * by_panel));
}

struct Point {
    long double x, y;
};

// What of the polygon lies to the left of the line from a to b.
std::vector<Point> LeftOf(const Point& a, const Point& b, const std::vector<Point>& polygon) {
    const auto side = [&](const Point& p) { return (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x); };
    std::vector<Point> left;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Point &from = polygon[i], &to = polygon[(i + 1) % polygon.size()];
        const long double before = side(from), after = side(to);
        if (before >= 0) left.push_back(from);
        if ((before > 0 && after < 0) || (before < 0 && after > 0)) {
            const long double part = before / (before - after);
            left.push_back({from.x + part * (to.x - from.x), from.y + part * (to.y - from.y)});
        }
    }
    return left;
}

std::vector<Point> PointsOf(const Triangle& triangle) {
    std::vector<Point> points;
    for (const tandor::Chromaticity& corner : triangle) points.push_back({corner.first, corner.second});
    return points;
}

long double SignedArea(const std::vector<Point>& points) {
    long double twice = 0;
    for (std::size_t i = 1; i + 1 < points.size(); ++i) {
        twice += (points[i].x - points[0].x) * (points[i + 1].y - points[0].y) -
                 (points[i + 1].x - points[0].x) * (points[i].y - points[0].y);
    }
    return twice / 2;
}

// Where no coordinate is so large and the reference not so thin that the polygon's own rounding shows.
bool IsOrdinary(const Triangle& reference, const double (&numbers)[12]) {
    double size = 0, farthest = 0;
    for (const tandor::Chromaticity& corner : reference) {
        size = std::max(
            {size, std::abs(corner.first - reference[0].first), std::abs(corner.second - reference[0].second)});
    }
    for (const double number : numbers) farthest = std::max(farthest, std::abs(number));
    return size > 1e-100 && size < 1e100 && farthest <= 100 * size &&
           std::abs(SignedArea(PointsOf(reference))) >= 1e-3 * size * size;
}

void CheckByCutting(const Triangle& reference, const Triangle& panel, double coverage, const tandor::Polygon& polygon) {
    std::vector<Point> outer = PointsOf(reference), shared = PointsOf(panel);
    const long double area = SignedArea(outer);
    if (area < 0) std::swap(outer[1], outer[2]);
    for (std::size_t i = 0; i < 3; ++i) shared = LeftOf(outer[i], outer[(i + 1) % 3], shared);
    const long double cut = std::abs(SignedArea(shared) / area);
    TANDOR_HOLDS(std::abs(cut - coverage) <= 1e-9);
    TANDOR_HOLDS(std::abs(cut - tandor::SignedArea(polygon.points.data(), polygon.size) / area) <= 1e-9);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    double numbers[12]{};
    if (size != 0) std::memcpy(numbers, data, std::min(size, sizeof(numbers)));
    Triangle reference, panel;
    for (std::size_t i = 0; i < 3; ++i) {
        reference[i] = {numbers[2 * i], numbers[2 * i + 1]};
        panel[i] = {numbers[6 + 2 * i], numbers[7 + 2 * i]};
    }
    const tandor::Coverage result = tandor::Cover(reference, panel);
    TANDOR_HOLDS(std::isfinite(result.area_ratio) && result.coverage >= 0 && result.coverage <= 1);
    const tandor::Polygon shared = tandor::Intersect(reference, panel);
    TANDOR_HOLDS(shared.size <= 6);
    const bool finite =
        std::all_of(std::begin(numbers), std::end(numbers), [](double one) { return std::isfinite(one); });
    if (!finite) {
        TANDOR_HOLDS(result.area_ratio == 0 && result.coverage == 0 && shared.size == 0);
        return 0;
    }
    CheckSwapped(reference, panel, result.coverage);
    if (IsOrdinary(reference, numbers)) CheckByCutting(reference, panel, result.coverage, shared);
    for (int turn = 0; turn < 3; ++turn) {
        std::rotate(reference.begin(), reference.begin() + 1, reference.end());
        TANDOR_HOLDS(Near(tandor::Cover(reference, panel).coverage, result.coverage));
        std::rotate(panel.begin(), panel.begin() + 2, panel.end());
        const tandor::Coverage back = tandor::Cover({reference[2], reference[1], reference[0]}, panel);
        TANDOR_HOLDS(Near(back.coverage, result.coverage));
        TANDOR_HOLDS(std::abs(back.area_ratio + result.area_ratio) <= 1e-11 * std::abs(result.area_ratio));
    }
    for (const tandor::Chromaticity& corner : reference)
        TANDOR_HOLDS(tandor::InsideTriangle(reference, corner) ==
                     (tandor::OrientationSign(reference[0], reference[1], reference[2]) != 0));
    return 0;
}
