#include <fmt/format.h>

#include "app/panel_report.h"
#include "app/places.h"
#include "app/screen_view.h"
#include "app/tour.h"
#include "device/gamut_diagram.h"
#include "tandor/edid.h"
#include "tandor/screen_config.h"

namespace tandor::app {
namespace {

constexpr const char* kSampleModel = "PLR-W14A";

void Judge(TourReport& report, const std::string& whose, const std::vector<unsigned char>& edid) {
    const auto block = ReadEdid(edid);
    std::vector<double> list(8);
    if (!block || !GetEdidData::ParseCoordinateFromEdid(edid.data(), static_cast<unsigned>(edid.size()), list)) {
        throw CommandError(whose, "its coordinates cannot be read", "look at the host log");
    }
    const GetEdidData::Points points{{list[0], list[1]}, {list[2], list[3]}, {list[4], list[5]}, {list[6], list[7]}};
    report.Result(whose, fmt::format("{}, an EDID of {} bytes", PanelTitle(*block), edid.size()), PanelTitle(*block));
    const auto yes = [](bool value) { return value ? "yes" : "no"; };
    const bool p3 = GetEdidData::IsSupportP3Gamut(points), adobe = GetEdidData::IsSupportAdobeRGBGamut(points),
               bt2020 = GetEdidData::IsSupportBT2020Gamut(points);
    report.Result("P3 / Adobe RGB / BT.2020", fmt::format("{} / {} / {}", yes(p3), yes(adobe), yes(bt2020)),
                  {{"P3", p3}, {"Adobe RGB", adobe}, {"BT.2020", bt2020}});
    const std::filesystem::path picture = report.Folder() / "panel.svg";
    WriteOutput(TextOf(picture), GamutDiagram(PanelTitle(*block), block->gamut));
    report.Result("picture of the verdict", TextOf(picture));
}

}  // namespace

void TourScreen(TourReport& report) {
    const ExScreen::ConfigMgr& config = ExScreen::ConfigMgr::GetInstance();
    const std::string type = ExScreen::ConfigMgr::GetDeviceType();
    report.Result("this PC's device type", type.empty() ? "not known: defaults hold" : type, type);
    report.Result("mirrored size", fmt::format("{} x {}", config.GetFollowPCWidth(), config.GetFollowPCHeight()));
    report.Result("extended size", fmt::format("{} x {}", config.GetExtendPrimWidth(), config.GetExtendPrimHeight()));
    report.Result("encoder bit rate", config.ConfiguredEncoderBitrate() ? std::to_string(config.GetEncoderBitrate())
                                                                        : "not configured for this type");
    report.Result("audio", fmt::format("{} Hz, {} bits, {} channels", config.GetSampleRate(), config.GetBitDepth(),
                                       config.GetInCh()));
    report.Result("display is 3:2", ExScreen::ConfigMgr::IsHorizontal() ? "yes" : "no");

    // The same files as a PC of a model reads them that stands in them, whatever this PC is.
    const ScreenReading reading = LookAtScreen(ProgramFolder(), kSampleModel);
    const ScreenSettings& settings = reading.settings;
    for (const Json& failure : MessagesOf(reading, true)) {
        throw CommandError("the screen configuration", failure["text"].get<std::string>(),
                           "'tandorctl screen check' names what is wrong");
    }
    report.Result("files", TextOf(ProgramFolder() / kScreenConfigFile));
    report.Result("", TextOf(ProgramFolder() / kPadResolutionFile));
    for (const ScreenValue value :
         {ScreenValue::kFollowPcWidth, ScreenValue::kFollowPcHeight, ScreenValue::kEncoderBitrate}) {
        const Origin origin = OriginOf(settings, value, kSampleModel);
        report.Result(fmt::format("{}, {}", kSampleModel, RuleOf(value).name),
                      fmt::format("{} ({})", settings.Answer(value), TextOf(origin)), settings.Answer(value));
        Expect(origin.why.empty(), "a value of the sample files");
    }
}

void TourPanel(TourReport& report) {
    const std::wstring device = GetEdidData::GetPnpDeviceID();
    const auto own = device.empty() ? std::vector<unsigned char>()
                                    : GetEdidData::GetLcdEdidData(GetEdidData::GetEdidDataPath(device));
    if (!own.empty()) return Judge(report, "this PC's panel", own);
    report.Result("this PC's panel", "none of the maker's own make is attached: a sample is judged");
    const std::string sample = ReadInput(TextOf(ProgramFolder() / "samples" / "wide-panel.edid"));
    Judge(report, "sample panel", {sample.begin(), sample.end()});
}

}  // namespace tandor::app
