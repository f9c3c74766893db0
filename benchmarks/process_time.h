// Work that can be done only once in a process: a program does it, and ends with the microseconds it took.
#pragma once

#include <windows.h>

#include <string>

#include "base/win_handle.h"
#include "base/win_process.h"
#include "benchmarks/ratio.h"

namespace tandor::bench {

// The time that "<program and arguments>" ends with; anything beyond a minute is a failure's exit code.
inline Body TimeOfProcess(std::wstring command) {
    return [command](benchmark::State& state) {
        for (auto _ : state) {
            const StartedProcess process = StartProcess(nullptr, command);
            if (!process.handle) return state.SkipWithError("the program does not start");
            DWORD microseconds = 0;
            ::WaitForSingleObject(process.handle.Get(), INFINITE);
            ::GetExitCodeProcess(process.handle.Get(), &microseconds);
            if (microseconds > 60'000'000) return state.SkipWithError("the program failed");
            state.SetIterationTime(microseconds / 1e6);
        }
    };
}

// The time from the start of "<program and arguments>" to its end. What it prints goes nowhere.
inline Body TimeOfRun(std::wstring command) {
    return [command](benchmark::State& state) {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        const FileHandle nowhere(::CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                               &inherited, OPEN_EXISTING, 0, nullptr));
        STARTUPINFOW startup{};
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = startup.hStdOutput = startup.hStdError = nowhere.Get();
        for (auto _ : state) {
            const StartedProcess process = StartProcess(nullptr, command, startup);
            if (!process.handle) return state.SkipWithError("the program does not start");
            ::WaitForSingleObject(process.handle.Get(), INFINITE);
        }
    };
}

}  // namespace tandor::bench
