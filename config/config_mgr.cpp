// ConfigMgr: the reader on this machine, and the answers.
#include <windows.h>

#include "config/display_query.h"
#include "config/screen_reader.h"
#include "config/screen_settings.h"
#include "foundation/message.h"
#include "pelora/product.h"
#include "pelora/registry.h"
#include "tandor/screen_config.h"

namespace ExScreen {
namespace {

using tandor::ScreenValue;

constexpr std::size_t kLongestPath = 32768;

void LogScreen(LOG_MESSAGE_LEVEL level, std::wstring_view function, std::wstring_view text) {
    static const Logger channel("KoViewMirror");
    tandor::LogMessage(channel, level, function, tandor::Tag{L"ConfigMgr"}, text);
}

// The folder of the host program; says why when it cannot be had.
bool HostFolder(std::wstring& folder) {
    folder.resize(kLongestPath);
    const DWORD length = ::GetModuleFileNameW(nullptr, folder.data(), static_cast<DWORD>(folder.size()));
    if (length == 0 || length >= folder.size()) {
        LogScreen(tandor::kFailure, L"ExScreen::ConfigMgr::LoadConfigFile",
                  L"failed to get module path, errcode: " + std::to_wstring(::GetLastError()));
        return false;
    }
    folder.resize(length);
    folder.resize(folder.rfind(L'\\') == std::wstring::npos ? 0 : folder.rfind(L'\\'));
    return true;
}

}  // namespace

struct ConfigMgr::Settings : tandor::ScreenSettings {};

ConfigMgr::ConfigMgr() : settings_(new Settings) { LoadConfig(); }

ConfigMgr::~ConfigMgr() { delete settings_; }

ConfigMgr& ConfigMgr::GetInstance() {
    static ConfigMgr instance;
    return instance;
}

void ConfigMgr::LoadConfig() {
    constexpr std::wstring_view kFunction = L"ExScreen::ConfigMgr::LoadConfig";
    const std::string device_type = GetDeviceType();
    if (device_type.empty()) return LogScreen(tandor::kFailure, kFunction, L"Failed to get device type.");
    std::wstring folder;
    if (!HostFolder(folder)) return LogScreen(tandor::kFailure, kFunction, L"load cfg file failed");
    const tandor::ScreenReading reading = tandor::LoadScreenSettings(folder, device_type, IsHorizontal);
    static_cast<tandor::ScreenSettings&>(*settings_) = reading.settings;
    for (const tandor::ScreenFinding& finding : reading.findings)
        LogScreen(finding.level, finding.function, finding.Text());
    if (settings_->Stored(ScreenValue::kAudioSwitch).source == tandor::StoredValue::Source::kFile) {
        // A failed write has said so in the host log.
        DE::Registry::SetValue(DE::RegistryRoot::kUser, L"\\SOFTWARE\\Vextro\\Pelora\\Pad\\setting",
                               L"supportAudioSwitch", std::uint32_t{IsSupportAudioSwitch()});
    }
}

std::string ConfigMgr::GetDeviceType() { return ProductCheckSupport::GetDeviceTypeEx(); }

bool ConfigMgr::IsHorizontal() {
    const auto display = tandor::RecommendedDisplay();
    if (!display) return false;
    LogScreen(tandor::kInfo, L"ExScreen::ConfigMgr::IsHorizontal",
              L"recommendWidth is " + std::to_wstring(display->size.width) + L" recommendHeight is " +
                  std::to_wstring(display->size.height));
    return tandor::IsThreeByTwo(display->size);
}

unsigned int ConfigMgr::GetFollowPCWidth() const { return settings_->Answer(ScreenValue::kFollowPcWidth); }
unsigned int ConfigMgr::GetFollowPCHeight() const { return settings_->Answer(ScreenValue::kFollowPcHeight); }
unsigned int ConfigMgr::GetFollowPCDpi() const { return settings_->Answer(ScreenValue::kFollowPcDpi); }
unsigned int ConfigMgr::GetFollowPadHideWidth() const { return settings_->Answer(ScreenValue::kFollowPadHideWidth); }
unsigned int ConfigMgr::GetFollowPadHideHeight() const { return settings_->Answer(ScreenValue::kFollowPadHideHeight); }
unsigned int ConfigMgr::GetFollowPadShowWidth() const { return settings_->Answer(ScreenValue::kFollowPadShowWidth); }
unsigned int ConfigMgr::GetFollowPadShowHeight() const { return settings_->Answer(ScreenValue::kFollowPadShowHeight); }
unsigned int ConfigMgr::GetExtendPrimWidth() const { return settings_->Answer(ScreenValue::kExtendPrimWidth); }
unsigned int ConfigMgr::GetExtendPrimHeight() const { return settings_->Answer(ScreenValue::kExtendPrimHeight); }
unsigned int ConfigMgr::GetExtendHideSecWidth() const { return settings_->Answer(ScreenValue::kExtendHideSecWidth); }
unsigned int ConfigMgr::GetExtendHideSecHeight() const { return settings_->Answer(ScreenValue::kExtendHideSecHeight); }
unsigned int ConfigMgr::GetExtendShowSecWidth() const { return settings_->Answer(ScreenValue::kExtendShowSecWidth); }
unsigned int ConfigMgr::GetExtendShowSecHeight() const { return settings_->Answer(ScreenValue::kExtendShowSecHeight); }

unsigned int ConfigMgr::GetVolumnThresh() const { return settings_->Answer(ScreenValue::kMinVolume); }
unsigned int ConfigMgr::GetSpeakerMargin() const { return settings_->Answer(ScreenValue::kSpeakerMargin); }
unsigned int ConfigMgr::GetBitDepth() const { return settings_->Answer(ScreenValue::kBitDepth); }
unsigned int ConfigMgr::GetInCh() const { return settings_->Answer(ScreenValue::kInputChannels); }
unsigned int ConfigMgr::GetSampleRate() const { return settings_->Answer(ScreenValue::kSampleRate); }

unsigned int ConfigMgr::GetFpsThreshold() const { return settings_->Answer(ScreenValue::kFpsThreshold); }
unsigned int ConfigMgr::GetEncoderBitrate() const { return settings_->Answer(ScreenValue::kEncoderBitrate); }
unsigned int ConfigMgr::GetEncoderIdrInterval() const { return settings_->Answer(ScreenValue::kEncoderIdrInterval); }
unsigned int ConfigMgr::GetDisplayFrequency() const { return settings_->Answer(ScreenValue::kDisplayFrequency); }
bool ConfigMgr::ConfiguredFpsThreshold() const { return settings_->InRange(ScreenValue::kFpsThreshold); }
bool ConfigMgr::ConfiguredEncoderBitrate() const { return settings_->InRange(ScreenValue::kEncoderBitrate); }
bool ConfigMgr::ConfiguredEncoderIdrInterval() const { return settings_->InRange(ScreenValue::kEncoderIdrInterval); }
bool ConfigMgr::ConfiguredDisplayFrequency() const { return settings_->InRange(ScreenValue::kDisplayFrequency); }

bool ConfigMgr::IsSupportAutoDetect() const { return settings_->Answer(ScreenValue::kAutoDetect) != 0; }
bool ConfigMgr::IsSupportAudioSwitch() const { return settings_->Answer(ScreenValue::kAudioSwitch) != 0; }
bool ConfigMgr::IsDriverLimitOpen() const { return settings_->Answer(ScreenValue::kDriverLimit) != 0; }
bool ConfigMgr::IsReduceResolutionDevice() const { return settings_->Answer(ScreenValue::kReduceResolution) != 0; }
unsigned int ConfigMgr::GetScreenRotationParm() const { return settings_->Answer(ScreenValue::kRotation); }

const ResolutionList& ConfigMgr::GetMirrorResolutions() const { return settings_->mirror; }
const ResolutionList& ConfigMgr::GetExtendResolutions() const { return settings_->extend; }
const ResolutionTable& ConfigMgr::GetMonitorResolutionConfig() const { return settings_->monitor; }

bool ConfigMgr::GetMonitorPreResolution(unsigned int width, unsigned int height, Resolution& resolution) const {
    return tandor::ChooseResolution(settings_->monitor, {width, height}, resolution);
}
bool ConfigMgr::GetPadPreResolution(unsigned int width, unsigned int height, Resolution& resolution) const {
    return tandor::ChooseResolution(settings_->pad, {width, height}, resolution);
}

}  // namespace ExScreen
