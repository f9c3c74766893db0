#include <windows.h>

#include "base/win_process.h"
#include "benchmarks/ratio.h"

namespace tandor::bench {
namespace {

Body Load(const wchar_t* arguments) {
    return [arguments](benchmark::State& state) {
        for (auto _ : state) {
            const StartedProcess process = StartProcess(nullptr, std::wstring(L"load_probe.exe ") + arguments);
            if (!process.handle) return state.SkipWithError("load_probe.exe does not start");
            DWORD microseconds = 0;
            ::WaitForSingleObject(process.handle.Get(), INFINITE);
            ::GetExitCodeProcess(process.handle.Get(), &microseconds);
            if (microseconds > 60'000'000) return state.SkipWithError("the DLL does not load");
            state.SetIterationTime(microseconds / 1e6);
        }
    };
}

}  // namespace

void AddLoading() {
    Compare("load TandorUtil.dll into a new process", "a DLL with the C++ run-time alone", AtMostMillisecondsMore(6),
            Load(L"TandorUtil.dll"), Load(L"runtime_only.dll"), true);
    Compare("load TandorUtil.dll, system DLLs there already", "a DLL with the C++ run-time alone",
            AtMostMillisecondsMore(2.5), Load(L"TandorUtil.dll warm"), Load(L"runtime_only.dll warm"), true);
}

}  // namespace tandor::bench
