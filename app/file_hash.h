// The digest of a file as commands need it.
#pragma once

#include <string>

#include "tandor/sealing.h"

namespace tandor::app {

// SHA-256 in lower-case digits. `progress` hears of the bytes done and of all, and says whether to go on. Any thread.
// Throws CommandError; for a hash that was stopped, too.
std::string HashFile(const std::string& file, const CTandorSecTools::HashProgress& progress);

}  // namespace tandor::app
