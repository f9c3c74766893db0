#include <windows.h>

#include "foundation/message.h"
#include "tandor/operation_queue.h"

SuspendControllerClass::SuspendControllerClass() {
    if (::SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED) == 0) {
        tandor::LogMessage(tandor::kFailure, L"SuspendControllerClass::SuspendControllerClass",
                           L"SetThreadExecutionState failed");
    }
}

SuspendControllerClass::~SuspendControllerClass() { ::SetThreadExecutionState(ES_CONTINUOUS); }
