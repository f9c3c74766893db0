// The device manager as the paired-device settings use it.
#pragma once

#include <string>
#include <string_view>

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

// A present device's attribute as the type that the call asks for. How that and the value in hand differ is part of
// each attribute: the device manager converts.
template <class Stored>
int StoreAttribute(const std::string& device, std::wstring_view key, Stored value) {
    return Devices().SetPresentDeviceInfoByName(device, Utf8FromWide(key), value);
}

template <class Stored>
int ReadAttribute(const std::string& device, std::wstring_view key, Stored& value) {
    return Devices().GetPresentDeviceInfoByName(device, Utf8FromWide(key), value);
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
