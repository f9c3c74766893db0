// Stands in for the system's program that stages driver packages: appends whether it has a window and its command line
// to the file that the environment names and ends with the exit code that it says.
#include <windows.h>

#include <cstdlib>
#include <fstream>

#include "base/utf.h"

int main() {
    const wchar_t* const record = ::_wgetenv(L"TANDOR_PNPUTIL_RECORD");
    const wchar_t* const code = ::_wgetenv(L"TANDOR_PNPUTIL_CODE");
    if (record == nullptr || code == nullptr) return 87;
    FILE* const file = ::_wfopen(record, L"ab");
    if (file == nullptr) return 2;
    STARTUPINFOW startup{};
    ::GetStartupInfoW(&startup);
    const bool hidden = ::GetConsoleWindow() == nullptr && (startup.dwFlags & STARTF_USESHOWWINDOW) != 0 &&
                        startup.wShowWindow == SW_HIDE;
    std::fprintf(file, "%s %s\n", hidden ? "unseen" : "seen", tandor::Utf8FromWideLossy(::GetCommandLineW()).c_str());
    std::fclose(file);
    return static_cast<int>(std::wcstoul(code, nullptr, 10));
}
