// The attribute members of TandorConfig over the table of attributes.
#include "config/device_attributes.h"
#include "tandor/paired_device_config.h"
#include "tandor/text.h"

namespace {

namespace attribute = tandor::attribute;
using tandor::kInfo;
using tandor::LogMessage;

// `shown` is what the log says of the value.
template <class Attribute, class Shown>
bool Save(const Attribute& row, const std::string& device, const typename Attribute::Value& value, const Shown& shown,
          const wchar_t* function) {
    const int result = row.Store(device, value);
    LogMessage(kInfo, function, row.save, shown, row.before_ret, result);
    return result == DM::DEVICE_OK;
}

template <class Attribute>
bool Save(const Attribute& row, const std::string& device, const typename Attribute::Value& value,
          const wchar_t* function) {
    return Save(row, device, value, value, function);
}

// False, with the row's line, when nothing was saved; the caller says what is to be said of the other case.
template <class Attribute>
bool SaveOrComplain(const Attribute& row, const std::string& device, const typename Attribute::Value& value,
                    const wchar_t* function) {
    const bool saved = row.Store(device, value) == DM::DEVICE_OK;
    if (!saved) LogMessage(kInfo, function, row.not_saved);
    return saved;
}

// The value, or the row's initial one when it cannot be read.
template <class Attribute>
typename Attribute::Result Load(const Attribute& row, const std::string& device, const wchar_t* function) {
    typename Attribute::Result value = row.initial;
    [[maybe_unused]] const int failure_leaves_the_initial_value = row.Fetch(device, value);
    LogMessage(kInfo, function, row.get, value);
    return value;
}

// Asks by setting: the device manager may change the value that it takes by reference.
template <class Attribute>
bool SetAndJudge(const Attribute& row, const std::string& device, const wchar_t* function) {
    bool value = false;
    const int result = tandor::Devices().SetPresentDeviceInfoByName(device, tandor::Utf8FromWide(row.key), value);
    LogMessage(kInfo, function, row.get, value, row.before_ret, result);
    return value && result == DM::DEVICE_OK;
}

bool IsSyncSwitch(Tandor::DeviceStateType type, const wchar_t* unknown, const wchar_t* function) {
    if (type == Tandor::DeviceStateType::MULTI_DEVICE_SYNC_SWITCH) return true;
    LogMessage(kInfo, function, unknown, type);
    return false;
}

}  // namespace

void TandorConfig::SetApkVersionNotMatch(const std::string& deviceName, bool value) {
    SaveOrComplain(attribute::kApkVersionNotMatch, deviceName, value, L"TandorConfig::SetApkVersionNotMatch");
}

bool TandorConfig::IsApkVersionNotMatch(const std::string& deviceName) {
    return Load(attribute::kApkVersionNotMatch, deviceName, L"TandorConfig::IsApkVersionNotMatch") != 0;
}

void TandorConfig::SetPairDeviceConnect(const std::string& deviceName, bool value) {
    SaveOrComplain(attribute::kConnect, deviceName, value ? 1 : 0, L"TandorConfig::SetPairDeviceConnect");
}

bool TandorConfig::SetPairDevicebluetoothName(const std::string& deviceName, const std::string& bluetoothName) {
    return Save(attribute::kBluetoothName, deviceName, bluetoothName,
                TandorUtilClass::SenstiveContent(tandor::WideFromUtf8Lossy(bluetoothName)),
                L"TandorConfig::SetPairDevicebluetoothName");
}

bool TandorConfig::SetIsPhoneMirrorSupported(const std::string& deviceName, bool value) {
    return Save(attribute::kPhoneMirror, deviceName, value, L"TandorConfig::SetIsPhoneMirrorSupported");
}

bool TandorConfig::GetIsPhoneMirrorSupported(const std::string& deviceName) {
    return Load(attribute::kPhoneMirror, deviceName, L"TandorConfig::GetIsPhoneMirrorSupported") != 0;
}

bool TandorConfig::SetIsFileSystemSupported(const std::string& deviceName, bool value) {
    return Save(attribute::kFileSystem, deviceName, value, L"TandorConfig::SetIsFileSystemSupported");
}

bool TandorConfig::SetPairedIsAuthorized(const std::string& deviceName, bool value) {
    return Save(attribute::kAuthorized, deviceName, value, L"TandorConfig::SetPairedIsAuthorized");
}

bool TandorConfig::GetPairedIsAuthorized(const std::string& deviceName) {
    return SetAndJudge(attribute::kAuthorized, deviceName, L"TandorConfig::GetPairedIsAuthorized");
}

bool TandorConfig::GetPairedDevConnectState(const std::string& deviceName) {
    return SetAndJudge(attribute::kConnectState, deviceName, L"TandorConfig::GetPairedDevConnectState");
}

bool TandorConfig::SetDevicePairedTimeCycle(const std::string& deviceName, bool trusted,
                                            const unsigned long long& pairedTime, const unsigned long long& timeCycle) {
    constexpr const wchar_t* kFunction = L"TandorConfig::SetDevicePairedTimeCycle";
    const bool trust = Save(attribute::kTrusted, deviceName, trusted ? 1 : 0, kFunction);
    const bool time = Save(attribute::kPairedTime, deviceName, std::to_wstring(pairedTime), kFunction);
    const bool cycle = Save(attribute::kPairedTimeCycle, deviceName, std::to_wstring(timeCycle), kFunction);
    return trust && time && cycle;
}

bool TandorConfig::GetDevicePairedTimeCycle(const std::string& deviceName, bool& trusted,
                                            unsigned long long& pairedTime, unsigned long long& timeCycle) {
    trusted = false;
    pairedTime = 0;
    timeCycle = 0;
    const bool trust = attribute::kTrusted.Fetch(deviceName, trusted) == DM::DEVICE_OK;
    LogMessage(kInfo, L"TandorConfig::GetDevicePairedTimeCycle", attribute::kTrusted.get, trusted);
    const bool time = attribute::kPairedTime.Fetch(deviceName, pairedTime) == DM::DEVICE_OK;
    const bool cycle = attribute::kPairedTimeCycle.Fetch(deviceName, timeCycle) == DM::DEVICE_OK;
    return trust && time && cycle;
}

bool TandorConfig::SetIsReConnectSupported(const std::string& deviceName, bool value) {
    return Save(attribute::kReconnect, deviceName, value ? 1 : 0, L"TandorConfig::SetIsReConnectSupported");
}

bool TandorConfig::GetIsReConnectSupported(const std::string& deviceName) {
    return Load(attribute::kReconnect, deviceName, L"TandorConfig::GetIsReConnectSupported");
}

void TandorConfig::SetReconnectPermission(const std::string& deviceName, bool permit) {
    constexpr const wchar_t* kFunction = L"TandorConfig::SetReconnectPermission";
    if (!SaveOrComplain(attribute::kReconnectPermit, deviceName, permit, kFunction)) return;
    LogMessage(kInfo, kFunction, attribute::kReconnectPermit.save, permit);
}

bool TandorConfig::GetReconnectPermission(const std::string& deviceName) {
    constexpr const wchar_t* kFunction = L"TandorConfig::GetReconnectPermission";
    std::string permit;
    if (attribute::kReconnectPermit.Fetch(deviceName, permit) != DM::DEVICE_OK) {
        LogMessage(kInfo, kFunction, L"read reconnect_permit failed, use default value:1");
        return true;
    }
    LogMessage(kInfo, kFunction, attribute::kReconnectPermit.get, permit);
    return permit != "0" && permit != "false";
}

bool TandorConfig::SetBussinessUseState(const std::string& deviceName, bool value) {
    Save(attribute::kBusinessUse, deviceName, value, L"TandorConfig::SetBussinessUseState");
    return true;
}

bool TandorConfig::GetBussinessUseState(const std::string& deviceName) {
    return Load(attribute::kBusinessUse, deviceName, L"TandorConfig::GetBussinessUseState");
}

bool TandorConfig::SetSyncDeviceState(const std::string& deviceName, Tandor::DeviceStateType type, int value) {
    constexpr const wchar_t* kFunction = L"TandorConfig::SetSyncDeviceState";
    return IsSyncSwitch(type, L"SetSyncDeviceState unknown type=", kFunction) &&
           Save(attribute::kSyncSwitch, deviceName, value, kFunction);
}

int TandorConfig::GetSyncDeviceState(const std::string& deviceName, Tandor::DeviceStateType type) {
    constexpr const wchar_t* kFunction = L"TandorConfig::GetSyncDeviceState";
    if (!IsSyncSwitch(type, L"GetSyncDeviceState unknown type=", kFunction)) return 0;
    return Load(attribute::kSyncSwitch, deviceName, kFunction);
}
