// Any twelve doubles as two triangles: coverage is a share, the same for every winding and rotation, agrees with the
// reverse question, and the shared polygon with both.
#include <algorithm>
#include <cmath>
#include <cstring>

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
