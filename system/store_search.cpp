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

StoreSearch FindStoreFolders(const std::wstring& inf) {
    StoreSearch result{{}, ERROR_SUCCESS, L"FindFirstFile"};
    std::wstring root;
    result.error = SystemDirectory(root);
    if (result.error != ERROR_SUCCESS) return result;
    root += L"\\DriverStore\\FileRepository\\";
    const std::wstring name = LowerCase(inf.substr(inf.find_last_of(L"\\/:") + 1));
    WIN32_FIND_DATAW entry;
    FindHandle search;
    result.error = Attempt([&] {
        search.Reset(::FindFirstFileW((root + L"*").c_str(), &entry));
        return static_cast<bool>(search);
    });
    while (result.error == ERROR_SUCCESS) {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
            IsStoreFolderOf(LowerCase(entry.cFileName), name))
            result.folders.push_back(root + entry.cFileName);
        result.step = L"FindNextFile";
        result.error = Attempt([&] { return ::FindNextFileW(search.Get(), &entry); });
    }
    if (result.error == ERROR_NO_MORE_FILES) result.error = ERROR_SUCCESS;
    return result;
}

}  // namespace tandor
