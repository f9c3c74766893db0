// The records of present devices, and what the registry forgets when one is deleted.
#include <algorithm>

#include "config/device_access.h"
#include "foundation/sharing_key.h"
#include "pelora/registry.h"
#include "tandor/paired_device_config.h"

namespace {

using DE::Registry;
using DE::RegistryRoot;
using tandor::Devices;
using tandor::kFailure;
using tandor::kInfo;
using tandor::kSharingKey;
using tandor::LogMessage;
using tandor::Report;

// The first identity that both records know decides; an address may be a random one, so the UUID goes first.
bool SameDevice(const BluetoothDeviceSummary& a, const BluetoothDeviceSummary& b) {
    if (!a.PeerUuid.empty() && !b.PeerUuid.empty()) return a.PeerUuid == b.PeerUuid;
    if (a.MacAddrInt != 0 && b.MacAddrInt != 0) return a.MacAddrInt == b.MacAddrInt;
    return a.MacAddr.empty() || b.MacAddr.empty() || a.MacAddr == b.MacAddr;
}

int DeleteForeign(const std::string& name, const BluetoothDeviceSummary& device, const wchar_t* function) {
    std::vector<BluetoothDeviceSummary> present;
    const int result = Devices().GetPresentDeviceInfoList(present);
    if (result != DM::DEVICE_OK) return result;
    const bool foreign = std::any_of(present.begin(), present.end(), [&](const BluetoothDeviceSummary& entry) {
        return entry.DeviceId == name && !SameDevice(entry, device);
    });
    if (!foreign) return DM::DEVICE_OK;
    LogMessage(kInfo, function, L"device id does not match with device info");
    const int deleted = Devices().DeletePresentDeviceInfo(name);
    return deleted == DM::DEVICE_NOT_FOUND ? int{DM::DEVICE_OK} : deleted;  // another process was faster
}

void DeletePresent(const std::string& name, const wchar_t* function) {
    Report(function, L"delete present device", Devices().DeletePresentDeviceInfo(name));
}

bool ResetNumber(const wchar_t* value) {
    return Registry::SetValue(RegistryRoot::kUser, kSharingKey, value, std::uint32_t{0});
}

bool ResetText(const wchar_t* value) {
    return Registry::SetValue(RegistryRoot::kUser, kSharingKey, value, std::wstring(L"No"));
}

bool SharingKeyExists(const wchar_t* function) {
    const bool exists = Registry::KeyExists(RegistryRoot::kUser, kSharingKey);
    if (!exists) LogMessage(kInfo, function, L"no key ", kSharingKey);
    return exists;
}

}  // namespace

bool TandorConfig::GetPairDeviceParam(const std::string& deviceName, BluetoothDeviceSummary& device) {
    int status = 0;
    return GetPairDeviceParam(deviceName, device, status);
}

bool TandorConfig::GetPairDeviceParam(const std::string& deviceName, BluetoothDeviceSummary& device, int& status) {
    status = Devices().GetPresentDeviceInfo(deviceName, device);
    return Report(L"TandorConfig::GetPairDeviceParam", L"get present device", status);
}

bool TandorConfig::SetPairDeviceParam(const std::string& deviceName, const BluetoothDeviceSummary& device) {
    int status = 0;
    return SetPairDeviceParam(deviceName, device, status);
}

bool TandorConfig::SetPairDeviceParam(const std::string& deviceName, const BluetoothDeviceSummary& device,
                                      int& status) {
    constexpr const wchar_t* kFunction = L"TandorConfig::SetPairDeviceParam";
    status = DeleteForeign(deviceName, device, kFunction);
    if (status == DM::DEVICE_OK) status = Devices().SetPresentDeviceInfo(deviceName, device);
    return Report(kFunction, L"save present device", status);
}

bool TandorConfig::DeletePairDevice(const std::string& deviceName) {
    constexpr const wchar_t* kFunction = L"TandorConfig::DeletePairDevice";
    DeletePresent(deviceName, kFunction);
    return SharingKeyExists(kFunction) && ResetNumber(L"PCIsAuthorState");
}

bool TandorConfig::DeletePairDeviceParam(const std::string& deviceName) {
    constexpr const wchar_t* kFunction = L"TandorConfig::DeletePairDeviceParam";
    DeletePresent(deviceName, kFunction);
    if (!SharingKeyExists(kFunction)) return false;
    ResetNumber(L"PCRSAKeyIsPairState");
    if (!ResetText(L"PCRSAPrivateKeyCipher")) {
        LogMessage(kFailure, kFunction,
                   L"TandorConfig::DeletePairDeviceParam SetValue No To PCRSAPrivateKeyCipher,failed");
    }
    ResetText(L"PCRSAPublicKeyCipher");
    if (!ResetText(L"PhoneRSAPublicKeyCipher")) {
        LogMessage(kFailure, kFunction,
                   L"TandorConfig::DeletePairDeviceParam SetValue No To PhoneRSAPublicKeyCipher,failed");
    }
    return ResetNumber(L"PCIsAuthorState");
}

bool TandorConfig::GetPresentDeviceCoreLaneAbility(const std::string& deviceName) {
    BluetoothDeviceSummary device;
    const int result = Devices().GetPresentDeviceInfo(deviceName, device);
    return tandor::CoreLaneAbility(L"TandorConfig::GetPresentDeviceCoreLaneAbility", result,
                                   L"GetPresentDeviceInfo failed, result:", device);
}
