// GetEdidData's members that compute: the lists that callers hand over, around the geometry.
#include <algorithm>
#include <optional>
#include <span>

#include "device/edid.h"
#include "device/gamut.h"
#include "foundation/message.h"
#include "tandor/edid.h"

namespace {

using PointSpan = std::span<const GetEdidData::Point>;

std::optional<tandor::Triangle> TriangleFrom(PointSpan points) {
    tandor::Triangle triangle;
    if (points.size() < triangle.size()) return std::nullopt;
    std::copy_n(points.begin(), triangle.size(), triangle.begin());
    return triangle;
}

tandor::Coverage CoverageOf(PointSpan reference, PointSpan panel) {
    if (reference.size() >= tandor::kGamutPoints && panel.size() >= tandor::kGamutPoints)
        return tandor::Cover(*TriangleFrom(reference), *TriangleFrom(panel));
    tandor::LogMessage(tandor::kFailure, L"GetEdidData::GamutCoverage",
                       L": The input parameter for the gamutCoverage is invalid!");
    return {};
}

bool Supports(const tandor::Gamut& reference, const GetEdidData::Points& panel) {
    return tandor::CoversEnough(CoverageOf(reference, panel));
}

}  // namespace

bool GetEdidData::ParseCoordinateFromEdid(const unsigned char* edid, unsigned int length,
                                          std::vector<double>& coordinates) {
    constexpr std::size_t kEntries = std::tuple_size_v<tandor::Coordinates>;
    if (edid == nullptr || coordinates.size() != kEntries) return false;
    const auto read = tandor::ReadCoordinates({edid, length});
    if (!read) return false;
    std::copy(read->begin(), read->end(), coordinates.begin());
    return true;
}

std::vector<double> GetEdidData::CoordinateConversion(const std::vector<unsigned char>& bytes) {
    tandor::ChromaticityBytes input;
    if (bytes.size() != input.size()) {
        tandor::LogMessage(tandor::kFailure, L"GetEdidData::CoordinateConversion",
                           L": The input parameter for the conversion is invalid!");
        return {};
    }
    std::copy(bytes.begin(), bytes.end(), input.begin());
    const tandor::Coordinates coordinates = tandor::ConvertCoordinates(input);
    return {coordinates.begin(), coordinates.end()};
}

double GetEdidData::BinaryToDecimal(unsigned int value) { return tandor::FractionOf(value); }

void GetEdidData::GamutCoverage(const Points& reference, const Points& panel, std::pair<double, double>& coverage) {
    const tandor::Coverage result = CoverageOf(reference, panel);
    coverage = {result.area_ratio, result.coverage};
}

GetEdidData::Points GetEdidData::GamutProcess(const Points& reference, const Points& panel) {
    const auto first = TriangleFrom(reference);
    const auto second = TriangleFrom(panel);
    if (!first || !second) {
        tandor::LogMessage(tandor::kFailure, L"GetEdidData::GamutProcess",
                           L": The input parameter for the gamutProcess is invalid!");
        return {};
    }
    const tandor::Polygon shared = tandor::Intersect(*first, *second);
    return {shared.points.begin(), shared.points.begin() + static_cast<std::ptrdiff_t>(shared.size)};
}

bool GetEdidData::GetPointIntersected(const Point& a, const Point& b, const Point& c, const Point& d, Point& crossing) {
    return tandor::CrossSegments(a, b, c, d, crossing);
}

bool GetEdidData::GetPointInsideTriangle(const Points& triangle, const Point& point) {
    const auto corners = TriangleFrom(triangle);
    return corners && tandor::InsideTriangle(*corners, point);
}

bool GetEdidData::IsPairEqual(const Point& left, const Point& right) { return tandor::SamePoint(left, right); }

bool GetEdidData::IsSupportP3Gamut(const Points& panel) { return Supports(tandor::kP3, panel); }
bool GetEdidData::IsSupportAdobeRGBGamut(const Points& panel) { return Supports(tandor::kAdobeRgb, panel); }
bool GetEdidData::IsSupportBT2020Gamut(const Points& panel) { return Supports(tandor::kBt2020, panel); }
