#include "config/screen_reader.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using tandor::ScreenSettings;
using Source = tandor::StoredValue::Source;
using enum tandor::ScreenValue;
using tandor::ScreenValue;

struct Reading {
    ScreenSettings settings;
    std::vector<std::string> notes;

    explicit Reading(const std::string& body, bool horizontal = true, const std::string& type = "PC-1") {
        VxXMLDocument document;
        EXPECT_TRUE(document.Parse("<Root>" + body + "</Root>")) << document.ErrorText();
        const VxXmlElement root = document.RootElement();
        tandor::ScreenReading reading =
            tandor::ReadPadResolutions(root, tandor::ReadScreenConfig(root, type, horizontal));
        settings = std::move(reading.settings);
        for (const auto& finding : reading.findings) {
            constexpr std::wstring_view kClass = L"ExScreen::ConfigMgr::";
            std::wstring_view function = finding.function;
            EXPECT_TRUE(function.starts_with(kClass));
            function.remove_prefix(kClass.size());
            notes.push_back(std::to_string(finding.level) + " " + tandor::Utf8FromWide(function) + ": " +
                            tandor::Utf8FromWide(finding.Text()));
        }
    }
    [[nodiscard]] std::uint32_t Answer(ScreenValue value) const { return settings.Answer(value); }
    void ExpectAnswers(const std::vector<std::pair<ScreenValue, std::uint32_t>>& expected) const {
        for (const auto& [value, number] : expected) EXPECT_EQ(Answer(value), number) << tandor::RuleOf(value).name;
    }
    [[nodiscard]] std::vector<std::string> NotesOf(const std::string& function) const {
        std::vector<std::string> found;
        for (const std::string& note : notes) {
            if (note.substr(2).starts_with(function + ": "))
                found.push_back(note.substr(0, 2) + note.substr(function.size() + 4));
        }
        return found;
    }
};

TEST(ScreenReader, AnEmptyTreeLeavesDefaultsAndNamesEveryMissingNode) {
    const Reading reading("");
    for (std::size_t i = 0; i < tandor::kScreenValues; ++i) {
        const auto value = static_cast<ScreenValue>(i);
        EXPECT_EQ(reading.Answer(value), tandor::RuleOf(value).otherwise) << tandor::RuleOf(value).name;
    }
    reading.ExpectAnswers({{kFollowPcWidth, 1920},
                           {kExtendShowSecHeight, 1280},
                           {kSampleRate, 48000},
                           {kInputChannels, 2},
                           {kBitDepth, 32},
                           {kSpeakerMargin, 320},
                           {kMinVolume, 20}});
    EXPECT_FALSE(reading.settings.InRange(kFpsThreshold));
    EXPECT_EQ(reading.settings.Stored(kFollowPadHideWidth).source, Source::kMissing);
    EXPECT_EQ(reading.notes, LinesIn(R"(3 ReadAutoDetectConfig: autoDetect node is null
3 ReadAudioSwitchDisableConfig: audioSwitch node is null
3 ReadLcdDirectionConfig: LcdDirection node is null
3 ReadDriverLimitSwitch: driverLimit node is null
3 ReadDisplayConfig: deviceConfig node is null
3 ReadFollowPCConfig: followPC node is null
3 ReadFollowPadConfig: followPad node is null
3 ReadExtendConfig: horizontal and vertical node is null
3 ReadResolutionConfig: resolutionConfig node is null
3 ReadMonitorResolutionConfig: monitorResolutionConfig node is null
3 ReadPadResolutionConfig: padResolutionConfig node is null)"));
}

TEST(ScreenReader, VideoValuesOfTheFirstMatchingDevice) {
    const Reading reading(
        "<DeviceConfig><Device><Type>PC-11</Type><FpsThreshold>30</FpsThreshold></Device><Device/>"
        "<Device><Type> PC-1 </Type><FpsThreshold>60</FpsThreshold><EncoderBitrate>30000000</EncoderBitrate>"
        "<EncoderIdrInterval>-3</EncoderIdrInterval></Device>"
        "<Device><Type>PC-1</Type><FpsThreshold>90</FpsThreshold><DisplayFrequency>60</DisplayFrequency></Device></"
        "DeviceConfig>");
    EXPECT_EQ(reading.Answer(kFpsThreshold), 60u);
    EXPECT_TRUE(reading.settings.InRange(kFpsThreshold));
    for (const ScreenValue value : {kEncoderBitrate, kEncoderIdrInterval, kDisplayFrequency}) {
        EXPECT_EQ(reading.settings.Stored(value).value, 0u);
        EXPECT_FALSE(reading.settings.InRange(value));
    }
    EXPECT_THAT(reading.NotesOf("ReadVideoUint32ConfigValue"),
                ElementsAre("3 Invalid EncoderBitrate value:30000000.", "3 Invalid EncoderIdrInterval value:-3."));
}

TEST(ScreenReader, VideoLimitsAreInclusive) {
    using Row = std::tuple<ScreenValue, std::int64_t, std::int64_t>;
    for (const auto& [value, least, greatest] : {Row{kFpsThreshold, 15, 120}, Row{kEncoderBitrate, 6291456, 20971520},
                                                 Row{kEncoderIdrInterval, 3, 20}, Row{kDisplayFrequency, 50, 90}}) {
        const std::string name = tandor::RuleOf(value).name;
        const auto read = [&, value = value](const std::string& text, std::size_t notes) {
            const Reading reading("<DeviceConfig><Device><Type>PC-1</Type><" + name + ">" + text + "</" + name +
                                  "></Device></DeviceConfig>");
            EXPECT_EQ(reading.NotesOf("ReadVideoUint32ConfigValue").size(), notes) << name << " " << text;
            return reading.Answer(value);
        };
        for (const std::int64_t good : {least, greatest}) EXPECT_EQ(read(std::to_string(good), 0), good);
        for (const std::int64_t bad : {least - 1, greatest + 1}) EXPECT_EQ(read(std::to_string(bad), 1), 0u);
        for (const char* const junk :
             {"", "60fps", "0x3C", "6 0", "60.0", "+60", "6e1", "2147483648", "4294967356", "99999999999999999999"})
            EXPECT_EQ(read(junk, 1), 0u) << junk;
        EXPECT_EQ(read(" " + std::to_string(least) + " ", 0), least);
    }
}

TEST(ScreenReader, AutoDetection) {
    const Reading listed(
        "<AutoDetect><Support>PC-10;\n\tPC-1 "
        ";x</Support><PC-1><MinVolumn>101</MinVolumn><Margin>0</Margin><SampleRate>-1</SampleRate>"
        "<InCh>8</InCh></PC-1></AutoDetect>");
    listed.ExpectAnswers(
        {{kAutoDetect, 1}, {kMinVolume, 20}, {kSpeakerMargin, 0}, {kSampleRate, 48000}, {kInputChannels, 8}});
    EXPECT_EQ(listed.settings.Stored(kMinVolume).value, 101u);
    EXPECT_EQ(listed.settings.Stored(kSampleRate).source, Source::kUnreadable);
    EXPECT_THAT(listed.NotesOf("ReadAutoDetectNodeInfo"),
                ElementsAre("3 found PC-1 config", "3 default bitDepth is null"));

    const Reading other(
        "<AutoDetect><Support>PC-10;PC-11;C-1;PC-1 a</Support><PC-1><InCh>8</InCh></PC-1></AutoDetect>");
    other.ExpectAnswers({{kAutoDetect, 0}, {kInputChannels, 2}});
    EXPECT_THAT(other.NotesOf("ReadAutoDetectConfig"), ElementsAre("3 not found device config use default instead"));
    EXPECT_THAT(Reading("<AutoDetect><PC-1/></AutoDetect>").NotesOf("ReadAutoDetectConfig"),
                ElementsAre("3 unsupportNode node is null"));
    EXPECT_EQ(
        Reading("<AutoDetect><Support>PC-1</Support><PC-1/></AutoDetect>").NotesOf("ReadAutoDetectNodeInfo").size(),
        6u);
}

TEST(ScreenReader, SwitchesAndRotation) {
    const Reading excluded("<AudioSwitch><NoSupport>PC-1</NoSupport></AudioSwitch>");
    EXPECT_EQ(excluded.Answer(kAudioSwitch), 0u);
    EXPECT_EQ(excluded.settings.Stored(kAudioSwitch).source, Source::kFile);
    const Reading included("<AudioSwitch><NoSupport>PC-2</NoSupport></AudioSwitch>");
    EXPECT_EQ(included.Answer(kAudioSwitch), 1u);
    EXPECT_EQ(Reading("<AudioSwitch/>").settings.Stored(kAudioSwitch).source, Source::kMissing);

    const Reading turned(
        "<LcdDirection><PC-2><Rotation>180</Rotation></PC-2><PC-1><Rotation>90</Rotation></PC-1></LcdDirection>");
    EXPECT_EQ(turned.Answer(kRotation), 90u);
    EXPECT_THAT(turned.NotesOf("ReadLcdDirectionConfig"), ElementsAre("3 found device config"));

    const std::pair<const char*, std::uint32_t> switches[] = {{"0", 0},  {"1", 1}, {"2", 1},         {"-1", 1},
                                                              {"on", 0}, {"", 0},  {"3000000000", 0}};
    for (const auto& [text, flag] : switches) {
        EXPECT_EQ(Reading(std::string("<DriverLimitSwitch>") + text + "</DriverLimitSwitch>").Answer(kDriverLimit),
                  flag)
            << text;
    }
}

constexpr const char* kLayouts =
    "<FollowPC><Device><Type>PC-1</Type><PrimaryWidth>3000</PrimaryWidth><PrimaryHeight>100</"
    "PrimaryHeight><PrimaryDpi>501</PrimaryDpi>"
    "</Device></FollowPC>"
    "<FollowPad><Horizontal><Hide><PrimaryWidth>1001</PrimaryWidth><PrimaryHeight>1002</PrimaryHeight></Hide>"
    "<Show><PrimaryWidth>1003</PrimaryWidth></Show></Horizontal>"
    "<Vertical><Show><PrimaryWidth>2003</PrimaryWidth><PrimaryHeight>2004</PrimaryHeight></Show></Vertical></FollowPad>"
    "<Horizontal><PrimaryWidth>9999</PrimaryWidth><PrimaryHeight>101</PrimaryHeight>"
    "<Hide><SecondaryWidth>10000</SecondaryWidth><SecondaryHeight>1100</SecondaryHeight></Hide>"
    "<Show><SecondaryWidth>1101</SecondaryWidth><SecondaryHeight>70000</SecondaryHeight></Show></Horizontal>";

TEST(ScreenReader, LayoutsFollowTheDisplay) {
    const Reading horizontal(kLayouts);
    horizontal.ExpectAnswers({{kFollowPcWidth, 3000},
                              {kFollowPcHeight, 1280},
                              {kFollowPcDpi, 0},
                              {kFollowPadHideWidth, 1001},
                              {kFollowPadShowWidth, 1003},
                              {kFollowPadShowHeight, 1280},
                              {kExtendPrimWidth, 9999},
                              {kExtendPrimHeight, 101},
                              {kExtendHideSecWidth, 1920},
                              {kExtendHideSecHeight, 1100},
                              {kExtendShowSecWidth, 1101},
                              {kExtendShowSecHeight, 70000}});
    EXPECT_THAT(horizontal.NotesOf("ReadFollowPadConfig"), ElementsAre("3 primaryHeightNode is null"));

    const Reading vertical(kLayouts, false);
    vertical.ExpectAnswers({{kFollowPadShowHeight, 2004}, {kFollowPadHideWidth, 1920}, {kExtendPrimWidth, 1920}});
    EXPECT_THAT(vertical.NotesOf("ReadFollowPadConfig"), ElementsAre("3 sidebarHideNode is null"));
    EXPECT_THAT(vertical.NotesOf("ReadExtendConfig"), ElementsAre("3 vertical node is null"));
}

std::string ResolutionXml(int width, int height) {
    return "<Resolution><Width>" + std::to_string(width) + "</Width><Height>" + std::to_string(height) +
           "</Height></Resolution>";
}

TEST(ScreenReader, ResolutionLists) {
    std::string many = "<Resolution/>";
    for (int i = 0; i < 100; ++i) many += ResolutionXml(1000 + i, 800);
    const Reading reading("<ResolutionConfig><Mirror>" + ResolutionXml(1920, 1280) + ResolutionXml(100, 1280) +
                          "<Resolution/>" + ResolutionXml(9999, 101) + "</Mirror><Extend>" + many +
                          "</Extend></ResolutionConfig>" + "<MonitorResolutionConfig><Ratio3To2>" +
                          ResolutionXml(2160, 1440) + "</Ratio3To2><Ratio16To9/></MonitorResolutionConfig>");
    EXPECT_THAT(reading.settings.mirror,
                ElementsAre(ExScreen::Resolution{1920, 1280}, ExScreen::Resolution{9999, 101}));
    EXPECT_EQ(reading.settings.extend.size(), tandor::kMostResolutions - 1);  // what is invalid counts as well
    EXPECT_EQ(reading.settings.monitor, (ExScreen::ResolutionTable{{"Ratio3To2", {{2160, 1440}}}}));
    const auto notes = reading.NotesOf("ReadResolutionList");
    EXPECT_EQ(notes.front(), "3 ReadResolutionList width:1920,height:1280");
    EXPECT_EQ(notes.at(1), "3 ReadResolutionList invalid resolution in line 1");
    EXPECT_THAT(reading.NotesOf("ReadMonitorResolutionConfig"), ElementsAre("3 Ratio16To10 node is null"));
}

TEST(ScreenReader, DeviceTypesOfAnyText) {
    for (const std::string type : {"PC 1", "PC-手机", "<P&C>", "'\"", "Device", "Support"}) {
        std::string escaped;
        for (const char c : type) escaped += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
        const Reading reading("<AutoDetect><Support>x; " + escaped +
                                  " ;y</Support></AutoDetect><DeviceConfig><Device><Type>" + escaped +
                                  "</Type><FpsThreshold>60</FpsThreshold></Device></DeviceConfig>",
                              true, type);
        reading.ExpectAnswers({{kAutoDetect, 1}, {kFpsThreshold, 60}, {kSampleRate, 48000}});
    }
    // The list's own separator can stand in no entry.
    EXPECT_EQ(Reading("<AutoDetect><Support>a;b</Support></AutoDetect>", true, "a;b").Answer(kAutoDetect), 0u);
}

TEST(ScreenReader, KnowsWhetherLayoutsMatter) {
    const std::pair<const char*, bool> trees[] = {{"<R/>", false},
                                                  {"<R><FollowPad/></R>", false},
                                                  {"<R><Vertical/></R>", true},
                                                  {"<R><FollowPad><Horizontal/></FollowPad></R>", true}};
    for (const auto& [text, has] : trees) {
        VxXMLDocument document;
        ASSERT_TRUE(document.Parse(text));
        EXPECT_EQ(tandor::HasLayouts(document.RootElement()), has) << text;
    }
}

TEST(ScreenSettings, ChoosesTheNearestRatioAndWhatFits) {
    const ExScreen::ResolutionTable table{{"Ratio3To2", {{2160, 1440}, {1920, 1280}}},
                                          {"Ratio16To9", {{2560, 1440}, {1920, 1080}}}};
    const auto choose = [&](unsigned width, unsigned height) {
        ExScreen::Resolution chosen{1, 1};
        EXPECT_TRUE(tandor::ChooseResolution(table, {width, height}, chosen));
        return chosen;
    };
    using Resolution = ExScreen::Resolution;
    EXPECT_EQ(choose(3000, 2000), (Resolution{2160, 1440}));
    EXPECT_EQ(choose(2000, 1333), (Resolution{1920, 1280}));
    EXPECT_EQ(choose(1440, 2160), (Resolution{1440, 2160}));  // portrait
    EXPECT_EQ(choose(1280, 1024), (Resolution{1920, 1280}));  // nothing fits: the smallest
    EXPECT_EQ(choose(2560, 1600), (Resolution{2160, 1440}));  // 16:10 is not listed and 3:2 is nearer than 16:9
    EXPECT_EQ(choose(3440, 1440), (Resolution{2560, 1440}));
    EXPECT_EQ(choose(4294967295u, 1), (Resolution{1920, 1080}));
    Resolution kept{1, 2};
    EXPECT_FALSE(tandor::ChooseResolution(table, {0, 5}, kept));
    EXPECT_FALSE(tandor::ChooseResolution({}, {3, 2}, kept));
    EXPECT_EQ(kept, (Resolution{1, 2}));
}

}  // namespace
