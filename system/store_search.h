// Looking for packages in the system's driver store.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace tandor {

struct StoreSearch {
    std::vector<std::wstring> folders;  // complete paths; those found until then when the search failed
    DWORD error = ERROR_SUCCESS;
    const wchar_t* step = L"";  // the one that failed: FindFirstFile, where the search cannot start, or FindNextFile
};

// The folders with packages staged from a file of this INF's name.
StoreSearch FindStoreFolders(const std::wstring& inf);

}  // namespace tandor
