// Any bytes as an EDID: nothing is read outside, and coverages agree with clipping in wider arithmetic.
#include <cmath>
#include <cstring>
#include <vector>

#include "benchmarks/screen/plain_gamut.h"
#include "device/edid.h"
#include "device/gamut_diagram.h"
#include "fuzzers/property.h"

namespace {

using Wide = long double;

void CheckCoverage(const tandor::Gamut& reference, const tandor::Gamut& panel) {
    const tandor::Coverage result = tandor::Cover(tandor::TriangleOf(reference), tandor::TriangleOf(panel));
    const Wide outer = tandor::test::PlainArea(tandor::test::PlainTriangle<Wide>(reference));
    const Wide inner = tandor::test::PlainArea(tandor::test::PlainTriangle<Wide>(panel));
    TANDOR_HOLDS(std::abs(result.area_ratio - inner / outer) < 1e-12L);
    TANDOR_HOLDS(std::abs(result.coverage - tandor::test::PlainCoverage<Wide>(reference, panel)) < 1e-12L);
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
    if (size % 64 == 0 && edid[0] % 16 == 0)
        TANDOR_HOLDS(tandor::GamutDiagram(block->name, block->gamut).ends_with("</svg>\n"));
    return 0;
}
