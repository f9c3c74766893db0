#include "concurrency/pool_message.h"
#include "foundation/message.h"

namespace tandor {

void LogPoolMessage(PoolMessageLevel level, const wchar_t* function, const wchar_t* text) {
    LogMessage(level == PoolMessageLevel::kInfo ? kInfo : kFailure, function, text);
}

}  // namespace tandor
