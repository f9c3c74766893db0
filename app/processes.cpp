#include "app/processes.h"

#include <windows.h>

#include <tlhelp32.h>

#include "base/win_error.h"
#include "base/win_handle.h"

namespace tandor::app {
namespace {

bool SameLetters(std::wstring_view left, std::wstring_view right) {
    return ::CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                  static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

}  // namespace

std::vector<RunningProcess> RunningProcesses() {
    const FileHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!snapshot) throw WindowsError("the list of processes", ::GetLastError());
    std::vector<RunningProcess> processes;
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = ::Process32FirstW(snapshot.Get(), &entry); more != 0;
         more = ::Process32NextW(snapshot.Get(), &entry))
        processes.push_back({entry.th32ProcessID, entry.szExeFile});
    return processes;
}

std::vector<RunningProcess> ProcessesNamed(std::wstring_view name) {
    std::vector<RunningProcess> processes = RunningProcesses();
    std::erase_if(processes, [name](const RunningProcess& one) {
        return !SameLetters(one.program, name) && !SameLetters(one.program, std::wstring(name) + L".exe");
    });
    return processes;
}

}  // namespace tandor::app
