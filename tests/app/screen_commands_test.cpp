#include <nlohmann/json.hpp>

#include "app/verb_table.h"
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
    const auto run = RunTandorctl(L"screen show --json --device-type P --config \"" + folder.path.native() + L"\"");
    EXPECT_EQ(run.exit_code, 1);  // the second file is missing
    const json document = json::parse(run.out);
    EXPECT_EQ(AnswerOf(document, "FpsThreshold"),
              json({{"name", "FpsThreshold"}, {"answer", 60}, {"from", "file"}, {"line", 3}}));
    EXPECT_EQ(AnswerOf(document, "EncoderBitrate")["from"], "out of range");
    EXPECT_EQ(AnswerOf(document, "FollowPCWidth")["from"], "unreadable");
    EXPECT_EQ(AnswerOf(document, "FollowPCHeight"),
              json({{"name", "FollowPCHeight"}, {"answer", 1280}, {"from", "default"}, {"line", 0}}));
    EXPECT_EQ(RunTandorctl(L"screen show --device-type PLR-W14A").exit_code, 0);
    EXPECT_EQ(RunTandorctl(L"screen show --device-type P --config no-such").exit_code, 1);
    EXPECT_EQ(RunTandorctl(L"screen").exit_code, 2);
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

TEST(TandorctlPanel, ReadsFilesAndTheMachine) {
    const auto edid = tandor::test::SampleEdid(tandor::kAdobeRgb);
    const std::string binary(edid.begin(), edid.end());
    const auto run = RunTandorctl(L"panel --json -", binary);
    ASSERT_EQ(run.exit_code, 0) << run.error;
    const json document = json::parse(run.out);
    EXPECT_EQ(document["maker"], "VXT");
    EXPECT_EQ(document["name"], "Pad Screen 14");
    EXPECT_TRUE(document["gamuts"]["Adobe RGB"]["supported"]);
    EXPECT_FALSE(document["gamuts"]["P3"]["supported"]);
    EXPECT_TRUE(document["wide_gamut"]);

    std::string hex;
    for (const auto byte : edid) {
        char digits[8];
        std::snprintf(digits, sizeof(digits), "%02x%s", byte, hex.size() % 5 == 0 ? "\r\n" : " ");
        hex += digits;
    }
    EXPECT_EQ(RunTandorctl(L"panel --json -", hex).out, run.out);

    const std::wstring key = L"SYSTEM\\CurrentControlSet\\Enum\\DISPLAY\\VXT0043";
    ASSERT_TRUE(
        DE::Registry::SetValue(DE::RegistryRoot::kLocalMachine, key + L"\\手机\\Device Parameters", L"EDID", edid));
    const TemporaryFolder folder;
    const auto picture = folder.path / L"panel.svg";
    EXPECT_EQ(RunTandorctl(L"panel --json --device DISPLAY\\VXT0043\\手机 --svg \"" + picture.native() + L"\"").out,
              run.out);
    EXPECT_THAT(tandor::test::ReadAll(picture),
                testing::AllOf(testing::StartsWith("<svg "), HasSubstr("VXT Pad Screen 14"), HasSubstr("Adobe RGB 99."),
                               testing::EndsWith("</svg>\n")));
    EXPECT_TRUE(DE::Registry::DeleteKey(DE::RegistryRoot::kLocalMachine, key));
}

TEST(TandorctlPanel, RefusesWhatIsNoEdid) {
    tandor::test::TryAll({
        {L"panel -", 1, "0 bytes are no EDID block, which has 128"},
        {L"panel -", 1, "127 bytes are no EDID block", std::string(127, '\0')},
        {L"panel -", 1, "it does not begin with 00 FF FF", std::string(128, '\0')},
        {L"panel --device DISPLAY\\none\\none", 1, "the registry has no EDID"},
        {L"panel - --device x", 2, "excludes"},
    });
}

}  // namespace
