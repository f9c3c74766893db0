// What tandorctl doctor looks at. Each check is a function with a row in the table in doctor_command.cpp. A check
// changes nothing on the machine.
#pragma once

#include <string>
#include <vector>

namespace tandor::app {

enum class Verdict { kWorks, kLimited, kBroken };

struct Finding {
    std::string thing;
    Verdict verdict;
    std::string detail;
    std::string remedy;  // empty when nothing has to be done
};

using Findings = std::vector<Finding>;

// Libraries
void CheckOwnLibraries(Findings& findings);
void CheckSystemLibraries(Findings& findings);
void CheckVersions(Findings& findings);

// Directories and files
void CheckFolders(Findings& findings);
void CheckConfiguration(Findings& findings);

// Rights
void CheckAdministrator(Findings& findings);
void CheckRegistry(Findings& findings);
void CheckProcesses(Findings& findings);

// Services
void CheckStores(Findings& findings);
void CheckSealing(Findings& findings);
void CheckHttps(Findings& findings);
void CheckAssistant(Findings& findings);
void CheckFirewall(Findings& findings);
void CheckManagement(Findings& findings);
void CheckDevices(Findings& findings);
void CheckImaging(Findings& findings);

// Processes, windows, work
void CheckPresence(Findings& findings);
void CheckWindows(Findings& findings);
void CheckDisplays(Findings& findings);
void CheckWorkers(Findings& findings);

}  // namespace tandor::app
