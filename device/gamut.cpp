#include "device/gamut.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "device/orientation.h"

namespace tandor {
namespace {

constexpr double kRounding = 1e-14;  // how far rounding may move a point, by the size of what it belongs to

constexpr std::size_t Next(std::size_t corner) { return corner == 2 ? 0 : corner + 1; }

bool IsFinite(const Chromaticity& point) noexcept { return std::isfinite(point.first) && std::isfinite(point.second); }
bool IsFinite(const Triangle& triangle) noexcept {
    return IsFinite(triangle[0]) && IsFinite(triangle[1]) && IsFinite(triangle[2]);
}

bool Near(const Chromaticity& a, const Chromaticity& b, double slack) noexcept {
    return std::abs(b.first - a.first) <= slack && std::abs(b.second - a.second) <= slack;
}

double Size(const Triangle& triangle) noexcept {
    double size = 0;
    for (const Chromaticity& corner : triangle) {
        size =
            std::max({size, std::abs(corner.first - triangle[0].first), std::abs(corner.second - triangle[0].second)});
    }
    return size;
}

Chromaticity Between(const Chromaticity& from, const Chromaticity& to, double part) noexcept {
    return {std::lerp(from.first, to.first, part), std::lerp(from.second, to.second, part)};
}

// How the corners of two triangles, both counter-clockwise, lie beside each other's edges: twice the area of edge i
// with corner k, positive inside. Everything below is computed from these.
template <class Number>
struct Sides {
    Number reference_area;
    Number of_panel[3][3];      // [k][i]: the panel's corner, the reference's edge
    Number of_reference[3][3];  // [k][i]: the reference's corner, the panel's edge
};

// What is known before anything is measured: for exact numbers nothing.
struct NoBound {};
// For plain ones, how far rounding goes: an area of corners within a square is off by at most 7e-16 of that
// (J. Shewchuk, Adaptive precision floating-point arithmetic and fast robust geometric predicates, 1997).
struct Bound {
    Bound(const Triangle& reference, const Triangle& panel) noexcept {
        Chromaticity least = reference[0], most = reference[0];
        for (const Triangle* const triangle : {&reference, &panel}) {
            for (const Chromaticity& corner : *triangle) {
                least = {std::min(least.first, corner.first), std::min(least.second, corner.second)};
                most = {std::max(most.first, corner.first), std::max(most.second, corner.second)};
            }
        }
        const double side = std::max(most.first - least.first, most.second - least.second);
        const double square = side * side;
        if (!(square > 1e-250 && square < 1e300)) return;  // products would underflow or overflow
        doubt = 1e-15 * square;
        visible = square / 300;
    }

    // Nothing compares with what is not a number: without a bound nothing is certain.
    double doubt = std::numeric_limits<double>::quiet_NaN();    // of a smaller area the sign is not certain
    double visible = std::numeric_limits<double>::quiet_NaN();  // a smaller divisor lets rounding show
};

// False when the sign is in doubt. Corners in common are not.
bool Measure(const Bound& bound, const Chromaticity& a, const Chromaticity& b, const Chromaticity& c,
             double& twice) noexcept {
    twice = (b.first - a.first) * (c.second - a.second) - (b.second - a.second) * (c.first - a.first);
    if (std::abs(twice) >= bound.doubt) return true;
    twice = 0;
    return a == b || b == c || a == c;
}

bool Area(const Bound& bound, const Triangle& triangle, double& twice) noexcept {
    return Measure(bound, triangle[0], triangle[1], triangle[2], twice) && std::abs(twice) >= bound.visible;
}
bool Area(const NoBound&, const Triangle& triangle, Scaled& twice) noexcept {
    twice = Orientation(triangle[0], triangle[1], triangle[2]);
    return true;
}

bool Measure(const Bound& bound, const Triangle& reference, const Triangle& panel, Sides<double>& sides) noexcept {
    for (std::size_t i = 0; i < 3; ++i) {
        double largest = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            if (!Measure(bound, reference[i], reference[Next(i)], panel[k], sides.of_panel[k][i]) ||
                !Measure(bound, panel[i], panel[Next(i)], reference[k], sides.of_reference[k][i]))
                return false;
            largest = std::max(largest, std::abs(sides.of_reference[k][i]));
        }
        if (!(largest >= bound.visible)) return false;
    }
    return true;
}
bool Measure(const NoBound&, const Triangle& reference, const Triangle& panel, Sides<Scaled>& sides) noexcept {
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            sides.of_panel[k][i] = Orientation(reference[i], reference[Next(i)], panel[k]);
            sides.of_reference[k][i] = Orientation(panel[i], panel[Next(i)], reference[k]);
        }
    }
    return true;
}

// Where a line of the panel's crosses the reference's border, and what of its edge lies between. A corner on the line
// counts as inside: the panel is taken for larger by nothing.
struct Piece {
    bool there = false;
    std::size_t enter = 0;  // the reference's edges
    std::size_t leave = 0;
    bool from_corner = false;  // begins at the panel's corner and not on the border
    bool to_corner = false;
};

template <class Number>
Piece PieceOf(const Sides<Number>& sides, std::size_t edge) noexcept {
    // By which corners of the reference lie outside the line (1, 2, 4): the edge that leads out of the line's inside,
    // and the one that leads back.
    static constexpr std::uint8_t kEnter[] = {3, 2, 0, 2, 1, 1, 0, 3};
    static constexpr std::uint8_t kLeave[] = {3, 0, 1, 1, 2, 0, 2, 3};
    std::size_t outside = 0;
    for (std::size_t k = 0; k < 3; ++k) outside |= std::size_t{IsNegative(sides.of_reference[k][edge])} << k;
    Piece piece;
    if (outside == 0 || outside == 7) return piece;
    piece.enter = kEnter[outside];
    piece.leave = kLeave[outside];
    const auto& from = sides.of_panel[edge];
    const auto& to = sides.of_panel[Next(edge)];
    piece.there = IsPositive(to[piece.enter]) && IsPositive(from[piece.leave]);
    piece.from_corner = !IsNegative(from[piece.enter]);
    piece.to_corner = !IsNegative(to[piece.leave]);
    return piece;
}

// Gives the shared polygon's corners counter-clockwise: the panel's edges inside the reference, and from the end of one
// to the beginning of the next along the reference's border. Signs alone decide, and they are exact; a crossing is
// placed on the reference's edge, where its position is as exact as the areas on both of its sides.
template <class Number, class Sink>
void Share(const Sides<Number>& sides, Sink& sink) noexcept {
    Piece pieces[3];
    for (std::size_t i = 0; i < 3; ++i) pieces[i] = PieceOf(sides, i);
    const auto cross = [&](std::size_t edge, std::size_t panel_edge) {
        const Number& from = sides.of_reference[edge][panel_edge];
        sink.Border(edge, PartTo(from, sides.of_reference[Next(edge)][panel_edge]));
    };
    bool apart = true;
    for (std::size_t i = 0; i < 3; ++i) {
        const Piece& piece = pieces[i];
        if (!piece.there) continue;
        apart = false;
        piece.from_corner ? sink.PanelCorner(i) : cross(piece.enter, i);
        std::size_t next = Next(i);
        if (piece.to_corner && pieces[next].there) continue;  // which begins where this one ends
        piece.to_corner ? sink.PanelCorner(next) : cross(piece.leave, i);
        while (!pieces[next].there) next = Next(next);
        for (std::size_t edge = piece.leave; edge != pieces[next].enter;) sink.ReferenceCorner(edge = Next(edge));
    }
    if (!apart) return;
    for (const auto& corner : sides.of_reference) {
        if (IsNegative(corner[0]) || IsNegative(corner[1]) || IsNegative(corner[2])) return;
    }
    for (std::size_t i = 0; i < 3; ++i) sink.ReferenceCorner(i);  // all of it
}

// The shared area by the reference's. In coordinates in which the reference is (0,0) (1,0) (0,1) nothing is larger than
// 1, whatever the triangles look like.
template <class Number>
class SharedPart {
public:
    explicit SharedPart(const Sides<Number>& sides) noexcept : sides_(sides) { Share(sides, *this); }

    void PanelCorner(std::size_t index) noexcept {
        const auto& beside = sides_.of_panel[index];
        Add({Quotient(beside[2], sides_.reference_area), Quotient(beside[0], sides_.reference_area)});
    }
    void ReferenceCorner(std::size_t index) noexcept { Border(index, 0); }
    void Border(std::size_t edge, double part) noexcept {
        Add(edge == 0 ? Chromaticity(part, 0) : edge == 1 ? Chromaticity(1 - part, part) : Chromaticity(0, 1 - part));
    }
    [[nodiscard]] double Value() const noexcept { return std::clamp(twice_, 0.0, 1.0); }  // the reference's area is 1/2

private:
    void Add(const Chromaticity& point) noexcept {
        if (size_++ == 0) first_ = point;
        const Chromaticity offset(point.first - first_.first, point.second - first_.second);
        twice_ += last_.first * offset.second - offset.first * last_.second;
        last_ = offset;
    }

    const Sides<Number>& sides_;
    Chromaticity first_, last_;  // the latter from the first
    double twice_ = 0;
    int size_ = 0;
};

// The shared polygon itself.
class SharedPolygon {
public:
    SharedPolygon(const Triangle& reference, const Triangle& panel, Polygon& polygon)
        : reference_(reference), panel_(panel), polygon_(polygon) {}

    void PanelCorner(std::size_t index) { Add(panel_[index]); }
    void ReferenceCorner(std::size_t index) { Add(reference_[index]); }
    void Border(std::size_t edge, double part) { Add(Between(reference_[edge], reference_[Next(edge)], part)); }

private:
    void Add(const Chromaticity& point) { polygon_.Add(point, slack_); }

    const Triangle& reference_;
    const Triangle& panel_;
    Polygon& polygon_;
    // Where an edge ends on another, rounding makes two corners of one.
    const double slack_ = kRounding * Size(reference_);
};

// Turns the triangle so that it runs counter-clockwise.
template <class Number>
bool Turn(Triangle& triangle, Number& area) noexcept {
    if (!IsNegative(area)) return false;
    std::swap(triangle[1], triangle[2]);
    area = Negated(area);
    return true;
}

// False when `Number` cannot tell.
template <class Number, class Bound>
bool CoverIn(const Bound& bound, Triangle reference, Triangle panel, Coverage& result) noexcept {
    Sides<Number> sides;
    Number panel_area;
    if (!Area(bound, reference, sides.reference_area) || !Area(bound, panel, panel_area)) return false;
    result = {};
    const bool opposite = Turn(reference, sides.reference_area) != Turn(panel, panel_area);
    if (!IsPositive(sides.reference_area) || !IsPositive(panel_area)) return true;
    if (!Measure(bound, reference, panel, sides)) return false;
    const double ratio = std::min(Quotient(panel_area, sides.reference_area), std::numeric_limits<double>::max());
    result = {opposite ? -ratio : ratio, SharedPart(sides).Value()};
    return true;
}

}  // namespace

void Polygon::Add(const Chromaticity& point, double slack) {
    for (std::size_t i = 0; i < size; ++i) {
        if (Near(points[i], point, slack)) return;
    }
    points[size++] = point;
}

bool SamePoint(const Chromaticity& left, const Chromaticity& right) noexcept { return Near(left, right, kRounding); }

double SignedArea(const Chromaticity* points, std::size_t size) noexcept {
    double twice = 0;
    for (std::size_t i = 1; i + 1 < size; ++i) {
        const Chromaticity& from = points[0];
        twice += (points[i].first - from.first) * (points[i + 1].second - from.second) -
                 (points[i + 1].first - from.first) * (points[i].second - from.second);
    }
    return twice / 2;
}

bool InsideTriangle(const Triangle& triangle, const Chromaticity& point) noexcept {
    if (!IsFinite(triangle) || !IsFinite(point)) return false;
    const int winding = OrientationSign(triangle[0], triangle[1], triangle[2]);
    if (winding == 0) return false;
    for (std::size_t i = 0; i < 3; ++i) {
        if (OrientationSign(triangle[i], triangle[Next(i)], point) * winding < 0) return false;
    }
    return true;
}

bool CrossSegments(const Chromaticity& a, const Chromaticity& b, const Chromaticity& c, const Chromaticity& d,
                   Chromaticity& crossing) noexcept {
    if (!IsFinite(a) || !IsFinite(b) || !IsFinite(c) || !IsFinite(d)) return false;
    const int c_side = OrientationSign(a, b, c), d_side = OrientationSign(a, b, d);
    const Scaled a_side = Orientation(c, d, a), b_side = Orientation(c, d, b);
    // Both ends on the other's line: parallel, or without length.
    if ((c_side == 0 && d_side == 0) || (a_side.mantissa == 0 && b_side.mantissa == 0)) return false;
    if (c_side * d_side > 0 || a_side.mantissa * b_side.mantissa > 0) return false;
    crossing = Between(a, b, PartTo(a_side, b_side));
    return true;
}

Polygon Intersect(const Triangle& reference, const Triangle& other) noexcept {
    Polygon shared;
    if (!IsFinite(reference) || !IsFinite(other)) return shared;
    Triangle outer = reference, inner = other;
    Sides<Scaled> sides;
    sides.reference_area = Orientation(outer[0], outer[1], outer[2]);
    Scaled inner_area = Orientation(inner[0], inner[1], inner[2]);
    if (sides.reference_area.mantissa == 0 || inner_area.mantissa == 0) return shared;
    const bool turned = Turn(outer, sides.reference_area);
    (void)Turn(inner, inner_area);
    (void)Measure(NoBound{}, outer, inner, sides);
    SharedPolygon sink(outer, inner, shared);
    Share(sides, sink);
    if (turned) std::reverse(shared.points.begin(), shared.points.begin() + static_cast<std::ptrdiff_t>(shared.size));
    return shared;
}

Coverage Cover(const Triangle& reference, const Triangle& panel) noexcept {
    Coverage result;
    if (!CoverIn<double>(Bound(reference, panel), reference, panel, result) && IsFinite(reference) && IsFinite(panel))
        (void)CoverIn<Scaled>(NoBound{}, reference, panel, result);
    return result;
}

bool CoversEnough(const Coverage& coverage) noexcept {
    constexpr double kEnough = 0.9;
    constexpr double kError = 1e-12;  // a coverage of exactly 0.9 is not enough, whatever its last digits became
    return coverage.coverage > kEnough + kError;
}

}  // namespace tandor
