// What tandorctl doctor looks at. Each family adds its checks as a function to the table in doctor_command.cpp.
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

void CheckLogs(Findings& findings);
void CheckDeviceStore(Findings& findings);
void CheckRegistry(Findings& findings);
void CheckImaging(Findings& findings);
void CheckSealing(Findings& findings);
void CheckHttps(Findings& findings);
void CheckWatching(Findings& findings);
void CheckFirewall(Findings& findings);

}  // namespace tandor::app
