// The clock of programs that end with the time of their work.
#pragma once

#include <windows.h>

namespace tandor::bench {

// The microseconds of `work`, as an exit code; -1 when it returns false.
template <class Work>
int Microseconds(Work work) {
    LARGE_INTEGER frequency, begin, end;
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&begin);
    const bool done = work();
    ::QueryPerformanceCounter(&end);
    return done ? static_cast<int>((end.QuadPart - begin.QuadPart) * 1'000'000 / frequency.QuadPart) : -1;
}

}  // namespace tandor::bench
