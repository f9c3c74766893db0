// A second implementation of the log service: it keeps the messages in memory and writes no file.
#pragma once

#include <string>
#include <vector>

#include "pelora/api.h"

namespace tandor::test {

// Every message so far, as "<level> <text>".
PELORA_API std::vector<std::wstring> RecordedMessages();

}  // namespace tandor::test
