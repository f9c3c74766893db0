// The one reading of decimal numbers from outside text.
#pragma once

#include <charconv>
#include <concepts>
#include <optional>
#include <string_view>

namespace tandor {

// The whole text as a decimal number of type T: digits, before them a minus sign for a signed T, nothing else. No value
// when it is empty, holds anything else, or does not fit.
template <std::integral T>
std::optional<T> ParseDecimal(std::string_view text) {
    T value{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return value;
}

}  // namespace tandor
