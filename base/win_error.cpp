#include "base/win_error.h"

#include <cstdio>

#include "base/utf.h"

namespace tandor {

std::string WindowsErrorText(DWORD code) {
    wchar_t text[512];
    DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, text,
                                    static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && (text[length - 1] == L'\n' || text[length - 1] == L'\r' || text[length - 1] == L' ')) --length;
    char number[16];  // an HRESULT is known by its hexadecimal form
    std::snprintf(number, sizeof(number), code > 0x7FFFFFFF ? "(0x%08lX)" : "(%lu)", code);
    return (length == 0 ? "error" : Utf8FromWideLossy({text, length})) + " " + number;
}

std::system_error WindowsError(const std::string& what, DWORD code) {
    return {static_cast<int>(code), std::system_category(), what + ": " + WindowsErrorText(code)};
}

}  // namespace tandor
