// The device manager as the paired-device settings use it.
#pragma once

#include <string>

#include "base/utf.h"
#include "foundation/message.h"
#include "pelora/device_manager.h"

namespace tandor {

inline DM::DeviceMgr& Devices() { return DM::DeviceMgr::GetInstance(); }

// Writes "text ,ret:code" for the function and returns whether the code is that of success.
inline bool Report(const wchar_t* function, const wchar_t* text, int result) {
    LogMessage(kInfo, function, text, L" ,ret:", result);
    return result == DM::DEVICE_OK;
}

// The record's flag once `result` says that it was read; `failed` is the text for when it was not.
inline bool CoreLaneAbility(const wchar_t* function, int result, const wchar_t* failed,
                            const BluetoothDeviceSummary& device) {
    if (result != DM::DEVICE_OK) {
        LogMessage(kInfo, function, failed, result);
        return false;
    }
    const bool supported = device.IsSupportCoreLane != 0;
    LogMessage(kInfo, function, L"get isSupportCorelane=", supported);
    return supported;
}

}  // namespace tandor
