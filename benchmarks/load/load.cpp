#include "benchmarks/process_time.h"

namespace tandor::bench {

void AddLoading() {
    Compare("load TandorUtil.dll into a new process", "a DLL with the C++ run-time alone", AtMostMillisecondsMore(6),
            TimeOfProcess(L"load_probe.exe TandorUtil.dll"), TimeOfProcess(L"load_probe.exe runtime_only.dll"), true);
    Compare("load TandorUtil.dll, system DLLs there already", "a DLL with the C++ run-time alone",
            AtMostMillisecondsMore(2.5), TimeOfProcess(L"load_probe.exe TandorUtil.dll warm"),
            TimeOfProcess(L"load_probe.exe runtime_only.dll warm"), true);
    Compare("start of tandorctl: --version, from start to end", "a program with the C++ run-time alone", Reported(),
            TimeOfRun(L"tandorctl.exe --version"), TimeOfRun(L"load_probe.exe runtime_only.dll"));
}

}  // namespace tandor::bench
