// Dotted versions, as free functions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tandor {

// The pieces between separators, empty ones included; an empty text is one empty piece. An empty separator splits
// nothing.
std::vector<std::string> SplitText(std::string_view text, std::string_view separator);

// Compares the first run of decimal digits of both texts as numbers (-1, 0, 1; runs beyond INT_MAX count as that); if
// one has none, the texts as strings (negative, 0, positive).
int CompareSubVersions(std::string_view left, std::string_view right);

enum class VersionOrder { kNotComparable = 0, kEqual = 1, kLower = 2, kHigher = 3 };
VersionOrder CompareVersions(std::string_view left, std::string_view right);

std::uint32_t PackVersion(std::string_view text);

}  // namespace tandor
