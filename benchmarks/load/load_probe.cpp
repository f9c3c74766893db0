// load_probe DLL [warm]: loads the DLL into this new process and ends with the microseconds that took. With "warm" the
// system DLLs that a program with windows has anyway are loaded before.
#include <windows.h>

#include <initializer_list>

#include "benchmarks/microseconds.h"

int wmain(int count, wchar_t** words) {
    if (count > 2) {
        for (const wchar_t* dll : {L"user32.dll", L"gdi32.dll", L"gdiplus.dll", L"ole32.dll", L"advapi32.dll",
                                   L"ws2_32.dll", L"setupapi.dll"}) {
            ::LoadLibraryW(dll);
        }
    }
    return tandor::bench::Microseconds([words] { return ::LoadLibraryW(words[1]) != nullptr; });
}
