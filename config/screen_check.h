// Looks a configuration file of the extended screen over, for people who write one.
#pragma once

#include <string>
#include <vector>

#include "pelora/xml.h"

namespace tandor {

struct ScreenProblem {
    int line = 0;
    std::string text;
};

// Nobody reads more of them.
inline constexpr std::size_t kMostProblems = 1000;

// Everything that the reader would pass over or answer otherwise than written, in the order of the lines. Both files
// are looked over alike: their sections have different names. Beyond kMostProblems the last one says how many more
// there are.
std::vector<ScreenProblem> CheckScreenConfig(VxXmlElement root);

}  // namespace tandor
