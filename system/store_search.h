// Looking for packages in the system's driver store.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace tandor {

// Complete paths of the folders with packages staged from a file of this INF's name. ERROR_SUCCESS, or why the store
// could not be searched.
DWORD FindStoreFolders(const std::wstring& inf, std::vector<std::wstring>& folders);

}  // namespace tandor
