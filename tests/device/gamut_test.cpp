#include <cmath>
#include <fstream>
#include <limits>

#include "device/gamut.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using tandor::Chromaticity;
using tandor::Coverage;
using tandor::Triangle;

constexpr double kNear = 1e-12;

const Triangle kP3 = tandor::TriangleOf(tandor::kP3);
const Triangle kAdobe = tandor::TriangleOf(tandor::kAdobeRgb);

struct Golden {
    std::string what;
    double numbers[14];  // the corners of reference and panel, the ratio of their areas, the coverage
    [[nodiscard]] Triangle TriangleAt(std::size_t at) const {
        const double* const n = numbers + at;
        return {{{n[0], n[1]}, {n[2], n[3]}, {n[4], n[5]}}};
    }
};

// What tools/gamut_golden.py computed in exact rational arithmetic.
std::vector<Golden> GoldenRows() {
    std::ifstream file(std::string(TANDOR_GOLDEN) + "/gamut.txt");
    std::vector<Golden> rows;
    for (Golden row; file >> row.what;) {
        for (double& number : row.numbers) {
            std::string word;  // a stream reads no hexadecimal numbers
            file >> word;
            number = std::strtod(word.c_str(), nullptr);
        }
        rows.push_back(row);
    }
    return rows;
}

TEST(Gamut, CoversAsExactArithmeticSays) {
    const std::vector<Golden> rows = GoldenRows();
    ASSERT_GT(rows.size(), 200u);
    for (const Golden& golden : rows) {
        SCOPED_TRACE(golden.what);
        const double ratio = golden.numbers[12], coverage = golden.numbers[13];
        for (int turn = 0; turn < 3; ++turn) {
            Triangle reference = golden.TriangleAt(0), panel = golden.TriangleAt(6);
            std::rotate(reference.begin(), reference.begin() + turn, reference.end());
            std::rotate(panel.begin(), panel.begin() + (turn * 2) % 3, panel.end());
            const Triangle reference_back{reference[2], reference[1], reference[0]};
            const Triangle panel_back{panel[2], panel[1], panel[0]};
            const auto expect = [&](const Triangle& first, const Triangle& second, double sign) {
                const Coverage result = tandor::Cover(first, second);
                EXPECT_NEAR(result.area_ratio, sign * ratio, kNear * std::abs(ratio) + 1e-300);
                EXPECT_NEAR(result.coverage, coverage, kNear);
                EXPECT_TRUE(result.coverage >= 0 && result.coverage <= 1);
            };
            expect(reference, panel, 1);
            expect(reference, panel_back, -1);
            expect(reference_back, panel, -1);
            expect(reference_back, panel_back, 1);
        }
    }
}

TEST(Gamut, SharedPolygonRunsAsTheReferenceDoes) {
    const Triangle up{{{0, 0}, {1, 0}, {.5, .75}}};
    const Triangle down{{{0, .5}, {.5, -.25}, {1, .5}}};
    const tandor::Polygon shared = tandor::Intersect(up, down);
    EXPECT_EQ(shared.size, 6u);
    EXPECT_NEAR(tandor::SignedArea(shared.points.data(), shared.size), .25, kNear);
    const tandor::Polygon back = tandor::Intersect({up[2], up[1], up[0]}, down);
    EXPECT_NEAR(tandor::SignedArea(back.points.data(), back.size), -.25, kNear);
    EXPECT_EQ(tandor::Intersect(up, up).size, 3u);
    // Two corners in common and the third inside.
    EXPECT_EQ(tandor::Intersect(kAdobe, tandor::TriangleOf(tandor::kSrgb)).size, 3u);
}

TEST(Gamut, NumbersThatAreNotFiniteAreNowhere) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const Triangle right{{{0, 0}, {1, 0}, {0, 1}}};
    for (const double odd : {kInfinity, -kInfinity, kNan}) {
        for (const Chromaticity& point : {Chromaticity(odd, 0), Chromaticity(0, odd), Chromaticity(odd, odd)}) {
            const Triangle triangle{{point, {1, 0}, {0, 1}}};
            for (const Coverage& result :
                 {tandor::Cover(right, triangle), tandor::Cover(triangle, right), tandor::Cover(triangle, triangle)})
                EXPECT_TRUE(result.area_ratio == 0 && result.coverage == 0) << odd;
            EXPECT_EQ(tandor::Intersect(right, triangle).size + tandor::Intersect(triangle, right).size, 0u);
            EXPECT_FALSE(tandor::InsideTriangle(right, point) || tandor::InsideTriangle(triangle, {.3, .3}));
            Chromaticity crossing;
            EXPECT_FALSE(tandor::CrossSegments({-1, -1}, {1, 1}, point, {0, 0}, crossing));
            EXPECT_FALSE(tandor::SamePoint(point, point) || tandor::SamePoint(point, {0, 0}));
        }
    }
}

TEST(Gamut, BordersBelongToTriangles) {
    const Triangle triangle{{{0, 0}, {1, .25}, {.5, 1}}};
    const std::pair<Chromaticity, bool> points[] = {{{0, 0}, true},       {{.5, .125}, true}, {{.5, .5}, true},
                                                    {{.5, .1249}, false}, {{2, .5}, false},   {{-1e-300, 0}, false}};
    for (const auto& [point, inside] : points) {
        EXPECT_EQ(tandor::InsideTriangle(triangle, point), inside) << point.first << " " << point.second;
        EXPECT_EQ(tandor::InsideTriangle({triangle[2], triangle[1], triangle[0]}, point), inside);
    }
    EXPECT_FALSE(tandor::InsideTriangle({{{0, 0}, {.5, .5}, {1, 1}}}, {.5, .5}));
}

TEST(Gamut, NineTenthsAreNotEnough) {
    const auto covers = [](double part) {
        Triangle panel = kP3;  // red moved along an edge: the area shrinks in proportion
        panel[0] = {.15 + part * (.68 - .15), .06 + part * (.32 - .06)};
        return tandor::CoversEnough(tandor::Cover(kP3, panel));
    };
    EXPECT_FALSE(covers(0.9));
    EXPECT_FALSE(covers(0.8999));
    EXPECT_TRUE(covers(0.9001));
    EXPECT_TRUE(tandor::CoversEnough(tandor::Cover(kAdobe, kAdobe)));
    EXPECT_FALSE(tandor::CoversEnough(tandor::Cover(kP3, kAdobe)));
}

TEST(Gamut, SegmentsCrossAtTheirEndsToo) {
    struct Case {
        Chromaticity a, b, c, d;
        bool crosses;
        Chromaticity where;
    };
    const Case cases[] = {
        {{0, 0}, {1, 1}, {0, 1}, {1, 0}, true, {.5, .5}},     {{0, 0}, {1, 0}, {1, 0}, {1, 1}, true, {1, 0}},
        {{0, 0}, {1, 0}, {.25, 0}, {.25, 1}, true, {.25, 0}}, {{0, 0}, {1, 0}, {.25, .1}, {.25, 1}, false, {}},
        {{0, 0}, {1, 0}, {0, 1}, {1, 1}, false, {}},          {{0, 0}, {1, 0}, {.5, 0}, {2, 0}, false, {}},
        {{0, 0}, {0, 0}, {-1, 0}, {1, 0}, false, {}},
    };
    for (const Case& c : cases) {
        Chromaticity where{7, 7};
        ASSERT_EQ(tandor::CrossSegments(c.a, c.b, c.c, c.d, where), c.crosses);
        EXPECT_EQ(where, c.crosses ? c.where : Chromaticity(7, 7));
    }
}

}  // namespace
