#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "pelora/product.h"
#include "pelora/registry.h"
#include "pelora/xml.h"
#include "support/files.h"
#include "support/host_log.h"
#include "support/run_program.h"
#include "tandor/screen_config.h"

namespace {

namespace fs = std::filesystem;
using DE::Registry;
using DE::RegistryRoot;
using tandor::test::TemporaryFolder;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

constexpr const wchar_t* kSuite = L"SOFTWARE\\Vextro\\Pelora";
constexpr const wchar_t* kBios = L"HARDWARE\\DESCRIPTION\\System\\BIOS";
constexpr const wchar_t* kSetting = L"\\SOFTWARE\\Vextro\\Pelora\\Pad\\setting";

// Puts a text into the machine's hive, and back what was there.
class RegistryText {
public:
    RegistryText(const wchar_t* key, const wchar_t* name, const std::wstring& text) : key_(key), name_(name) {
        had_ = Registry::GetValue(RegistryRoot::kLocalMachine, key_, name_, before_);
        EXPECT_TRUE(Registry::SetValue(RegistryRoot::kLocalMachine, key_, name_, text));
    }
    ~RegistryText() {
        had_ ? Registry::SetValue(RegistryRoot::kLocalMachine, key_, name_, before_)
             : Registry::DeleteValue(RegistryRoot::kLocalMachine, key_, name_);
    }
    RegistryText(const RegistryText&) = delete;
    RegistryText& operator=(const RegistryText&) = delete;

private:
    std::wstring key_, name_, before_;
    bool had_ = false;
};

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
        const auto run = tandor::test::RunProgram(L"\"" + Program().native() + L"\" screen-values");
        EXPECT_EQ(run.exit_code, 0) << run.error;
        std::string out = run.out;
        std::erase(out, '\r');
        std::istringstream text(out);
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);) lines.push_back(line);
        return lines;
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
    const RegistryText type(kSuite, L"DeviceType", L"PLR-W16B");
    Registry::DeleteValue(RegistryRoot::kUser, kSetting, L"supportAudioSwitch");
    ScreenProgram program;
    fs::copy_file(L"config\\VxExScreen\\VxExScreenConfig.xml", program.Config());
    fs::copy_file(L"cloundConfig\\VxExScreen\\PadResolutionConfig.xml", program.Pad());
    const auto lines = program.Run();
    EXPECT_THAT(lines, Contains("type PLR-W16B"));
    EXPECT_THAT(lines, Contains("fps 90 1"));
    EXPECT_THAT(lines, Contains("bitrate 20971520 1"));
    EXPECT_THAT(lines, Contains("follow 2560x1600 168"));
    EXPECT_THAT(lines, Contains("audio 20 320 96000 24 4"));
    EXPECT_THAT(lines, Contains("flags 1110"));
    EXPECT_THAT(lines, Contains("lists 3 3 2560x1600"));
    EXPECT_THAT(lines,
                Contains("3 [ConfigMgr]found PLR-W16B config(ExScreen::ConfigMgr::ReadAutoDetectNodeInfo)").Times(1));
    EXPECT_THAT(
        lines,
        Contains("3 [ConfigMgr]ReadResolutionList width:2160,height:1440(ExScreen::ConfigMgr::ReadResolutionList)"));
    EXPECT_THAT(lines, Not(Contains(testing::HasSubstr("null"))));
    std::uint32_t audio_switch = 7;
    EXPECT_TRUE(Registry::GetValue(RegistryRoot::kUser, kSetting, L"supportAudioSwitch", audio_switch));
    EXPECT_EQ(audio_switch, 1u);
    EXPECT_THAT(tandor::test::ReadAll(L"C:\\ProgramData\\Comms\\Pelora\\log\\usr\\KoViewMirror.log"),
                testing::HasSubstr("[ConfigMgr]found PLR-W16B config\r\n"));
}

TEST(ConfigMgr, WritesTheAudioSwitchOfAnExcludedModel) {
    const RegistryText type(kSuite, L"DeviceType", L"PC-手机");
    ScreenProgram program;
    tandor::test::WriteAll(program.Config(),
                           "<R><AudioSwitch><NoSupport>x;PC-\xE6\x89\x8B\xE6\x9C\xBA</NoSupport></AudioSwitch></R>");
    EXPECT_THAT(program.Run(), Contains("type PC-\xE6\x89\x8B\xE6\x9C\xBA"));
    std::uint32_t audio_switch = 7;
    EXPECT_TRUE(Registry::GetValue(RegistryRoot::kUser, kSetting, L"supportAudioSwitch", audio_switch));
    EXPECT_EQ(audio_switch, 0u);
}

TEST(ConfigMgr, FilesThatCannotBeReadLeaveDefaultsAndSayWhy) {
    const RegistryText type(kSuite, L"DeviceType", L"PC-1");
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
        tandor::test::WriteAll(program.Config(), text);
        EXPECT_EQ(tagged(program.Run()), Expected({broken, stopped}, "PC-1")) << text.substr(0, 20);
    }
    fs::remove(program.Config());
    fs::create_directory(program.Config());
    EXPECT_EQ(tagged(program.Run()), Expected({broken, stopped}, "PC-1"));
}

TEST(ConfigMgr, AnUnknownMachineKeepsDefaults) {
    const RegistryText type(kSuite, L"DeviceType", L"");
    const RegistryText product(kBios, L"SystemProductName", L"To Be Filled By O.E.M.");
    const RegistryText board(kBios, L"BaseBoardProduct", L" ");
    ScreenProgram program;
    auto lines = program.Run();
    EXPECT_THAT(lines, Contains("4 [ConfigMgr]Failed to get device type.(ExScreen::ConfigMgr::LoadConfig)"));
    EXPECT_THAT(lines, Not(Contains(testing::HasSubstr("LoadConfigFile"))));
}

TEST(ProductCheckSupport, TakesTheFirstNameThatSomebodyFilledIn) {
    const RegistryText type(kSuite, L"DeviceType", L"");
    const RegistryText board(kBios, L"BaseBoardProduct", L"Board-7");
    {
        const RegistryText product(kBios, L"SystemProductName", L" PLR-W14A ");
        EXPECT_EQ(ProductCheckSupport::GetDeviceTypeEx(), "PLR-W14A");
        const RegistryText override_type(kSuite, L"DeviceType", L"Prüfling");
        EXPECT_EQ(ProductCheckSupport::GetDeviceTypeEx(), "Prüfling");
        EXPECT_EQ(ExScreen::ConfigMgr::GetDeviceType(), "Prüfling");
    }
    const RegistryText product(kBios, L"SystemProductName", L"Default string");
    EXPECT_EQ(ProductCheckSupport::GetDeviceTypeEx(), "Board-7");
}

TEST(ConfigMgr, HorizontalIsWhatTheDisplaySays) {
    tandor::test::HostLog log;
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
