// What this process holds: for tests that nothing is left behind.
#pragma once

#include <windows.h>

#include <tlhelp32.h>

#include "base/win_handle.h"

namespace tandor::test {

inline int ThreadsOfThisProcess() {
    const FileHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    int count = 0;
    for (BOOL found = ::Thread32First(snapshot.Get(), &entry); found != 0;
         found = ::Thread32Next(snapshot.Get(), &entry))
        count += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    return count;
}

inline DWORD HandlesOfThisProcess() {
    DWORD count = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &count);
    return count;
}

}  // namespace tandor::test
