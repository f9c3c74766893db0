#include <fmt/format.h>

#include <fstream>

#include "app/panel_report.h"
#include "app/tour.h"
#include "base/utf.h"
#include "device/gamut_diagram.h"
#include "pelora/registry.h"
#include "tandor/edid.h"
#include "tandor/screen_config.h"

namespace tandor::app {
namespace {

constexpr const wchar_t* kDevice = L"DISPLAY\\VXT0042\\tandor-tour";
constexpr const wchar_t* kDeviceKey = L"SYSTEM\\CurrentControlSet\\Enum\\DISPLAY\\VXT0042\\tandor-tour";

// The sample panel among the machine's monitors, for as long as the object lives; where the machine does not let itself
// be changed, nothing happens and Registered says so.
class SamplePanel {
public:
    explicit SamplePanel(const std::vector<unsigned char>& edid)
        : registered_(DE::Registry::SetValue(DE::RegistryRoot::kLocalMachine,
                                             std::wstring(kDeviceKey) + L"\\Device Parameters", L"EDID", edid)) {}
    ~SamplePanel() {
        if (registered_) DE::Registry::DeleteKey(DE::RegistryRoot::kLocalMachine, kDeviceKey);
    }
    SamplePanel(const SamplePanel&) = delete;
    SamplePanel& operator=(const SamplePanel&) = delete;
    [[nodiscard]] bool Registered() const { return registered_; }

private:
    bool registered_;
};

// A model of the sample files, on a machine that does not know its own, for as long as the object lives.
class SampleModel {
public:
    SampleModel()
        : set_(ExScreen::ConfigMgr::GetDeviceType().empty() &&
               DE::Registry::SetValue(DE::RegistryRoot::kLocalMachine, kSuiteKey, kName, std::wstring(L"PLR-W14A"))) {}
    ~SampleModel() {
        if (set_) DE::Registry::DeleteValue(DE::RegistryRoot::kLocalMachine, kSuiteKey, kName);
    }
    SampleModel(const SampleModel&) = delete;
    SampleModel& operator=(const SampleModel&) = delete;
    [[nodiscard]] const char* Note() const { return set_ ? " (from the samples: this PC does not know its own)" : ""; }

private:
    static constexpr const wchar_t* kSuiteKey = L"SOFTWARE\\Vextro\\Pelora";
    static constexpr const wchar_t* kName = L"DeviceType";
    bool set_;
};

}  // namespace

void TourScreen(TourReport& report) {
    const SampleModel model;
    const ExScreen::ConfigMgr& config = ExScreen::ConfigMgr::GetInstance();
    const std::string type = ExScreen::ConfigMgr::GetDeviceType();
    report.Result("this PC's device type", type.empty() ? "not known: defaults hold" : type + model.Note());
    report.Result("mirrored size", fmt::format("{} x {}", config.GetFollowPCWidth(), config.GetFollowPCHeight()));
    report.Result("extended size", fmt::format("{} x {}", config.GetExtendPrimWidth(), config.GetExtendPrimHeight()));
    report.Result("encoder bit rate", config.ConfiguredEncoderBitrate() ? std::to_string(config.GetEncoderBitrate())
                                                                        : "not configured for this type");
    report.Result("audio", fmt::format("{} Hz, {} bits, {} channels", config.GetSampleRate(), config.GetBitDepth(),
                                       config.GetInCh()));
    ExScreen::Resolution resolution;
    if (config.GetPadPreResolution(2800, 1840, resolution)) {
        report.Result("for a pad of 2800 x 1840", fmt::format("{} x {}", resolution.width, resolution.height));
    }
    report.Result("display is 3:2", ExScreen::ConfigMgr::IsHorizontal() ? "yes" : "no");
}

void TourPanel(TourReport& report) {
    const std::string sample = ReadInput(TextOf(ProgramFolder() / "samples" / "wide-panel.edid"));
    std::vector<unsigned char> edid(sample.begin(), sample.end());
    const SamplePanel panel(edid);
    if (panel.Registered()) edid = GetEdidData::GetLcdEdidData(GetEdidData::GetEdidDataPath(kDevice));
    report.Result("EDID", panel.Registered()
                              ? fmt::format("{} bytes, from the registry", edid.size())
                              : fmt::format("{} bytes, from the sample (the registry is not writable)", edid.size()));
    const auto block = ReadEdid(edid);
    if (!block) throw CommandError("the panel's EDID", "it came back cut", "look at the host log");
    std::vector<double> list(8);
    if (!GetEdidData::ParseCoordinateFromEdid(edid.data(), static_cast<unsigned>(edid.size()), list)) {
        throw CommandError("the panel's EDID", "its coordinates cannot be read", "look at the host log");
    }
    const GetEdidData::Points points{{list[0], list[1]}, {list[2], list[3]}, {list[4], list[5]}, {list[6], list[7]}};
    report.Result("panel", PanelTitle(*block));
    report.Result("P3 / Adobe RGB / BT.2020",
                  fmt::format("{} / {} / {}", GetEdidData::IsSupportP3Gamut(points) ? "yes" : "no",
                              GetEdidData::IsSupportAdobeRGBGamut(points) ? "yes" : "no",
                              GetEdidData::IsSupportBT2020Gamut(points) ? "yes" : "no"));
    const std::filesystem::path picture = report.Folder() / "panel.svg";
    std::ofstream(picture, std::ios::binary) << GamutDiagram(PanelTitle(*block), block->gamut);
    report.Result("picture", TextOf(picture));
}

}  // namespace tandor::app
