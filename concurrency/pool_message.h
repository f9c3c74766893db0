// How pool and queues, which are portable, reach the log.
#pragma once

namespace tandor {

enum class PoolMessageLevel { kInfo, kFailure };

void LogPoolMessage(PoolMessageLevel level, const wchar_t* function, const wchar_t* text);

}  // namespace tandor
