// What went wrong with a transfer, for people.
#pragma once

#include <string>

#include "tandor/http_download.h"

namespace tandor::app {

struct Explanation {
    std::string cause;
    std::string remedy;
};

// For a transfer that failed, or whose answer has an error's status.
Explanation Explain(const HttpTransfer& transfer);

// Whether another try may end better: the network failed or the server was busy, and nothing was refused.
bool MayPass(const HttpTransfer& transfer);

}  // namespace tandor::app
