#include "system/system_path.h"

#include "system/attempt.h"

namespace tandor {

DWORD SystemDirectory(std::wstring& out) {
    out.clear();
    wchar_t path[MAX_PATH];
    UINT length = 0;
    const DWORD error = Attempt([&] { return (length = ::GetSystemDirectoryW(path, MAX_PATH)) != 0; });
    if (error != ERROR_SUCCESS) return error;
    if (length >= MAX_PATH) return ERROR_FILENAME_EXCED_RANGE;
    out.assign(path, length);
    return ERROR_SUCCESS;
}

DWORD ExistingFile(const std::wstring& path, std::wstring& out) {
    out.clear();
    if (path.empty() || path.find(L'\0') != path.npos) return ERROR_INVALID_NAME;
    wchar_t full[MAX_PATH];
    DWORD length = 0;
    DWORD error = Attempt([&] { return (length = ::GetFullPathNameW(path.c_str(), MAX_PATH, full, nullptr)) != 0; });
    if (error != ERROR_SUCCESS) return error;
    if (length >= MAX_PATH) return ERROR_FILENAME_EXCED_RANGE;
    DWORD attributes = 0;
    error = Attempt([&] { return (attributes = ::GetFileAttributesW(full)) != INVALID_FILE_ATTRIBUTES; });
    if (error != ERROR_SUCCESS) return error;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return ERROR_FILE_NOT_FOUND;
    out.assign(full, length);
    return ERROR_SUCCESS;
}

}  // namespace tandor
