// What the registry keeps about a media-playback device.
#include <optional>
#include <stdexcept>

#include "base/utf.h"
#include "foundation/message.h"
#include "foundation/sharing_key.h"
#include "pelora/registry.h"
#include "tandor/paired_device_config.h"

namespace {

using DE::Registry;
using DE::RegistryRoot;
using tandor::kFailure;
using tandor::LogMessage;

constexpr std::size_t kLongestKeyName = 255;

std::optional<std::wstring> Wide(const std::string& text) {
    try {
        return tandor::WideFromUtf8(text);
    } catch (const std::range_error&) {
        return std::nullopt;
    }
}

// One device is one key: a backslash in its name must not make two.
std::optional<std::wstring> KeyOf(const std::string& device, const wchar_t* function) {
    std::wstring name;
    for (const wchar_t c : Wide(device).value_or(L"")) {
        if (c == L'%') {
            name += L"%25";
        } else if (c == L'\\') {
            name += L"%5C";
        } else if (c != L'\0') {
            name += c;
        } else {
            name += L"%00";
        }
    }
    if (name.empty() || name.size() > kLongestKeyName) {
        LogMessage(kFailure, function, L"device name is no key's name: ", device);
        return std::nullopt;
    }
    return std::wstring(tandor::kSharingKey) + L"\\" + name;
}

template <class Member>
void ReadNumber(const std::wstring& key, const wchar_t* name, Member assign) {
    std::uint32_t value = 0;
    if (Registry::GetValue(RegistryRoot::kUser, key, name, value)) assign(value);
}

}  // namespace

bool GetKoPlayDeviceHelper(const std::string& deviceName, BluetoothDeviceSummary& device) {
    const auto key = KeyOf(deviceName, L"GetKoPlayDeviceHelper");
    if (!key || !Registry::KeyExists(RegistryRoot::kUser, *key)) return false;
    ReadNumber(*key, L"DevType", [&](std::uint32_t value) { device.DevType = static_cast<std::int32_t>(value); });
    ReadNumber(*key, L"ShareType", [&](std::uint32_t value) { device.ShareType = static_cast<std::int32_t>(value); });
    ReadNumber(*key, L"ReverseChannel", [&](std::uint32_t value) { device.IsReverseChannel = value != 0; });
    ReadNumber(*key, L"Wifi5GAbility", [&](std::uint32_t value) { device.IsWifi5GAbility = value != 0; });
    ReadNumber(*key, L"IsPaired", [&](std::uint32_t value) { device.IsPaired = value == 1; });
    ReadNumber(*key, L"PCIsAuthorState",
               [&](std::uint32_t value) { device.AuthorState = static_cast<std::int32_t>(value); });
    return true;
}

bool SetKoPlayDeviceHelper(const std::string& deviceName, const BluetoothDeviceSummary& device) {
    constexpr const wchar_t* kFunction = L"SetKoPlayDeviceHelper";
    const auto key = KeyOf(deviceName, kFunction);
    const auto account = Wide(device.AccountInfo);
    if (!account) LogMessage(kFailure, kFunction, L"AccountInfo is not UTF-8, device: ", deviceName);
    if (!key || !account) return false;
    const auto set = [&](const wchar_t* name, const auto& value) {
        return Registry::SetValue(RegistryRoot::kUser, *key, name, value);
    };
    const bool account_set = set(L"PairDeviceAccountInfo", *account);
    const bool trusted_set = set(L"PairedDeviceIsTrusted", std::uint32_t{device.IsTrusted});
    const bool type_set = set(L"PairedDeviceTrusteType", static_cast<std::uint32_t>(device.TrustType));
    return account_set && trusted_set && type_set;
}
