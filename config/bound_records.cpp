// The bound media-playback devices.
#include <algorithm>

#include "base/decimal.h"
#include "base/hex.h"
#include "base/utf.h"
#include "config/device_attributes.h"
#include "tandor/paired_device_config.h"

namespace {

using tandor::Devices;
using tandor::kInfo;
using tandor::LogMessage;
using tandor::Report;
using tandor::attribute::kKeyStore;

constexpr std::size_t kSha256Digits = 64;

// The members that the device itself tells, DevType to IsTrusted.
void CopySummary(const BluetoothDeviceSummary& from, BluetoothDeviceSummary& to) {
    BluetoothDeviceSummary copy = from;
    copy.TrustType = to.TrustType;
    copy.DevSubType = to.DevSubType;
    copy.AccountInfo = to.AccountInfo;
    copy.AuthDigest = to.AuthDigest;
    copy.LastSeenTime = to.LastSeenTime;
    copy.IpAddr = to.IpAddr;
    copy.ReconnectPolicy = to.ReconnectPolicy;
    copy.ShieldState = to.ShieldState;
    copy.OriginalName = to.OriginalName;
    copy.PairedTime = to.PairedTime;
    copy.PairedTimeCycle = to.PairedTimeCycle;
    copy.IsSupportCoreLane = to.IsSupportCoreLane;
    copy.IsSha256Auth = to.IsSha256Auth;
    copy.ExtInfo = to.ExtInfo;
    to = std::move(copy);
}

// Reads the bound record, lets `change` change it, and writes it back.
template <class Change>
int ChangeBound(const std::string& name, Change change) {
    BluetoothDeviceSummary device;
    const int result = Devices().GetBoundDeviceInfo(name, device);
    if (result != DM::DEVICE_OK) return result;
    change(device);
    return Devices().SetBoundDeviceInfo(name, device);
}

std::vector<BluetoothDeviceSummary> BoundDevices(const wchar_t* function) {
    std::vector<BluetoothDeviceSummary> devices;
    const int result = Devices().GetBoundDeviceInfoList(devices);
    if (result != DM::DEVICE_OK) Report(function, L"get bound devices", result);
    return devices;
}

// Whether the bound list has a device of that name for which `test` holds.
template <class Test>
bool BoundDeviceIs(const std::string& name, const wchar_t* function, Test test) {
    const auto devices = BoundDevices(function);
    const bool is = std::any_of(devices.begin(), devices.end(), [&](const BluetoothDeviceSummary& device) {
        return device.DeviceId == name && test(device);
    });
    LogMessage(kInfo, function, L"get isAuthed=", is);
    return is;
}

bool IsSha256(const std::string& digest) {
    return digest.size() == kSha256Digits &&
           std::all_of(digest.begin(), digest.end(), [](char c) { return tandor::HexValue(c) >= 0; });
}

auto Number(const std::wstring& text) {
    return tandor::ParseDecimal<unsigned long long>(tandor::Utf8FromWideLossy(text));
}

}  // namespace

bool TandorConfig::GetKoPlayDevice(std::vector<BluetoothDeviceSummary>& devices) {
    return Report(L"TandorConfig::GetKoPlayDevice", L"get bound devices", Devices().GetBoundDeviceInfoList(devices));
}

bool TandorConfig::GetKoPlayDevice(const std::string& deviceName, BluetoothDeviceSummary& device) {
    return Report(L"TandorConfig::GetKoPlayDevice", L"get bound device",
                  Devices().GetBoundDeviceInfo(deviceName, device));
}

bool TandorConfig::SetKoPlayDevice(const std::string& deviceName, const BluetoothDeviceSummary& device) {
    int result = ChangeBound(deviceName, [&](BluetoothDeviceSummary& bound) { CopySummary(device, bound); });
    if (result == DM::DEVICE_NOT_FOUND) {
        BluetoothDeviceSummary bound;
        CopySummary(device, bound);
        result = Devices().SetBoundDeviceInfo(deviceName, bound);
    }
    return Report(L"TandorConfig::SetKoPlayDevice", L"save bound device", result);
}

bool TandorConfig::SetKoPlayDeviceExtInfo(const std::string& deviceName, const std::string& extInfo) {
    return Report(L"TandorConfig::SetKoPlayDeviceExtInfo", L"save extInfo",
                  ChangeBound(deviceName, [&](BluetoothDeviceSummary& bound) { bound.ExtInfo = extInfo; }));
}

bool TandorConfig::GetKoPlayDeviceExtInfo(const std::string& deviceName, std::string& extInfo) {
    BluetoothDeviceSummary device;
    const int result = Devices().GetBoundDeviceInfo(deviceName, device);
    if (result == DM::DEVICE_OK) extInfo = device.ExtInfo;
    return Report(L"TandorConfig::GetKoPlayDeviceExtInfo", L"get extInfo", result);
}

bool TandorConfig::SetKoPlayDevicePairedTimeCycle(const std::string& deviceName, const unsigned long long& pairedTime,
                                                  const unsigned long long& timeCycle) {
    return Report(L"TandorConfig::SetKoPlayDevicePairedTimeCycle", L"save pairedTime and timeCycle",
                  ChangeBound(deviceName, [&](BluetoothDeviceSummary& bound) {
                      bound.PairedTime = std::to_wstring(pairedTime);
                      bound.PairedTimeCycle = std::to_wstring(timeCycle);
                  }));
}

bool TandorConfig::GetKoPlayDevicePairedTimeCycle(const std::string& deviceName, unsigned long long& pairedTime,
                                                  unsigned long long& timeCycle) {
    constexpr const wchar_t* kFunction = L"TandorConfig::GetKoPlayDevicePairedTimeCycle";
    BluetoothDeviceSummary device;
    if (Devices().GetBoundDeviceInfo(deviceName, device) != DM::DEVICE_OK) {
        LogMessage(kInfo, kFunction, L"summary is empty");
        return false;
    }
    LogMessage(kInfo, kFunction, L"get pairedTime=", device.PairedTime);
    LogMessage(kInfo, kFunction, L"get timeCycle=", device.PairedTimeCycle);
    const auto time = Number(device.PairedTime);
    const auto cycle = Number(device.PairedTimeCycle);
    if (!time || !cycle) return false;
    pairedTime = *time;
    timeCycle = *cycle;
    return true;
}

bool TandorConfig::BackupCurrentDataToKoplayDevice(const std::string& deviceName) {
    BluetoothDeviceSummary device;
    int result = Devices().GetPresentDeviceInfo(deviceName, device);
    if (result == DM::DEVICE_OK) result = Devices().SetBoundDeviceInfo(deviceName, device);
    return Report(L"TandorConfig::BackupCurrentDataToKoplayDevice", L"backup present device", result);
}

bool TandorConfig::RestoreDataToKoplayDevice(const std::string& deviceName) {
    BluetoothDeviceSummary device;
    int result = Devices().GetBoundDeviceInfo(deviceName, device);
    if (result == DM::DEVICE_OK) result = Devices().SetPresentDeviceInfo(deviceName, device);
    return Report(L"TandorConfig::RestoreDataToKoplayDevice", L"restore bound device", result);
}

bool TandorConfig::IsKoPlayDeviceAuthed(const std::string& deviceName) {
    return BoundDeviceIs(deviceName, L"TandorConfig::IsKoPlayDeviceAuthed",
                         [](const BluetoothDeviceSummary& device) { return device.IsAuthor; });
}

bool TandorConfig::IsKoPlayDeviceSha256Authed(const std::string& deviceName) {
    return BoundDeviceIs(deviceName, L"TandorConfig::IsKoPlayDeviceSha256Authed",
                         [](const BluetoothDeviceSummary& device) {
                             return device.IsAuthor && device.IsSha256Auth != 0 && IsSha256(device.AuthDigest);
                         });
}

int TandorConfig::GetShieldDevicesNumber() {
    constexpr const wchar_t* kFunction = L"TandorConfig::GetShieldDevicesNumber";
    const auto devices = BoundDevices(kFunction);
    const auto number = std::count_if(devices.begin(), devices.end(),
                                      [](const BluetoothDeviceSummary& device) { return device.ShieldState != 0; });
    LogMessage(kInfo, kFunction, L"get shieldDevices=", number);
    return static_cast<int>(number);
}

bool TandorConfig::DeleteKoPlayDeviceBySummary(const std::string& summary, bool deleteTrustDevice) {
    constexpr const wchar_t* kFunction = L"TandorConfig::DeleteKoPlayDeviceBySummary";
    LogMessage(kInfo, kFunction, L"DeleteKoPlayDeviceBySummary, deleteTrustDevice:", deleteTrustDevice);
    return Report(kFunction, L"delete bound device", Devices().DeleteBoundDeviceInfo(summary, deleteTrustDevice));
}

bool TandorConfig::GetBoundDeviceCoreLaneAbility(const std::string& deviceName) {
    BluetoothDeviceSummary device;
    const int result = Devices().GetBoundDeviceInfo(deviceName, device);
    return tandor::CoreLaneAbility(L"TandorConfig::GetBoundDeviceCoreLaneAbility", result,
                                   L"GetDeviceInfo failed, result:", device);
}

bool TandorConfig::GetKoPlayKeyStoreData(const std::string& deviceName, std::string& data) {
    return Report(L"TandorConfig::GetKoPlayKeyStoreData", kKeyStore.get, kKeyStore.Fetch(deviceName, data));
}

bool TandorConfig::SetKoPlayKeyStoreData(const std::string& deviceName, const std::string& data) {
    return Report(L"TandorConfig::SetKoPlayKeyStoreData", kKeyStore.save, kKeyStore.Store(deviceName, data));
}
