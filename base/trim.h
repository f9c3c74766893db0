// White space around text from outside.
#pragma once

#include <string_view>

namespace tandor {

// `text` without the blanks, tabs and line ends around it.
template <class Char>
constexpr std::basic_string_view<Char> Trimmed(std::basic_string_view<Char> text) noexcept {
    const auto blank = [](Char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && blank(text.back())) text.remove_suffix(1);
    return text;
}

}  // namespace tandor
