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

// Its name in the system, as "ROOT\DISPLAY\0000"; empty for a device that has none yet.
std::wstring DeviceInstance(HDEVINFO list, SP_DEVINFO_DATA& device);

// The device class that the INF is for. A class name has fewer than 32 characters.
DWORD ReadInfClass(const std::wstring& inf, GUID& class_id, std::wstring& class_name);

// Registers a new device with the hardware identifier, of the INF's class, and has its driver installed while the
// system still holds the device's list.
DWORD InstallNode(const std::wstring& hardware_id, const std::wstring& inf,
                  const std::function<DWORD()>& install_driver);

DWORD RemoveNode(HDEVINFO list, SP_DEVINFO_DATA& device);

// `state` is DICS_ENABLE or DICS_DISABLE, `scope` DICS_FLAG_GLOBAL or DICS_FLAG_CONFIGSPECIFIC.
DWORD ChangeState(HDEVINFO list, SP_DEVINFO_DATA& device, DWORD state, DWORD scope);

// Whether what was done to the device needs a restart of the system.
DWORD NeedsRestart(HDEVINFO list, SP_DEVINFO_DATA& device, bool& restart);

}  // namespace tandor
