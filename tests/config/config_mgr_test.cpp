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

const std::vector<std::string> kDefaults{
    "fps 0 0",    "bitrate 0 0",      "follow 1920x1280 0", "audio 20 320 48000 32 2",
    "flags 0000", "extend 1920x1280", "lists 0 0 0x0"};

std::vector<std::string> Expected(std::vector<std::string> lines, const std::string& type) {
    lines.push_back("type " + type);
    lines.insert(lines.end(), kDefaults.begin(), kDefaults.end());
    return lines;
}

TEST(ConfigMgr, ReadsTheShippedSamplesBesideTheProgram) {
    const MachineText type(kSuiteKey, L"DeviceType", L"PLR-W16B");
    Registry::DeleteValue(RegistryRoot::kUser, kSetting, L"supportAudioSwitch");
    ScreenProgram program;
    fs::copy_file(L"config\\VxExScreen\\VxExScreenConfig.xml", program.Config());
    fs::copy_file(L"cloundConfig\\VxExScreen\\PadResolutionConfig.xml", program.Pad());
    const auto lines = program.Run();
    for (const char* const line : {"type PLR-W16B", "fps 90 1", "bitrate 20971520 1", "follow 2560x1600 168",
                                   "audio 20 320 96000 24 4", "flags 1110", "lists 3 3 2560x1600",
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
        std::erase_if(lines, [](const std::string& line) {
            return line.find("[ConfigMgr]") == std::string::npos && line.find('(') != std::string::npos;
        });
        return lines;
    };
    EXPECT_EQ(tagged(program.Run()), Expected({missing, stopped}, "PC-1"));
    std::string nested;
    for (int i = 0; i < 100'000; ++i) nested += "<a>";
    for (const std::string& text : {std::string(), std::string("no XML"), std::string("<R><AutoDetect>"), nested,
                                    "<R>" + std::string(VxXMLDocument::kLargestFile, ' ') + "</R>"}) {
        WriteAll(program.Config(), text);
        EXPECT_EQ(tagged(program.Run()), Expected({broken, stopped}, "PC-1")) << text.substr(0, 20);
    }
    fs::remove(program.Config());
    fs::create_directory(program.Config());
    EXPECT_EQ(tagged(program.Run()), Expected({broken, stopped}, "PC-1"));
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
