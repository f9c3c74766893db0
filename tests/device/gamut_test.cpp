#include <cmath>
#include <limits>

#include "device/gamut.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using tandor::Chromaticity;
using tandor::Coverage;
using tandor::Triangle;

constexpr double kNear = 1e-12;

Triangle Scaled(Triangle triangle, double factor, double shift) {
    for (Chromaticity& point : triangle) point = {point.first * factor + shift, point.second * factor + shift};
    return triangle;
}

// Area ratio and coverage in exact rational arithmetic over the same binary fractions, rounded once at the end.
struct Golden {
    const char* what;
    Triangle reference;
    Triangle panel;
    double area_ratio;
    double coverage;
};

const Triangle kP3 = tandor::TriangleOf(tandor::kP3);
const Triangle kAdobe = tandor::TriangleOf(tandor::kAdobeRgb);
const Triangle kBt2020 = tandor::TriangleOf(tandor::kBt2020);
const Triangle kSrgb = tandor::TriangleOf(tandor::kSrgb);
const Triangle kRight{{{0, 0}, {1, 0}, {0, 1}}};
const Triangle kCoarseP3{{{696 / 1024., 328 / 1024.}, {271 / 1024., 707 / 1024.}, {154 / 1024., 61 / 1024.}}};

const Golden kGolden[] = {
    {"sRGB of P3", kP3, kSrgb, 0.7371710526315789, 0.7371710526315789},
    {"sRGB of Adobe RGB", kAdobe, kSrgb, 0.7413165729407873, 0.7413165729407873},
    {"sRGB of BT.2020", kBt2020, kSrgb, 0.5024593828516285, 0.5024593828516285},
    {"P3 of Adobe RGB", kAdobe, kP3, 1.0056235527621569, 0.8825492689129052},
    {"P3 of BT.2020", kBt2020, kP3, 0.6816048745510713, 0.6814690720499464},
    {"Adobe RGB of P3", kP3, kAdobe, 0.9944078947368421, 0.8776139605012212},
    {"Adobe RGB of BT.2020", kBt2020, kAdobe, 0.6777932683447001, 0.6777932683447001},
    {"BT.2020 of P3", kP3, kBt2020, 1.4671256578947367, 0.9998007606661935},
    {"BT.2020 of Adobe RGB", kAdobe, kBt2020, 1.4753761164406218, 1},
    {"P3 in steps of 1024", kP3, kCoarseP3, 1.000394946650455, 0.9991459330476863},
    {"identical", kAdobe, kAdobe, 1, 1},
    {"inside", kP3, {{{.5, .35}, {.3, .5}, {.2, .2}}}, 0.24671052631578946, 0.24671052631578946},
    {"around", {{{.3, .3}, {.4, .3}, {.3, .4}}}, kRight, 99.99999999999993, 1},
    {"a vertex touches from inside", kRight, {{{.5, .5}, {.1, .3}, {.3, .1}}}, 0.12, 0.12},
    {"an edge in common, same side", kRight, {{{0, 0}, {1, 0}, {.5, .25}}}, 0.25, 0.25},
    {"an edge in common, other side", kRight, {{{0, 0}, {1, 0}, {.5, -.25}}}, -0.25, 0},
    {"edges that overlap in part", kRight, {{{.25, 0}, {1.5, 0}, {.25, .5}}}, 0.625, 0.4583333333333333},
    {"apart", kRight, {{{2, 2}, {3, 2}, {2, 3}}}, 1, 0},
    {"a star of six vertices", {{{0, 0}, {1, 0}, {.5, .75}}}, {{{0, .5}, {.5, -.25}, {1, .5}}}, 1, 0.6666666666666666},
    {"a panel without area", kP3, {{{.1, .1}, {.2, .2}, {.3, .3}}}, 0, 0},
};

TEST(Gamut, CoversAsExactArithmeticSays) {
    for (const Golden& golden : kGolden) {
        SCOPED_TRACE(golden.what);
        for (int turn = 0; turn < 3; ++turn) {
            Triangle reference = golden.reference;
            Triangle panel = golden.panel;
            std::rotate(reference.begin(), reference.begin() + turn, reference.end());
            std::rotate(panel.begin(), panel.begin() + (turn * 2) % 3, panel.end());
            const Triangle reference_back{reference[2], reference[1], reference[0]};
            const Triangle panel_back{panel[2], panel[1], panel[0]};
            const auto expect = [&](const Triangle& first, const Triangle& second, double sign) {
                const Coverage result = tandor::Cover(first, second);
                EXPECT_NEAR(result.area_ratio, sign * golden.area_ratio, kNear * std::max(1.0, golden.area_ratio));
                EXPECT_NEAR(result.coverage, golden.coverage, kNear);
                EXPECT_LE(result.coverage, 1);
            };
            expect(reference, panel, 1);
            expect(reference, panel_back, -1);
            expect(reference_back, panel, -1);
            expect(reference_back, panel_back, 1);
            for (const double factor : {1e-3, 1e6}) expect(Scaled(reference, factor, 0), Scaled(panel, factor, 0), 1);
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
}

TEST(Gamut, ImpossibleTrianglesGiveZeros) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    for (const double odd : {kInfinity, -kInfinity, kNan, 1e200, std::numeric_limits<double>::max()}) {
        for (const Triangle& triangle :
             {Triangle{{{odd, 0}, {1, 0}, {0, 1}}}, Triangle{{{odd, odd}, {-odd, odd}, {0, -odd}}}}) {
            for (const Coverage& result :
                 {tandor::Cover(kP3, triangle), tandor::Cover(triangle, kP3), tandor::Cover(triangle, triangle)}) {
                EXPECT_TRUE(std::isfinite(result.area_ratio)) << odd;
                EXPECT_GE(result.coverage, 0) << odd;
                EXPECT_LE(result.coverage, 1) << odd;
            }
        }
    }
    const Coverage flat = tandor::Cover({{{0, 0}, {.5, .5}, {1, 1}}}, kP3);
    EXPECT_EQ(flat.area_ratio, 0);
    EXPECT_EQ(flat.coverage, 0);
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
