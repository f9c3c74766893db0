// load_probe DLL [warm]: loads the DLL into this new process and ends with the microseconds that took. With "warm" the
// system DLLs that a program with windows has anyway are loaded before.
#include <windows.h>

#include <initializer_list>

int wmain(int count, wchar_t** words) {
    if (count > 2) {
        for (const wchar_t* dll : {L"user32.dll", L"gdi32.dll", L"gdiplus.dll", L"ole32.dll", L"advapi32.dll",
                                   L"ws2_32.dll", L"setupapi.dll"}) {
            ::LoadLibraryW(dll);
        }
    }
    LARGE_INTEGER frequency, begin, end;
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&begin);
    const HMODULE module = ::LoadLibraryW(words[1]);
    ::QueryPerformanceCounter(&end);
    return module == nullptr ? -1 : static_cast<int>((end.QuadPart - begin.QuadPart) * 1'000'000 / frequency.QuadPart);
}
