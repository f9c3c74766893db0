#include "system/driver_store.h"

#include <algorithm>

namespace tandor {
namespace {

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
bool IsDigestDigit(wchar_t c) { return IsDigit(c) || (c >= L'a' && c <= L'f'); }
bool IsProcessorCharacter(wchar_t c) { return IsDigit(c) || (c >= L'a' && c <= L'z'); }

}  // namespace

bool IsStoreFolderOf(std::wstring_view folder, std::wstring_view file_name) {
    if (file_name.empty() || !folder.starts_with(file_name)) return false;
    folder.remove_prefix(file_name.size());
    const std::size_t bar = folder.rfind(L'_');
    if (bar == folder.npos || bar < 2 || folder.front() != L'_') return false;
    const std::wstring_view processor = folder.substr(1, bar - 1);
    const std::wstring_view digest = folder.substr(bar + 1);
    return std::ranges::all_of(processor, IsProcessorCharacter) && !digest.empty() &&
           std::ranges::all_of(digest, IsDigestDigit);
}

}  // namespace tandor
