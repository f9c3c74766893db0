#include "system/hardware_id.h"

#include <algorithm>

namespace tandor {
namespace {

wchar_t Lower(wchar_t character) {
    return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character - L'A' + L'a') : character;
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
    while (!list.empty() && list.front() != L'\0') {
        const std::size_t length = std::min(list.find(L'\0'), list.size());
        identifiers.push_back(list.substr(0, length));
        list.remove_prefix(std::min(length + 1, list.size()));
    }
    return identifiers;
}

bool HasIdentifier(std::wstring_view list, std::wstring_view identifier) {
    return std::ranges::any_of(IdentifiersOf(list), [&](std::wstring_view one) {
        return std::ranges::equal(one, identifier, {}, Lower, Lower);
    });
}

}  // namespace tandor
