// Hardware identifiers ("Root\VirtualPad") as the system stores them: a list of texts that each end with a zero, and
// one more zero at the end.
#pragma once

#include <array>
#include <string_view>
#include <vector>

namespace tandor {

inline constexpr std::size_t kLongestIdentifier = 200;  // characters, as the system limits them

// A list of one identifier, with zeros to its end.
using IdentifierList = std::array<wchar_t, kLongestIdentifier + 2>;

// False, with `list` as it was, for an identifier that is empty, too long or contains a zero.
bool PutIdentifier(std::wstring_view identifier, IdentifierList& list);

// The identifiers of a list that came from outside: it ends at the first empty text or with the data, whether the last
// text has its zero or not. The views point into `list`.
std::vector<std::wstring_view> IdentifiersOf(std::wstring_view list);

// Whether the list holds the identifier. Letters A to Z count in either case; identifiers are printable ASCII.
bool HasIdentifier(std::wstring_view list, std::wstring_view identifier);

}  // namespace tandor
