// Device nodes through the Setup API. Results: ERROR_SUCCESS or a Windows or Setup API error.
#pragma once

#include <windows.h>

#include <setupapi.h>

#include <functional>
#include <string>

namespace tandor {

using DeviceAction = std::function<DWORD(HDEVINFO list, SP_DEVINFO_DATA& device)>;

// Runs `action` on every present device, in the system's order and to the end. The result is the first failure.
DWORD ForEachDevice(const DeviceAction& action);

// The same for those that have the hardware identifier, and how many there were.
struct Matches {
    DWORD error = ERROR_SUCCESS;
    std::size_t count = 0;
};
Matches ForEachMatch(const std::wstring& hardware_id, const DeviceAction& action);

// A text property, or a list of texts with its zeros; empty when there is none of at most 2,048 bytes.
std::wstring DeviceProperty(HDEVINFO list, SP_DEVINFO_DATA& device, DWORD property);

// The device class that the INF is for. A class name has fewer than 32 characters.
DWORD ReadInfClass(const std::wstring& inf, GUID& class_id, std::wstring& class_name);

// Registers a new device with the hardware identifier, of the INF's class.
DWORD RegisterDevice(const std::wstring& hardware_id, const std::wstring& inf);

DWORD RemoveNode(HDEVINFO list, SP_DEVINFO_DATA& device);

// `state` is a DICS_ value, `scope` a DICS_FLAG_ value.
DWORD ChangeState(HDEVINFO list, SP_DEVINFO_DATA& device, DWORD state, DWORD scope);

// Whether what was done to the device needs a restart of the system.
DWORD NeedsRestart(HDEVINFO list, SP_DEVINFO_DATA& device, bool& restart);

}  // namespace tandor
