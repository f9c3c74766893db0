#include "config/screen_reader.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using tandor::ScreenSettings;
using enum tandor::ScreenValue;
using tandor::ScreenValue;

class Host final : public tandor::ScreenHost {
public:
    std::string DeviceType() override { return "PC-1"; }
    bool Folder(std::wstring&) override { return false; }
    bool IsHorizontal() override { return ++asked, horizontal; }
    void AudioSwitchKnown(bool supported) override { audio_switch.push_back(supported); }
    void Note(LOG_MESSAGE_LEVEL level, std::wstring_view function, std::wstring_view text) override {
        constexpr std::wstring_view kClass = L"ExScreen::ConfigMgr::";
        EXPECT_TRUE(function.starts_with(kClass));
        function.remove_prefix(kClass.size());
        notes.push_back(std::to_string(level) + " " + tandor::Utf8FromWide(function) + ": " +
                        tandor::Utf8FromWide(text));
    }

    bool horizontal = true;
    int asked = 0;
    std::vector<bool> audio_switch;
    std::vector<std::string> notes;
};

struct Reading {
    Host host;
    ScreenSettings settings;

    explicit Reading(const std::string& body, bool horizontal = true) {
        host.horizontal = horizontal;
        VxXMLDocument document;
        EXPECT_TRUE(document.Parse("<Root>" + body + "</Root>")) << document.ErrorText();
        tandor::ReadScreenConfig(document.RootElement(), "PC-1", host, settings);
        tandor::ReadPadResolutions(document.RootElement(), host, settings);
    }
    [[nodiscard]] std::uint32_t Answer(ScreenValue value) const { return settings.Answer(value); }
    void ExpectAnswers(const std::vector<std::pair<ScreenValue, std::uint32_t>>& expected) const {
        for (const auto& [value, number] : expected) EXPECT_EQ(Answer(value), number) << tandor::RuleOf(value).name;
    }
    [[nodiscard]] std::vector<std::string> NotesOf(const std::string& function) const {
        std::vector<std::string> found;
        for (const std::string& note : host.notes) {
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
    EXPECT_EQ(reading.host.asked, 0);
    EXPECT_TRUE(reading.host.audio_switch.empty());
    EXPECT_EQ(reading.host.notes, LinesIn(R"(3 ReadAutoDetectConfig: autoDetect node is null
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
        for (const std::int64_t bad : {least - 1, greatest + 1, std::int64_t{2147483647}})
            EXPECT_EQ(read(std::to_string(bad), 1), 0u);
        for (const char* const junk :
             {"", "60fps", "0x3C", "6 0", "60.0", "2147483648", "4294967356", "99999999999999999999"}) {
            EXPECT_EQ(read(junk, 0), 0u) << junk;
        }
    }
}

TEST(ScreenReader, AutoDetection) {
    const Reading listed(
        "<AutoDetect><Support>PC-10;\n PC-1 "
        ";x</Support><PC-1><MinVolumn>101</MinVolumn><Margin>0</Margin><SampleRate>-1</SampleRate>"
        "<InCh>8</InCh></PC-1></AutoDetect>");
    listed.ExpectAnswers(
        {{kAutoDetect, 1}, {kMinVolume, 20}, {kSpeakerMargin, 0}, {kSampleRate, 48000}, {kInputChannels, 8}});
    EXPECT_EQ(listed.settings.Stored(kMinVolume).value, 101u);
    EXPECT_EQ(listed.settings.Stored(kSampleRate).source, tandor::StoredValue::Source::kUnreadable);
    EXPECT_THAT(listed.NotesOf("ReadAutoDetectNodeInfo"),
                ElementsAre("3 found PC-1 config", "3 default bitDepth is null"));

    for (const std::string support : {"<Support>PC-10;PC-11;C-1;PC-1 a</Support>", "<Support/>"}) {
        const Reading other("<AutoDetect>" + support + "<PC-1><InCh>8</InCh></PC-1></AutoDetect>");
        other.ExpectAnswers({{kAutoDetect, 0}, {kInputChannels, 2}});
        EXPECT_THAT(other.NotesOf("ReadAutoDetectConfig"),
                    ElementsAre("3 not found device config use default instead"));
    }
    EXPECT_THAT(Reading("<AutoDetect><PC-1/></AutoDetect>").NotesOf("ReadAutoDetectConfig"),
                ElementsAre("3 unsupportNode node is null"));
    EXPECT_EQ(
        Reading("<AutoDetect><Support>PC-1</Support><PC-1/></AutoDetect>").NotesOf("ReadAutoDetectNodeInfo").size(),
        6u);
}

TEST(ScreenReader, SwitchesAndRotation) {
    const Reading excluded("<AudioSwitch><NoSupport>PC-1</NoSupport></AudioSwitch>");
    EXPECT_EQ(excluded.Answer(kAudioSwitch), 0u);
    EXPECT_THAT(excluded.host.audio_switch, ElementsAre(false));
    const Reading included("<AudioSwitch><NoSupport>PC-2</NoSupport></AudioSwitch>");
    EXPECT_EQ(included.Answer(kAudioSwitch), 1u);
    EXPECT_THAT(included.host.audio_switch, ElementsAre(true));
    EXPECT_TRUE(Reading("<AudioSwitch/>").host.audio_switch.empty());

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
    EXPECT_EQ(horizontal.host.asked, 1);
    horizontal.ExpectAnswers({{kFollowPcWidth, 3000},
                              {kFollowPcHeight, 1280},
                              {kFollowPcDpi, 0},
                              {kFollowPadHideWidth, 1001},
                              {kFollowPadHideHeight, 1002},
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
    std::string many;
    for (int i = 0; i < 100; ++i) many += ResolutionXml(1000 + i, 800);
    const Reading reading("<ResolutionConfig><Mirror>" + ResolutionXml(1920, 1280) + ResolutionXml(100, 1280) +
                          "<Resolution/>" + ResolutionXml(9999, 101) + "</Mirror><Extend>" + many +
                          "</Extend></ResolutionConfig>" + "<MonitorResolutionConfig><Ratio3To2>" +
                          ResolutionXml(2160, 1440) + "</Ratio3To2><Ratio16To9/></MonitorResolutionConfig>");
    EXPECT_THAT(reading.settings.mirror,
                ElementsAre(ExScreen::Resolution{1920, 1280}, ExScreen::Resolution{9999, 101}));
    EXPECT_EQ(reading.settings.extend.size(), tandor::kMostResolutions);
    EXPECT_EQ(reading.settings.monitor, (ExScreen::ResolutionTable{{"Ratio3To2", {{2160, 1440}}}}));
    const auto notes = reading.NotesOf("ReadResolutionList");
    EXPECT_EQ(notes.front(), "3 ReadResolutionList width:1920,height:1280");
    EXPECT_EQ(notes.at(1), "3 ReadResolutionList invalid resolution in line 1");
    EXPECT_THAT(reading.NotesOf("ReadMonitorResolutionConfig"), ElementsAre("3 Ratio16To10 node is null"));
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
