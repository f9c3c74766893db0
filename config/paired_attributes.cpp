// The attribute members of TandorConfig. The types in which an attribute is written and read differ on purpose.
#include "config/device_access.h"
#include "tandor/paired_device_config.h"
#include "tandor/text.h"

namespace {

using tandor::Devices;
using tandor::kInfo;
using tandor::LogMessage;
using tandor::ReadAttribute;
using tandor::StoreAttribute;

constexpr const wchar_t* kApkVersionNotMatch = L"ApkVersionNotMatch";
constexpr const wchar_t* kIsPhoneMirrorSupported = L"IsPhoneMirrorSupported";
constexpr const wchar_t* kPairedIsAuthorized = L"PairedIsAuthorized";
constexpr const wchar_t* kPairedDeviceIsTrusted = L"PairedDeviceIsTrusted";
constexpr const wchar_t* kDevicePairedTime = L"DevicePairedTime";
constexpr const wchar_t* kDevicePairedTimeCycle = L"DevicePairedTimeCycle";
constexpr const wchar_t* kPairedDeviceIsReconnect = L"PairedDeviceIsReconnect";
constexpr const wchar_t* kReconnectPermit = L"pairedDeviceReconnectPermit";
constexpr const wchar_t* kBussUseState = L"PairedDeviceBussUseState";
constexpr const wchar_t* kSyncSwitch = L"MultiDeviceSyncSwitch";

// What a setter or getter is: the attribute, the text before the value, and the function's name.
struct Access {
    const wchar_t* key;
    const wchar_t* text;
    const wchar_t* function;
    const wchar_t* before_result = L" ,ret:";
};

// `shown` is what the log says of the value.
template <class Stored, class Shown>
bool Save(const std::string& device, const Access& access, const Stored& value, const Shown& shown) {
    const int result = StoreAttribute<Stored>(device, access.key, value);
    LogMessage(kInfo, access.function, access.text, shown, access.before_result, result);
    return result == DM::DEVICE_OK;
}

template <class Stored>
bool Save(const std::string& device, const Access& access, const Stored& value) {
    return Save(device, access, value, value);
}

template <class Stored>
Stored Load(const std::string& device, const Access& access, Stored value) {
    ReadAttribute(device, access.key, value);  // a read that fails leaves the initial value
    LogMessage(kInfo, access.function, access.text, value);
    return value;
}

// Asks by setting: the device manager may change the value that it takes by reference.
bool SetAndJudge(const std::string& device, const wchar_t* key, const wchar_t* function) {
    bool value = false;
    const int result = Devices().SetPresentDeviceInfoByName(device, tandor::Utf8FromWide(key), value);
    LogMessage(kInfo, function, L"get isAuthorized=", value, L" ,ret:", result);
    return value && result == DM::DEVICE_OK;
}

}  // namespace

void TandorConfig::SetApkVersionNotMatch(const std::string& deviceName, bool value) {
    if (StoreAttribute(deviceName, kApkVersionNotMatch, value) == DM::DEVICE_OK) return;
    LogMessage(kInfo, L"TandorConfig::SetApkVersionNotMatch",
               L"SetApkVersionNotMatch SetPresentDeviceInfoByName failed.");
}

bool TandorConfig::IsApkVersionNotMatch(const std::string& deviceName) {
    return Load(deviceName, {kApkVersionNotMatch, L"get apkVersionNotMatch=", L"TandorConfig::IsApkVersionNotMatch"},
                0) != 0;
}

void TandorConfig::SetPairDeviceConnect(const std::string& deviceName, bool value) {
    if (StoreAttribute(deviceName, L"isConnected", value ? 1 : 0) == DM::DEVICE_OK) return;
    LogMessage(kInfo, L"TandorConfig::SetPairDeviceConnect",
               L"SetPairDeviceConnect  SetPresentDeviceInfoByName failed.");
}

bool TandorConfig::SetPairDevicebluetoothName(const std::string& deviceName, const std::string& bluetoothName) {
    return Save(deviceName, {L"devName", L"save bluetoothName=", L"TandorConfig::SetPairDevicebluetoothName"},
                bluetoothName, TandorUtilClass::SenstiveContent(tandor::WideFromUtf8Lossy(bluetoothName)));
}

bool TandorConfig::SetIsPhoneMirrorSupported(const std::string& deviceName, bool value) {
    return Save(deviceName,
                {kIsPhoneMirrorSupported, L"save phoneMirrorSupported=", L"TandorConfig::SetIsPhoneMirrorSupported"},
                value);
}

bool TandorConfig::GetIsPhoneMirrorSupported(const std::string& deviceName) {
    return Load(deviceName,
                {kIsPhoneMirrorSupported, L"get phoneMirrorSupported=", L"TandorConfig::GetIsPhoneMirrorSupported"},
                0) != 0;
}

bool TandorConfig::SetIsFileSystemSupported(const std::string& deviceName, bool value) {
    return Save(deviceName,
                {L"IsFileSystemSupported", L"save FileSystemSupporte=", L"TandorConfig::SetIsFileSystemSupported"},
                value);
}

bool TandorConfig::SetPairedIsAuthorized(const std::string& deviceName, bool value) {
    return Save(deviceName, {kPairedIsAuthorized, L"save isAuthorized=", L"TandorConfig::SetPairedIsAuthorized"},
                value);
}

bool TandorConfig::GetPairedIsAuthorized(const std::string& deviceName) {
    return SetAndJudge(deviceName, kPairedIsAuthorized, L"TandorConfig::GetPairedIsAuthorized");
}

bool TandorConfig::GetPairedDevConnectState(const std::string& deviceName) {
    return SetAndJudge(deviceName, L"IsConnected", L"TandorConfig::GetPairedDevConnectState");
}

bool TandorConfig::SetDevicePairedTimeCycle(const std::string& deviceName, bool trusted,
                                            const unsigned long long& pairedTime, const unsigned long long& timeCycle) {
    constexpr const wchar_t* kFunction = L"TandorConfig::SetDevicePairedTimeCycle";
    constexpr const wchar_t* kRet = L", ret: ";
    const bool trust_saved =
        Save(deviceName, {kPairedDeviceIsTrusted, L"save trustedValue=", kFunction, kRet}, trusted ? 1 : 0);
    const bool time_saved = Save(deviceName, {kDevicePairedTime, L"save pairedTime= ", kFunction, kRet},
                                 std::to_wstring(pairedTime), pairedTime);
    const bool cycle_saved = Save(deviceName, {kDevicePairedTimeCycle, L"save timeCycle= ", kFunction, kRet},
                                  std::to_wstring(timeCycle), timeCycle);
    return trust_saved && time_saved && cycle_saved;
}

bool TandorConfig::GetDevicePairedTimeCycle(const std::string& deviceName, bool& trusted,
                                            unsigned long long& pairedTime, unsigned long long& timeCycle) {
    trusted = false;
    pairedTime = 0;
    timeCycle = 0;
    const bool trust_read = ReadAttribute(deviceName, kPairedDeviceIsTrusted, trusted) == DM::DEVICE_OK;
    LogMessage(kInfo, L"TandorConfig::GetDevicePairedTimeCycle", L"get trustedValue=", trusted);
    const bool time_read = ReadAttribute(deviceName, kDevicePairedTime, pairedTime) == DM::DEVICE_OK;
    const bool cycle_read = ReadAttribute(deviceName, kDevicePairedTimeCycle, timeCycle) == DM::DEVICE_OK;
    return trust_read && time_read && cycle_read;
}

bool TandorConfig::SetIsReConnectSupported(const std::string& deviceName, bool value) {
    return Save(deviceName, {kPairedDeviceIsReconnect, L"save IsReconnect=", L"TandorConfig::SetIsReConnectSupported"},
                value ? 1 : 0);
}

bool TandorConfig::GetIsReConnectSupported(const std::string& deviceName) {
    return Load(deviceName, {kPairedDeviceIsReconnect, L"get IsReconnect=", L"TandorConfig::GetIsReConnectSupported"},
                true);
}

void TandorConfig::SetReconnectPermission(const std::string& deviceName, bool permit) {
    constexpr const wchar_t* kFunction = L"TandorConfig::SetReconnectPermission";
    if (StoreAttribute(deviceName, kReconnectPermit, permit) != DM::DEVICE_OK) {
        return LogMessage(kInfo, kFunction, L"SetValue of reconnect_permit failed");
    }
    LogMessage(kInfo, kFunction, L"save reconnect_permit=", permit);
}

bool TandorConfig::GetReconnectPermission(const std::string& deviceName) {
    constexpr const wchar_t* kFunction = L"TandorConfig::GetReconnectPermission";
    std::string permit;
    if (ReadAttribute(deviceName, kReconnectPermit, permit) != DM::DEVICE_OK) {
        LogMessage(kInfo, kFunction, L"read reconnect_permit failed, use default value:1");
        return true;
    }
    LogMessage(kInfo, kFunction, L"get reconnect_permit=", permit);
    return permit != "0" && permit != "false";
}

bool TandorConfig::SetBussinessUseState(const std::string& deviceName, bool value) {
    Save(deviceName, {kBussUseState, L"save UseState=", L"TandorConfig::SetBussinessUseState"}, value);
    return true;
}

bool TandorConfig::GetBussinessUseState(const std::string& deviceName) {
    return Load(deviceName, {kBussUseState, L"get UseState=", L"TandorConfig::GetBussinessUseState"}, false);
}

bool TandorConfig::SetSyncDeviceState(const std::string& deviceName, Tandor::DeviceStateType type, int value) {
    constexpr const wchar_t* kFunction = L"TandorConfig::SetSyncDeviceState";
    if (type != Tandor::DeviceStateType::MULTI_DEVICE_SYNC_SWITCH) {
        LogMessage(kInfo, kFunction, L"SetSyncDeviceState unknown type=", type);
        return false;
    }
    return Save(deviceName, {kSyncSwitch, L"SetSyncDeviceState MULTI_DEVICE_SYNC_SWITCH value=", kFunction}, value);
}

int TandorConfig::GetSyncDeviceState(const std::string& deviceName, Tandor::DeviceStateType type) {
    constexpr const wchar_t* kFunction = L"TandorConfig::GetSyncDeviceState";
    if (type != Tandor::DeviceStateType::MULTI_DEVICE_SYNC_SWITCH) {
        LogMessage(kInfo, kFunction, L"GetSyncDeviceState unknown type=", type);
        return 0;
    }
    return Load(deviceName, {kSyncSwitch, L"GetSyncDeviceState MULTI_DEVICE_SYNC_SWITCH value=", kFunction}, 0);
}
