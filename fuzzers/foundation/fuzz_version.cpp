// Comparing is antisymmetric and total over equal piece counts; packing agrees with a plain model.
#include <algorithm>

#include "foundation/version.h"
#include "fuzzers/property.h"
#include "tandor/text.h"

namespace {

unsigned Model(const std::string& text) {
    if (text.empty()) return 0;
    unsigned packed = 0;
    for (const std::string& piece : tandor::SplitText(text, ".")) {
        const bool number = !piece.empty() && piece.find_first_not_of("0123456789") == std::string::npos;
        unsigned long long value = 0;
        for (const char c : number ? piece : std::string())
            value = std::min(value * 10 + static_cast<unsigned>(c - '0'), 1ull << 60);
        packed = packed << 8 | (value < 0x80000000ull ? static_cast<unsigned>(value & 0xFF) : 0);
    }
    return packed;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using tandor::VersionOrder;
    const std::string text = tandor::fuzz::Text(data, size);
    const std::size_t middle = std::min(text.find('|'), text.size());
    const std::string left = text.substr(0, middle);
    const std::string right = middle < text.size() ? text.substr(middle + 1) : std::string();
    const VersionOrder order = tandor::CompareVersions(left, right);
    const VersionOrder reversed = tandor::CompareVersions(right, left);
    TANDOR_HOLDS((order == VersionOrder::kLower) == (reversed == VersionOrder::kHigher));
    TANDOR_HOLDS((order == VersionOrder::kEqual) == (reversed == VersionOrder::kEqual));
    TANDOR_HOLDS((order == VersionOrder::kNotComparable) ==
                 (std::count(left.begin(), left.end(), '.') != std::count(right.begin(), right.end(), '.')));
    TANDOR_HOLDS(TandorUtilClass::CalcVersion(text) == Model(text));
    return 0;
}
