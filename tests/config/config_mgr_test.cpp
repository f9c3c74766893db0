#include "pelora/product.h"
#include "pelora/xml.h"
#include "support/testing.h"
#include "tandor/screen_config.h"

namespace {

using namespace tandor::test;

namespace fs = std::filesystem;

constexpr const wchar_t* kSetting = L"\\SOFTWARE\\Vextro\\Pelora\\Pad\\setting";

// A program in a folder of its own, beside its configuration.
class ScreenProgram {
public:
    ScreenProgram() {
        fs::copy_file(L"test_child.exe", Program());
        fs::create_directories(Config().parent_path());
        fs::create_directories(Pad().parent_path());
    }
    [[nodiscard]] fs::path Program() const { return folder_.path / L"Programm 手机.exe"; }
    [[nodiscard]] fs::path Config() const { return folder_.path / L"config/VxExScreen/VxExScreenConfig.xml"; }
    [[nodiscard]] fs::path Pad() const { return folder_.path / L"cloundConfig/VxExScreen/PadResolutionConfig.xml"; }

    // The lines that its first use of the configuration leaves.
    std::vector<std::string> Run() {
        const auto run = RunProgram(L"\"" + Program().native() + L"\" screen-values");
        EXPECT_EQ(run.exit_code, 0) << run.error;
        return LinesIn(run.out);
    }

private:
    TemporaryFolder folder_;
};

TEST(ConfigMgr, ReadsTheShippedSamplesBesideTheProgram) {
    const MachineText type(kSuiteKey, L"DeviceType", L"PLR-W16B");
    Registry::DeleteValue(RegistryRoot::kUser, kSetting, L"supportAudioSwitch");
    ScreenProgram program;
    fs::copy_file(L"config\\VxExScreen\\VxExScreenConfig.xml", program.Config());
    fs::copy_file(L"cloundConfig\\VxExScreen\\PadResolutionConfig.xml", program.Pad());
    const auto lines = program.Run();
    for (const char* const line :
         {"type PLR-W16B", "video 90 20971520 10 90", "configured 1 1 1 1", "follow pc 2560 1600 168",
          "audio 20 320 96000 24 4", "flags 1 1 1 0", "lists 3 2 3 2560 1600 2560 1600",
          "3 [ConfigMgr]found PLR-W16B config(ExScreen::ConfigMgr::ReadAutoDetectNodeInfo)"})
        EXPECT_EQ(std::ranges::count(lines, line), 1) << line;
    EXPECT_THAT(
        lines,
        Contains("3 [ConfigMgr]ReadResolutionList width:2160,height:1440(ExScreen::ConfigMgr::ReadResolutionList)"));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("null"))));
    EXPECT_EQ(ReadValue<std::uint32_t>(RegistryRoot::kUser, kSetting, L"supportAudioSwitch"), 1u);
    EXPECT_THAT(ReadAll(L"C:\\ProgramData\\Comms\\Pelora\\log\\usr\\KoViewMirror.log"),
                HasSubstr("[ConfigMgr]found PLR-W16B config\r\n"));
}

// Every value differs, so that no getter can answer another's.
TEST(ConfigMgr, EveryGetterAnswersItsOwnValue) {
    const MachineText type(kSuiteKey, L"DeviceType", L"PC-1");
    ScreenProgram program;
    const auto size = [](const std::string& which, int width) {
        const auto edge = [&](const char* name, int pixels) {
            return "<" + which + name + ">" + std::to_string(pixels) + "</" + which + name + ">";
        };
        return edge("Width", width) + edge("Height", width == 1305 ? 70000 : width + 1);
    };
    const auto both = [](const std::string& layout) {
        return "<Horizontal>" + layout + "</Horizontal><Vertical>" + layout + "</Vertical>";
    };
    const std::string device = "<Device><Type>PC-1</Type>";
    WriteAll(program.Config(),
             "\xEF\xBB\xBF<R><AutoDetect><Support>PC-1</Support><PC-1><MinVolumn>11</MinVolumn><Margin>12</Margin>"
             "<SampleRate>13</SampleRate><BitDepth>14</BitDepth><InCh>5</InCh></PC-1></AutoDetect>"
             "<AudioSwitch><NoSupport>PC-1</NoSupport></AudioSwitch><DriverLimitSwitch>1</DriverLimitSwitch>"
             "<LcdDirection><PC-1><Rotation>90</Rotation></PC-1></LcdDirection><DeviceConfig>" +
                 device +
                 "<FpsThreshold>61</FpsThreshold><EncoderBitrate>7000000</EncoderBitrate><EncoderIdrInterval>7"
                 "</EncoderIdrInterval><DisplayFrequency>77</DisplayFrequency></Device></DeviceConfig><FollowPC>" +
                 device + size("Primary", 1101) + "<PrimaryDpi>303</PrimaryDpi></Device></FollowPC><FollowPad>" +
                 both("<Hide>" + size("Primary", 1201) + "</Hide><Show>" + size("Primary", 1203) + "</Show>") +
                 "</FollowPad>" +
                 both(size("Primary", 1301) + "<Hide>" + size("Secondary", 1303) + "</Hide><Show>" +
                      size("Secondary", 1305) + "</Show>") +
                 "</R>");
    const auto list = [&](int width) { return "<Resolution>" + size("", width) + "</Resolution>"; };
    WriteAll(program.Pad(), "<R><ResolutionConfig><Mirror>" + list(500) + "</Mirror><Extend>" + list(501) + list(502) +
                                "</Extend></ResolutionConfig><MonitorResolutionConfig><Ratio3To2>" + list(503) +
                                "</Ratio3To2></MonitorResolutionConfig><PadResolutionConfig><Ratio3To2>" + list(504) +
                                "</Ratio3To2></PadResolutionConfig></R>");
    auto lines = program.Run();
    std::erase_if(lines, [](const std::string& line) { return line.find('(') != std::string::npos; });
    EXPECT_THAT(lines,
                ElementsAre("type PC-1", "follow pc 1101 1102 303", "follow pad 1201 1202 1203 1204",
                            "extend 1301 1302 1303 1304 1305 70000", "video 61 7000000 7 77", "configured 1 1 1 1",
                            "audio 11 12 13 14 5", "flags 1 0 1 0", "rotation 90", "lists 1 2 1 504 505 503 504"));
}

TEST(ConfigMgr, WritesTheAudioSwitchOfAnExcludedModel) {
    const MachineText type(kSuiteKey, L"DeviceType", L"PC-手机");
    ScreenProgram program;
    WriteAll(program.Config(),
             "<R><AudioSwitch><NoSupport>x;PC-\xE6\x89\x8B\xE6\x9C\xBA</NoSupport></AudioSwitch></R>");
    EXPECT_THAT(program.Run(), Contains("type PC-\xE6\x89\x8B\xE6\x9C\xBA"));
    EXPECT_EQ(ReadValue<std::uint32_t>(RegistryRoot::kUser, kSetting, L"supportAudioSwitch"), 0u);
}

TEST(ConfigMgr, FilesThatCannotBeReadLeaveDefaultsAndSayWhy) {
    const MachineText type(kSuiteKey, L"DeviceType", L"PC-1");
    ScreenProgram program;
    const std::string missing =
        "4 [ConfigMgr]VxExScreen config file does not exist.(ExScreen::ConfigMgr::LoadConfigFile)";
    const std::string broken = "4 [ConfigMgr]Load config file failed.(ExScreen::ConfigMgr::LoadConfigFile)";
    const std::string stopped = "4 [ConfigMgr]load cfg file failed(ExScreen::ConfigMgr::LoadConfig)";
    const auto tagged = [](std::vector<std::string> lines) {
        EXPECT_THAT(lines, testing::IsSupersetOf({"type PC-1", "follow pc 1920 1280 0", "audio 20 320 48000 32 2"}));
        std::erase_if(lines, [](const std::string& line) { return line.find("[ConfigMgr]") == std::string::npos; });
        return lines;
    };
    EXPECT_THAT(tagged(program.Run()), ElementsAre(missing, stopped));
    std::string nested;
    for (int i = 0; i < 100'000; ++i) nested += "<a>";
    const std::string utf16("\xFF\xFE<\0R\0/\0>\0", 10);
    for (const std::string& text : {std::string(), std::string("no XML"), utf16, std::string("<R><AutoDetect>"), nested,
                                    "<R>" + std::string(VxXMLDocument::kLargestFile, ' ') + "</R>"}) {
        WriteAll(program.Config(), text);
        EXPECT_THAT(tagged(program.Run()), ElementsAre(broken, stopped)) << text.substr(0, 20);
    }
    {
        WriteAll(program.Config(), "<R/>");
        const tandor::FileHandle locked(
            ::CreateFileW(program.Config().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(locked);
        EXPECT_THAT(tagged(program.Run()), ElementsAre(broken, stopped));
    }
    fs::remove(program.Config());
    fs::create_directory(program.Config());
    EXPECT_THAT(tagged(program.Run()), ElementsAre(broken, stopped));
}

TEST(ConfigMgr, AnUnknownMachineKeepsDefaults) {
    const MachineText type(kSuiteKey, L"DeviceType", L"");
    const MachineText product(kBiosKey, L"SystemProductName", L"To Be Filled By O.E.M.");
    const MachineText board(kBiosKey, L"BaseBoardProduct", L" ");
    ScreenProgram program;
    const auto lines = program.Run();
    EXPECT_THAT(lines, Contains("4 [ConfigMgr]Failed to get device type.(ExScreen::ConfigMgr::LoadConfig)"));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("LoadConfigFile"))));
}

TEST(ProductCheckSupport, TakesTheFirstNameThatSomebodyFilledIn) {
    const MachineText type(kSuiteKey, L"DeviceType", L"");
    const MachineText board(kBiosKey, L"BaseBoardProduct", L"Board-7");
    {
        const MachineText product(kBiosKey, L"SystemProductName", L" PLR-W14A ");
        EXPECT_EQ(ProductCheckSupport::GetDeviceTypeEx(), "PLR-W14A");
        const MachineText override_type(kSuiteKey, L"DeviceType", L"Prüfling");
        EXPECT_EQ(ProductCheckSupport::GetDeviceTypeEx(), "Prüfling");
        EXPECT_EQ(ExScreen::ConfigMgr::GetDeviceType(), "Prüfling");
    }
    const MachineText product(kBiosKey, L"SystemProductName", L"Default string");
    EXPECT_EQ(ProductCheckSupport::GetDeviceTypeEx(), "Board-7");
}

TEST(ConfigMgr, HorizontalIsWhatTheDisplaySays) {
    HostLog log;
    const bool horizontal = ExScreen::ConfigMgr::IsHorizontal();
    const auto lines = log.Take();
    DEVMODEW mode{};
    mode.dmSize = sizeof(mode);
    if (::EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &mode) == 0 || mode.dmPelsWidth == 0) {
        EXPECT_FALSE(horizontal);  // no display: the query fails
        return;
    }
    EXPECT_EQ(horizontal, 2 * mode.dmPelsWidth == 3 * mode.dmPelsHeight);
    EXPECT_THAT(lines, Contains(L"3 [ConfigMgr]recommendWidth is " + std::to_wstring(mode.dmPelsWidth) +
                                L" recommendHeight is " + std::to_wstring(mode.dmPelsHeight) +
                                L"(ExScreen::ConfigMgr::IsHorizontal)"));
}

}  // namespace
