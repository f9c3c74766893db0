// Stands in for the system's program that stages driver packages: appends its command line to the file that the
// environment names and ends with the exit code that it says.
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
    std::fprintf(file, "%s\n", tandor::Utf8FromWideLossy(::GetCommandLineW()).c_str());
    std::fclose(file);
    return static_cast<int>(std::wcstoul(code, nullptr, 10));
}
