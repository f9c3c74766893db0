#include "config/screen_check.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

std::vector<std::string> Check(const std::string& lines) {
    VxXMLDocument document;
    EXPECT_TRUE(document.Parse("<R>\n" + lines + "</R>")) << document.ErrorText();
    std::vector<std::string> problems;
    for (const auto& problem : tandor::CheckScreenConfig(document.RootElement()))
        problems.push_back(std::to_string(problem.line) + " " + problem.text);
    return problems;
}

TEST(ScreenCheck, NamesEachProblemWithItsLine) {
    EXPECT_THAT(
        Check(
            "<AutoDetect>\n<Support>P;Q;P</Support><Support/>\n<P><MinVolumn>101</MinVolumn></P>\n<S/>\n</AutoDetect>"),
        ElementsAre("3 'P' stands in <Support> twice",
                    "3 <Support> stands here a second time; only the first one counts",
                    "3 'Q' has no element of its own in <AutoDetect>",
                    "4 <MinVolumn> is 101 and must be 0 to 100; 20 is taken instead",
                    "5 <S> is not listed in <Support>, so it is passed over"));
    EXPECT_THAT(Check("<DeviceConfig><Device>\n<Type>P</Type><FpsThreshold>60fps</FpsThreshold></"
                      "Device>\n<Device><Type>P</Type>\n"
                      "<DisplayFrequency>2147483648</DisplayFrequency></Device>\n<Device/></DeviceConfig>"),
                ElementsAre("3 <FpsThreshold> holds '60fps', which is not a whole number up to 2147483647",
                            "4 'P' has a <Device> already; only the first one counts",
                            "5 <DisplayFrequency> holds '2147483648', which is not a whole number up to 2147483647",
                            "6 <Device> has no <Type>, so it is for no device"));
    EXPECT_THAT(Check("<DriverLimitSwitch>on</DriverLimitSwitch>\n<DriverLimitSwitch>1</DriverLimitSwitch>\n<Typo/>\n"
                      "<LcdDirection><P><Rotation>-1</Rotation></P></LcdDirection>"),
                ElementsAre("2 <DriverLimitSwitch> holds 'on', which is not a whole number up to 2147483647",
                            "3 <DriverLimitSwitch> stands here a second time; only the first one counts",
                            "4 <Typo> is not known in <R> and is passed over",
                            "5 <Rotation> is -1 and must be 0 to 2147483647; 0 is taken instead"));
    EXPECT_THAT(Check("<ResolutionConfig><Mirror><Resolution><Width>100</Width></Resolution></Mirror>\n<Extend/></"
                      "ResolutionConfig>"),
                ElementsAre("2 <Resolution> has no <Height>, so it is left out",
                            "2 <Width> is 100 and must be 101 to 9999; the resolution is left out",
                            "3 <Extend> lists no <Resolution>"));
}

TEST(ScreenCheck, QuotesTheBeginningsOfLongTexts) {
    const std::string name(5000, 'n'), value = std::string(59, '1') + "手机" + std::string(5000, '1');
    EXPECT_THAT(Check("<" + name + "/><DriverLimitSwitch>" + value + "</DriverLimitSwitch>"),
                ElementsAre("2 <" + std::string(60, 'n') + "…> is not known in <R> and is passed over",
                            "2 <DriverLimitSwitch> holds '" + std::string(59, '1') +
                                "…', which is not a whole number up to 2147483647"));
}

TEST(ScreenCheck, EndsAfterAThousand) {
    std::string odd;
    for (int i = 0; i < 1500; ++i) odd += "<Odd/>\n";
    const auto problems = Check(odd);
    ASSERT_EQ(problems.size(), tandor::kMostProblems + 1);
    EXPECT_EQ(problems.back(), "1501 and 500 more problem(s)");
}

}  // namespace
