// The members of TandorUtilClass that ask the device manager, the registry or the display.
#include <windows.h>

#include <optional>

#include "base/utf.h"
#include "base/win_system_entry.h"
#include "foundation/message.h"
#include "pelora/device_manager.h"
#include "pelora/registry.h"
#include "tandor/text.h"

namespace {

constexpr unsigned int kPhoneSystem10 = 0x0A000064;  // 10.0.0.100
constexpr int kThumbSize = 110;
constexpr int kQrSize = 300;

std::optional<unsigned int> PeerVersion(const std::string& device_name, std::wstring_view function) {
    std::string version;
    const int result = DM::DeviceMgr::GetInstance().GetPresentDeviceInfoByName(device_name, "peerDeviceVersion", version);
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
    DE::Registry::GetValue(DE::RegistryRoot::kUser, L"\\SOFTWARE\\Vextro\\Pelora\\KoShare", name, value);
    return value;
}

int TandorUtilClass::GetHintThumbSize() {
    // Systems before Windows 10 1607 have no such entry and are asked through the screen's device context.
    if (const auto dpi_of_system = tandor::SystemEntry<UINT WINAPI()>(L"user32.dll", "GetDpiForSystem")) {
        return ::MulDiv(kThumbSize, static_cast<int>(dpi_of_system()), USER_DEFAULT_SCREEN_DPI);
    }
    const HDC screen = ::GetDC(nullptr);
    const int dpi = screen != nullptr ? ::GetDeviceCaps(screen, LOGPIXELSY) : USER_DEFAULT_SCREEN_DPI;
    if (screen != nullptr) ::ReleaseDC(nullptr, screen);
    return ::MulDiv(kThumbSize, dpi, USER_DEFAULT_SCREEN_DPI);
}

int TandorUtilClass::GetHintQRSize() { return kQrSize; }
