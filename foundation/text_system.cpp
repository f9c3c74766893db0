// The members of TandorUtilClass that ask the device manager or the registry.
#include <optional>

#include "foundation/message.h"
#include "foundation/sharing_key.h"
#include "pelora/device_manager.h"
#include "pelora/registry.h"
#include "tandor/text.h"

namespace {

constexpr unsigned int kPhoneSystem10 = 0x0A000064;  // 10.0.0.100

std::optional<unsigned int> PeerVersion(const std::string& device_name, std::wstring_view function) {
    std::string version;
    const int result =
        DM::DeviceMgr::GetInstance().GetPresentDeviceInfoByName(device_name, "peerDeviceVersion", version);
    tandor::LogMessage(tandor::kInfo, function, L" DeviceVersion : ", version);
    if (result != 0) {
        tandor::LogMessage(tandor::kInfo, function, L"Get DeviceVersion fail");
        return std::nullopt;
    }
    return TandorUtilClass::CalcVersion(version);
}

}  // namespace

unsigned int TandorUtilClass::GetPeerDeviceVersion(const std::string& deviceName) {
    return PeerVersion(deviceName, L"TandorUtilClass::GetPeerDeviceVersion").value_or(0);
}

bool TandorUtilClass::IsDeviceVersionMoreThanKOSM10(const std::string& deviceName) {
    return PeerVersion(deviceName, L"TandorUtilClass::IsDeviceVersionMoreThanKOSM10").value_or(0) >= kPhoneSystem10;
}

bool TandorUtilClass::IsDeviceVersionMoreThanKOSM10() {
    return GetKoShareRegistValue(L"PairDeviceVersion", 0) >= kPhoneSystem10;
}

unsigned int TandorUtilClass::GetKoShareRegistValue(const std::wstring& name, unsigned int defaultValue) {
    std::uint32_t value = defaultValue;
    DE::Registry::GetValue(DE::RegistryRoot::kUser, tandor::kSharingKey, name, value);
    return value;
}
