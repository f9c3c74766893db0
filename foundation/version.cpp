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

// Takes the text up to the next dot, and the dot.
std::string_view NextPiece(std::string_view& text) {
    const std::size_t stop = text.find('.');
    const std::string_view piece = text.substr(0, stop);
    text.remove_prefix(stop == std::string_view::npos ? text.size() : stop + 1);
    return piece;
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
    auto pieces = std::count(left.begin(), left.end(), '.');
    if (pieces != std::count(right.begin(), right.end(), '.')) return VersionOrder::kNotComparable;
    for (; pieces >= 0; --pieces) {
        const int order = CompareSubVersions(NextPiece(left), NextPiece(right));
        if (order != 0) return order < 0 ? VersionOrder::kLower : VersionOrder::kHigher;
    }
    return VersionOrder::kEqual;
}

std::uint32_t PackVersion(std::string_view text) {
    if (text.empty()) return 0;
    std::uint32_t packed = 0;
    for (;;) {
        const bool last = text.find('.') == std::string_view::npos;
        const auto value = ParseDecimal<std::uint32_t>(NextPiece(text)).value_or(0);
        packed = packed << 8 | (value < 0x80000000 ? value & 0xFF : 0);
        if (last) return packed;
    }
}

}  // namespace tandor
