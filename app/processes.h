// The processes that run now.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tandor::app {

struct RunningProcess {
    unsigned long id = 0;
    std::wstring program;  // the file's name without a folder, as "tandorctl.exe"
};

// Throws WindowsError when the system does not list them.
std::vector<RunningProcess> RunningProcesses();

// Those of a program's name, in letters of any case and with or without ".exe".
std::vector<RunningProcess> ProcessesNamed(std::wstring_view name);

}  // namespace tandor::app
