#include "system/store_search.h"

#include "base/win_handle.h"
#include "system/attempt.h"
#include "system/driver_store.h"
#include "system/system_path.h"

namespace tandor {
namespace {

std::wstring LowerCase(std::wstring_view text) {
    std::wstring lower(text);
    const int length = static_cast<int>(lower.size());
    ::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_LOWERCASE, text.data(), length, lower.data(), length, nullptr, nullptr,
                    0);
    return lower;
}

}  // namespace

DWORD FindStoreFolders(const std::wstring& inf, std::vector<std::wstring>& folders) {
    std::wstring root;
    DWORD error = SystemDirectory(root);
    if (error != ERROR_SUCCESS) return error;
    root += L"\\DriverStore\\FileRepository\\";
    const std::wstring name = LowerCase(inf.substr(inf.find_last_of(L"\\/:") + 1));
    WIN32_FIND_DATAW entry;
    FindHandle search;
    error = Attempt([&] {
        search.Reset(::FindFirstFileW((root + L"*").c_str(), &entry));
        return static_cast<bool>(search);
    });
    while (error == ERROR_SUCCESS) {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
            IsStoreFolderOf(LowerCase(entry.cFileName), name))
            folders.push_back(root + entry.cFileName);
        error = Attempt([&] { return ::FindNextFileW(search.Get(), &entry); });
    }
    return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

}  // namespace tandor
