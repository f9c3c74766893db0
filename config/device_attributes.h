// The named attributes of devices, a row each: everything that is fixed about one stands here.
#pragma once

#include <string>
#include <type_traits>

#include "config/device_access.h"

namespace tandor {

enum class Collection { kPresent, kBound };

// The types in which an attribute is written and read may differ, on purpose: the device manager converts.
template <class Written, class Read = Written, Collection kIn = Collection::kPresent>
struct Attribute {
    const wchar_t* key;
    const wchar_t* save = L"";              // what the log says before a value that was written,
    const wchar_t* before_ret = L" ,ret:";  // behind it, before the device manager's code,
    const wchar_t* not_saved = L"";         // instead of both, for setters that return nothing,
    const wchar_t* get = L"";               // and before a value that was read
    bool initial = false;                   // what a getter returns when there is nothing to read

    using Value = Written;
    using Result = Read;

    [[nodiscard]] int Store(const std::string& device, Written value) const {
        if constexpr (kIn == Collection::kBound) {
            return Devices().SetBoundDeviceInfoByName(device, Utf8FromWide(key), value);
        } else {
            return Devices().SetPresentDeviceInfoByName(device, Utf8FromWide(key), value);
        }
    }
    // A read that fails leaves `value`.
    [[nodiscard]] int Fetch(const std::string& device, Read& value) const {
        if constexpr (kIn == Collection::kBound) {
            return Devices().GetBoundDeviceInfoByName(device, Utf8FromWide(key), value);
        } else {
            return Devices().GetPresentDeviceInfoByName(device, Utf8FromWide(key), value);
        }
    }
};

namespace attribute {

using Text = std::string;
using WideText = std::wstring;
using Number64 = unsigned long long;

inline constexpr Attribute<bool, int> kApkVersionNotMatch{
    .key = L"ApkVersionNotMatch",
    .not_saved = L"SetApkVersionNotMatch SetPresentDeviceInfoByName failed.",
    .get = L"get apkVersionNotMatch="};
inline constexpr Attribute<int> kConnect{.key = L"isConnected",
                                         .not_saved = L"SetPairDeviceConnect  SetPresentDeviceInfoByName failed."};
inline constexpr Attribute<Text> kBluetoothName{.key = L"devName", .save = L"save bluetoothName="};
inline constexpr Attribute<bool, int> kPhoneMirror{
    .key = L"IsPhoneMirrorSupported", .save = L"save phoneMirrorSupported=", .get = L"get phoneMirrorSupported="};
inline constexpr Attribute<bool> kFileSystem{.key = L"IsFileSystemSupported", .save = L"save FileSystemSupporte="};
inline constexpr Attribute<bool> kAuthorized{
    .key = L"PairedIsAuthorized", .save = L"save isAuthorized=", .get = L"get isAuthorized="};
inline constexpr Attribute<bool> kConnectState{.key = L"IsConnected", .get = L"get isAuthorized="};
inline constexpr Attribute<int, bool> kTrusted{.key = L"PairedDeviceIsTrusted",
                                               .save = L"save trustedValue=",
                                               .before_ret = L", ret: ",
                                               .get = L"get trustedValue="};
inline constexpr Attribute<WideText, Number64> kPairedTime{
    .key = L"DevicePairedTime", .save = L"save pairedTime= ", .before_ret = L", ret: "};
inline constexpr Attribute<WideText, Number64> kPairedTimeCycle{
    .key = L"DevicePairedTimeCycle", .save = L"save timeCycle= ", .before_ret = L", ret: "};
inline constexpr Attribute<int, bool> kReconnect{
    .key = L"PairedDeviceIsReconnect", .save = L"save IsReconnect=", .get = L"get IsReconnect=", .initial = true};
inline constexpr Attribute<bool, Text> kReconnectPermit{.key = L"pairedDeviceReconnectPermit",
                                                        .save = L"save reconnect_permit=",
                                                        .not_saved = L"SetValue of reconnect_permit failed",
                                                        .get = L"get reconnect_permit="};
inline constexpr Attribute<bool> kBusinessUse{
    .key = L"PairedDeviceBussUseState", .save = L"save UseState=", .get = L"get UseState="};
inline constexpr Attribute<int> kSyncSwitch{.key = L"MultiDeviceSyncSwitch",
                                            .save = L"SetSyncDeviceState MULTI_DEVICE_SYNC_SWITCH value=",
                                            .get = L"GetSyncDeviceState MULTI_DEVICE_SYNC_SWITCH value="};
// Seconds, all of them.
inline constexpr Attribute<Text> kAlbumTimespan{.key = L"OpenAlbumTimespan"};
inline constexpr Attribute<Text> kMusicAlbumTimespan{.key = L"OpenMusicAlbumTimespan"};
inline constexpr Attribute<Text> kVideoTimespan{.key = L"OpenVideoTimespan"};
inline constexpr Attribute<Text> kFirstAlbumOpen{.key = L"FirstAlbumOpenTime"};
inline constexpr Attribute<Text> kLastAlbumOpen{.key = L"LastAlbumOpenTime"};
// Its content is never logged.
inline constexpr Attribute<Text, Text, Collection::kBound> kKeyStore{
    .key = L"hks_keystore", .save = L"save keyStore", .get = L"get keyStore"};

}  // namespace attribute
}  // namespace tandor
