// The native build has no log service; failures go to standard error.
#include <cstdio>

#include "concurrency/pool_message.h"

namespace tandor {

void LogPoolMessage(PoolMessageLevel level, const wchar_t* function, const wchar_t* text) {
    if (level == PoolMessageLevel::kFailure) std::fprintf(stderr, "%ls(%ls)\n", text, function);
}

}  // namespace tandor
