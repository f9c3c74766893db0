#include "foundation/version.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

#include "base/decimal.h"

namespace tandor {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::optional<int> FirstNumber(std::string_view text) {
    const auto begin = std::find_if(text.begin(), text.end(), IsDigit);
    if (begin == text.end()) return std::nullopt;
    const auto run = text.substr(static_cast<std::size_t>(begin - text.begin()));
    int value = 0;
    if (std::from_chars(run.data(), run.data() + run.size(), value).ec != std::errc{})
        return std::numeric_limits<int>::max();
    return value;
}

}  // namespace

std::vector<std::string> SplitText(std::string_view text, std::string_view separator) {
    std::vector<std::string> pieces;
    std::size_t found = std::string_view::npos;
    while (!separator.empty() && (found = text.find(separator)) != std::string_view::npos) {
        pieces.emplace_back(text.substr(0, found));
        text.remove_prefix(found + separator.size());
    }
    pieces.emplace_back(text);
    return pieces;
}

int CompareSubVersions(std::string_view left, std::string_view right) {
    const auto left_number = FirstNumber(left);
    const auto right_number = FirstNumber(right);
    if (!left_number || !right_number) return left.compare(right);
    return *left_number < *right_number ? -1 : *left_number > *right_number ? 1 : 0;
}

VersionOrder CompareVersions(std::string_view left, std::string_view right) {
    if (left == right) return VersionOrder::kEqual;
    const auto left_pieces = SplitText(left, ".");
    const auto right_pieces = SplitText(right, ".");
    if (left_pieces.size() != right_pieces.size()) return VersionOrder::kNotComparable;
    for (std::size_t i = 0; i < left_pieces.size(); ++i) {
        const int order = CompareSubVersions(left_pieces[i], right_pieces[i]);
        if (order != 0) return order < 0 ? VersionOrder::kLower : VersionOrder::kHigher;
    }
    return VersionOrder::kEqual;
}

std::uint32_t PackVersion(std::string_view text) {
    if (text.empty()) return 0;
    std::uint32_t packed = 0;
    for (;;) {
        const std::size_t stop = text.find('.');
        const auto value = ParseDecimal<std::uint32_t>(text.substr(0, stop)).value_or(0);
        packed = packed << 8 | (value < 0x80000000 ? value & 0xFF : 0);
        if (stop == std::string_view::npos) return packed;
        text.remove_prefix(stop + 1);
    }
}

}  // namespace tandor
