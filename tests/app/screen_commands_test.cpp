#include <nlohmann/json.hpp>

#include "app/panel_report.h"
#include "app/verb_table.h"
#include "base/hex.h"
#include "device/hex_dump.h"
#include "pelora/registry.h"
#include "support/edid_sample.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;
using nlohmann::json;

json AnswerOf(const json& document, const std::string& name) {
    for (const json& value : document["values"]) {
        if (value["name"] == name) return value;
    }
    return nullptr;
}

TEST(TandorctlScreen, ShowsAnswersWithTheirOrigin) {
    const TemporaryFolder folder;
    const auto file = folder.path / L"config/VxExScreen/VxExScreenConfig.xml";
    std::filesystem::create_directories(file.parent_path());
    tandor::test::WriteAll(file,
                           "<R>\n<DeviceConfig><Device><Type>P</Type>\n<FpsThreshold>60</"
                           "FpsThreshold>\n<EncoderBitrate>1</EncoderBitrate>\n"
                           "</Device></DeviceConfig>\n<FollowPC><Device><Type>P</Type><PrimaryWidth>x</PrimaryWidth></"
                           "Device></FollowPC></R>");
    const auto run = RunTandorctl(L"screen show --json --device-type P --dir \"" + folder.path.native() + L"\"");
    EXPECT_EQ(run.exit_code, 1);  // the second file is missing
    const json document = json::parse(run.out);
    const auto expect = [&](const char* name, int answer, const char* from, int line, const char* why) {
        EXPECT_EQ(AnswerOf(document, name), json({{"name", name},
                                                  {"answer", answer},
                                                  {"from", from},
                                                  {"file", line == 0 ? "" : "VxExScreenConfig.xml"},
                                                  {"line", line},
                                                  {"why", why}}));
    };
    expect("FpsThreshold", 60, "file", 3, "");
    expect("EncoderBitrate", 0, "default", 4, "<EncoderBitrate> is 1 and must be 6291456 to 20971520");
    expect("DisplayFrequency", 0, "default", 2, "no <DisplayFrequency>");
    expect("FollowPCWidth", 1920, "default", 6, "<PrimaryWidth> holds no whole number up to 2147483647");
    expect("InCh", 2, "default", 1, "no <AutoDetect>");
    expect("ReduceResolutionDevice", 0, "default", 0, "no element sets it");
    EXPECT_EQ(document["lists"].size(), 8u);
    for (const json& list : document["lists"]) EXPECT_EQ(list["why"], "PadResolutionConfig.xml was not read");
    const auto other = RunTandorctl(L"screen show --device-type Q --dir \"" + folder.path.native() + L"\"");
    EXPECT_THAT(other.out, HasSubstr("default: <DeviceConfig> has nothing for Q (VxExScreenConfig.xml:2)"));
    const TemporaryFolder empty;
    EXPECT_THAT(RunTandorctl(L"screen show --device-type P --dir \"" + empty.path.native() + L"\"").out,
                HasSubstr("default: VxExScreenConfig.xml was not read"));
    const auto sample = RunTandorctl(L"screen show --device-type PLR-W14A");
    EXPECT_THAT(sample.out, HasSubstr("PadResolutionConfig.xml:"));
    EXPECT_EQ(sample.exit_code, 0);
    EXPECT_EQ(RunTandorctl(L"screen show --device-type P --dir no-such").exit_code, 1);
}

TEST(TandorctlScreen, ChecksFiles) {
    EXPECT_EQ(RunTandorctl(L"screen check").exit_code, 0);
    const TemporaryFolder folder;
    const auto file = folder.path / L"手机.xml";
    tandor::test::WriteAll(file, "<R>\n<Odd/>\n</R>");
    const auto run = RunTandorctl(L"screen check \"" + file.native() + L"\" nowhere.xml");
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_THAT(run.out, HasSubstr("手机.xml:2: <Odd> is not known in <R>"));
    EXPECT_THAT(run.out, HasSubstr("nowhere.xml: the file does not exist"));
    tandor::test::WriteAll(file, "<R>\n<Odd>\n</R>");
    EXPECT_THAT(RunTandorctl(L"screen check \"" + file.native() + L"\"").out, HasSubstr("手机.xml:2: not well-formed"));
}

TEST(TandorctlScreen, SaysWhatTheDisplayIs) {
    DEVMODEW mode{};
    mode.dmSize = sizeof(mode);
    const bool there = ::EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &mode) != 0 && mode.dmPelsWidth != 0;
    const auto run = RunTandorctl(L"screen horizontal --json");
    ASSERT_EQ(run.exit_code, there ? 0 : 1) << run.error;
    if (!there) return;
    const json document = json::parse(run.out);
    EXPECT_EQ(document["width"], mode.dmPelsWidth);
    EXPECT_EQ(document["horizontal"], 2 * mode.dmPelsWidth == 3 * mode.dmPelsHeight);
}

TEST(TandorctlPanel, ReadsFilesAndTheMachine) {
    const auto edid = tandor::test::SampleEdid(tandor::kAdobeRgb);
    const std::string binary(edid.begin(), edid.end());
    const auto run = RunTandorctl(L"panel show --json --file -", binary);
    ASSERT_EQ(run.exit_code, 0) << run.error;
    const json document = json::parse(run.out);
    EXPECT_EQ(document["maker"], "VXT");
    EXPECT_EQ(document["name"], "Pad Screen 14");
    EXPECT_TRUE(document["gamuts"]["Adobe RGB"]["supported"]);
    EXPECT_FALSE(document["gamuts"]["P3"]["supported"]);
    EXPECT_TRUE(document["wide_gamut"]);

    const std::string hex = tandor::HexFromBytes(binary, tandor::HexCase::kLower);
    EXPECT_EQ(RunTandorctl(L"panel show --json --file -", hex.substr(0, 64) + "\r\n" + hex.substr(64)).out, run.out);
    EXPECT_EQ(RunTandorctl(L"panel show --json --hex \"0x" + tandor::WideFromUtf8(hex) + L"\"").out, run.out);

    const std::wstring key = L"SYSTEM\\CurrentControlSet\\Enum\\DISPLAY\\VXT0043";
    ASSERT_TRUE(
        DE::Registry::SetValue(DE::RegistryRoot::kLocalMachine, key + L"\\手机\\Device Parameters", L"EDID", edid));
    const TemporaryFolder folder;
    const auto picture = folder.path / L"panel.svg";
    EXPECT_EQ(
        RunTandorctl(L"panel show --json --registry DISPLAY\\VXT0043\\手机 --svg \"" + picture.native() + L"\"").out,
        run.out);
    EXPECT_THAT(tandor::test::ReadAll(picture),
                testing::AllOf(testing::StartsWith("<svg "), HasSubstr("VXT Pad Screen 14"), HasSubstr("Adobe RGB 99."),
                               testing::EndsWith("</svg>\n")));
    EXPECT_TRUE(DE::Registry::DeleteKey(DE::RegistryRoot::kLocalMachine, key));
}

// tests/device/golden/*.hex are blocks of makers' kinds of mistakes; the text beside each is what people are told.
TEST(TandorctlPanel, TellsWhatGoldenBlocksSay) {
    int blocks = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TANDOR_GOLDEN)) {
        if (entry.path().extension() != ".hex") continue;
        SCOPED_TRACE(entry.path().filename().string());
        ++blocks;
        const auto dump = tandor::ReadHexDump(tandor::test::ReadAll(entry.path()));
        ASSERT_EQ(dump.fault, nullptr) << dump.line << ":" << dump.column;
        const auto block = tandor::ReadEdid(dump.bytes);
        ASSERT_TRUE(block);
        std::string text;
        for (const auto& row : tandor::app::PanelRows(*block)) text += row[0] + ": " + row[1] + "\n";
        EXPECT_EQ(LinesIn(text),
                  LinesIn(tandor::test::ReadAll(std::filesystem::path(entry.path()).replace_extension(".txt"))));
    }
    EXPECT_EQ(blocks, 6);
}

TEST(TandorctlPanel, RefusesWhatIsNoEdid) {
    tandor::test::TryAll({
        {L"panel show --file -", 1, "0 bytes are no EDID block, which has 128"},
        {L"panel show --file -", 1, "127 bytes are no EDID block", std::string(127, '\0')},
        {L"panel show --file -", 1, "it does not begin with 00 FF FF", std::string(128, '\0')},
        {L"panel show --registry DISPLAY\\none\\none", 1, "the registry has no EDID"},
        {L"panel show --file \"\"", 1, "error: --file: it names no file"},
        {L"panel show --registry \"\"", 1, "error: --registry: it names no device"},
        {L"panel show --hex \"00 ff f\"", 1, "line 1, column 7: a byte has two digits"},
        {L"panel show --file - --registry x", 2, "excludes"},
    });
}

}  // namespace
