// Any bytes as an EDID: nothing is read outside, and coverages agree with clipping in wider arithmetic.
#include <cmath>
#include <cstring>
#include <vector>

#include "device/edid.h"
#include "device/gamut_diagram.h"
#include "fuzzers/property.h"

namespace {

using Wide = long double;
struct WidePoint {
    Wide x, y;
};
using WidePolygon = std::vector<WidePoint>;

Wide Area(const WidePolygon& points) {
    Wide twice = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const WidePoint& next = points[(i + 1) % points.size()];
        twice += points[i].x * next.y - next.x * points[i].y;
    }
    return twice / 2;
}

WidePolygon Points(const tandor::Triangle& triangle) {
    WidePolygon points;
    for (const auto& [x, y] : triangle) points.push_back({x, y});
    return points;
}

// Sutherland and Hodgman: one edge of the (counter-clockwise) reference after the other cuts the panel.
WidePolygon Clip(WidePolygon polygon, const WidePolygon& reference) {
    for (std::size_t i = 0; i < 3; ++i) {
        const WidePoint a = reference[i], b = reference[(i + 1) % 3];
        const auto side = [&](const WidePoint& p) { return (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x); };
        WidePolygon kept;
        for (std::size_t j = 0; j < polygon.size(); ++j) {
            const WidePoint p = polygon[j], q = polygon[(j + 1) % polygon.size()];
            const Wide at_p = side(p), at_q = side(q);
            if (at_p >= 0) kept.push_back(p);
            if ((at_p > 0 && at_q < 0) || (at_p < 0 && at_q > 0)) {
                const Wide part = at_p / (at_p - at_q);
                kept.push_back({p.x + part * (q.x - p.x), p.y + part * (q.y - p.y)});
            }
        }
        polygon = kept;
    }
    return polygon;
}

void CheckCoverage(const tandor::Gamut& reference, const tandor::Gamut& panel) {
    const tandor::Coverage result = tandor::Cover(tandor::TriangleOf(reference), tandor::TriangleOf(panel));
    const WidePolygon outer = Points(tandor::TriangleOf(reference)), inner = Points(tandor::TriangleOf(panel));
    const Wide covered = std::abs(Area(Clip(inner, outer))) / Area(outer);
    TANDOR_HOLDS(std::abs(result.area_ratio - Area(inner) / Area(outer)) < 1e-12L);
    TANDOR_HOLDS(std::abs(result.coverage - covered) < 1e-12L);
    TANDOR_HOLDS(result.coverage >= 0 && result.coverage <= 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> edid(data, data + size);
    const auto coordinates = tandor::ReadCoordinates(edid);
    if (coordinates) {
        const tandor::Gamut panel = tandor::GamutOf(*coordinates);
        constexpr tandor::Gamut kReferences[] = {tandor::kP3, tandor::kAdobeRgb, tandor::kBt2020};
        CheckCoverage(kReferences[edid[34] % 3], panel);  // one of them: each input in a third of the time
        // Any two panels as well, the second from the bytes behind.
        if (size >= 45) {
            std::vector<std::uint8_t> other = edid;
            std::memcpy(other.data() + 25, edid.data() + 35, 10);
            const tandor::Gamut second = tandor::GamutOf(*tandor::ReadCoordinates(other));
            const tandor::Triangle triangle = tandor::TriangleOf(second);
            if (tandor::SignedArea(triangle.data(), 3) > 1e-3) CheckCoverage(second, panel);
        }
    }
    const auto block = tandor::ReadEdid(edid);
    TANDOR_HOLDS(block.has_value() == (size >= tandor::kEdidBlock));
    if (!block) return 0;
    TANDOR_HOLDS(block->maker.size() == 3 && block->name.size() <= 13 && block->serial_text.size() <= 13);
    TANDOR_HOLDS(std::isfinite(block->preferred.refresh) && std::isfinite(block->gamma));
    if (coordinates) TANDOR_HOLDS(block->gamut == tandor::GamutOf(*coordinates));
    if (size % 64 == 0 && edid[0] % 16 == 0) TANDOR_HOLDS(tandor::GamutDiagram(block->name, block->gamut).ends_with("</svg>\n"));
    return 0;
}
