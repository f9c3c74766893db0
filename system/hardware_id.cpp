#include "system/hardware_id.h"

#include <algorithm>

namespace tandor {
namespace {

wchar_t Lower(wchar_t character) {
    return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character - L'A' + L'a') : character;
}

// Takes the first text off the list; an empty one is the list's end.
std::wstring_view Take(std::wstring_view& list) {
    const std::wstring_view text = list.substr(0, list.find(L'\0'));
    list.remove_prefix(std::min(text.size() + 1, list.size()));
    return text;
}

}  // namespace

bool PutIdentifier(std::wstring_view identifier, IdentifierList& list) {
    if (identifier.empty() || identifier.size() > kLongestIdentifier || identifier.find(L'\0') != identifier.npos)
        return false;
    std::fill(std::copy(identifier.begin(), identifier.end(), list.begin()), list.end(), L'\0');
    return true;
}

std::vector<std::wstring_view> IdentifiersOf(std::wstring_view list) {
    std::vector<std::wstring_view> identifiers;
    for (auto one = Take(list); !one.empty(); one = Take(list)) identifiers.push_back(one);
    return identifiers;
}

bool HasIdentifier(std::wstring_view list, std::wstring_view identifier) {
    for (auto one = Take(list); !one.empty(); one = Take(list)) {
        if (std::ranges::equal(one, identifier, {}, Lower, Lower)) return true;
    }
    return false;
}

}  // namespace tandor
