#include "config/screen_reader.h"

#include <algorithm>
#include <span>

#include "base/trim.h"
#include "base/utf.h"
#include "config/screen_notes.h"

namespace tandor {
namespace {

using Source = StoredValue::Source;
using Values = std::span<const ScreenValue>;
using enum ScreenValue;

constexpr ScreenValue kAudio[] = {kMinVolume, kSpeakerMargin, kSampleRate, kBitDepth, kInputChannels};
constexpr ScreenValue kVideo[] = {kFpsThreshold, kEncoderBitrate, kEncoderIdrInterval, kDisplayFrequency};
constexpr ScreenValue kFollowPc[] = {kFollowPcWidth, kFollowPcHeight, kFollowPcDpi};
// Widths and heights follow each other.
constexpr ScreenValue kFollowPad[] = {kFollowPadHideWidth, kFollowPadHideHeight, kFollowPadShowWidth,
                                      kFollowPadShowHeight};
constexpr ScreenValue kExtend[] = {kExtendPrimWidth,     kExtendPrimHeight,   kExtendHideSecWidth,
                                   kExtendHideSecHeight, kExtendShowSecWidth, kExtendShowSecHeight};

class ScreenReader {
public:
    ScreenReader(const std::string& device_type, bool horizontal, ScreenReading& reading)
        : device_type_(device_type), horizontal_(horizontal), reading_(reading) {}

    void Read(VxXmlElement root) {
        ReadAutoDetectConfig(root);
        ReadAudioSwitchDisableConfig(root);
        ReadLcdDirectionConfig(root);
        ReadDriverLimitSwitch(root);
        ReadDisplayConfig(root);
        ReadFollowPCConfig(root);
        ReadFollowPadConfig(root);
        ReadExtendConfig(root);
    }

private:
    // An element, the values that stand or fall with it, and what is said when it is not there.
    struct Item {
        const char* name;
        Values values;
        const wchar_t* missing;
    };

    void ReadAutoDetectConfig(VxXmlElement root) {
        static constexpr ScreenValue kAll[] = {kAutoDetect, kMinVolume, kSpeakerMargin,
                                               kSampleRate, kBitDepth,  kInputChannels};
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadAutoDetectConfig");
        const VxXmlElement section = Child(root, {"AutoDetect", kAll, L"autoDetect node is null"}, notes);
        if (section.IsElementNull()) return;
        const VxXmlElement support = Child(section, {"Support", kAll, L"unsupportNode node is null"}, notes);
        if (support.IsElementNull()) return;
        const bool supported = ListHolds(support.Value(), device_type_);
        Store(kAutoDetect, supported ? 1 : 0, "Support", support);
        const VxXmlElement device = section.FirstNode(device_type_.c_str());
        if (supported && !device.IsElementNull()) return ReadAutoDetectNodeInfo(device);
        Explain(kAudio, Source::kOtherDevice, supported ? "AutoDetect" : "Support", supported ? section : support);
        notes.Info(L"not found device config use default instead");
    }

    void ReadAutoDetectNodeInfo(VxXmlElement device) {
        static constexpr Item kItems[] = {{"MinVolumn", {kAudio, 1}, L"default Volumn is null"},
                                          {"Margin", {kAudio + 1, 1}, L"default speakerMargin is null"},
                                          {"SampleRate", {kAudio + 2, 1}, L"default sampleRate is null"},
                                          {"BitDepth", {kAudio + 3, 1}, L"default bitDepth is null"},
                                          {"InCh", {kAudio + 4, 1}, L"default inCh is null"}};
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadAutoDetectNodeInfo");
        notes.Info(L"found %s config", device_type_);
        for (const Item& item : kItems) ReadItem(device, item, notes);
    }

    void ReadAudioSwitchDisableConfig(VxXmlElement root) {
        static constexpr ScreenValue kAll[] = {kAudioSwitch};
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadAudioSwitchDisableConfig");
        const VxXmlElement section = Child(root, {"AudioSwitch", kAll, L"audioSwitch node is null"}, notes);
        if (section.IsElementNull()) return;
        const VxXmlElement unsupported = Child(section, {"NoSupport", kAll, L"noSupport node is null"}, notes);
        if (unsupported.IsElementNull()) return;
        Store(kAudioSwitch, ListHolds(unsupported.Value(), device_type_) ? 0 : 1, "NoSupport", unsupported);
    }

    void ReadLcdDirectionConfig(VxXmlElement root) {
        static constexpr ScreenValue kAll[] = {kRotation};
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadLcdDirectionConfig");
        const VxXmlElement section = Child(root, {"LcdDirection", kAll, L"LcdDirection node is null"}, notes);
        if (section.IsElementNull()) return;
        const VxXmlElement device = section.FirstNode(device_type_.c_str());
        if (device.IsElementNull()) return Explain(kAll, Source::kOtherDevice, "LcdDirection", section);  // as for most
        notes.Info(L"found device config");
        ReadItem(device, {"Rotation", kAll, L"rotation node is null"}, notes);
    }

    void ReadDriverLimitSwitch(VxXmlElement root) {
        static constexpr ScreenValue kAll[] = {kDriverLimit};
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadDriverLimitSwitch");
        const VxXmlElement element = Child(root, {"DriverLimitSwitch", kAll, L"driverLimit node is null"}, notes);
        if (element.IsElementNull()) return;
        const auto number = Number(element);
        if (!number) return Explain(kAll, Source::kUnreadable, "DriverLimitSwitch", element);
        Store(kDriverLimit, *number != 0 ? 1 : 0, "DriverLimitSwitch", element);
    }

    void ReadDisplayConfig(VxXmlElement root) {
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadDisplayConfig");
        const VxXmlElement section = Child(root, {"DeviceConfig", kVideo, L"deviceConfig node is null"}, notes);
        if (section.IsElementNull()) return;
        const VxXmlElement device = FindDevice(section);
        if (device.IsElementNull()) return Explain(kVideo, Source::kOtherDevice, "DeviceConfig", section);
        for (const ScreenValue& value : kVideo) ReadVideoUint32ConfigValue(device, value);
    }

    // 0 stands for a value that is not configured, also one that is out of range or not a number.
    void ReadVideoUint32ConfigValue(VxXmlElement device, const ScreenValue& value) {
        const ScreenRule& rule = RuleOf(value);
        const VxXmlElement element = device.FirstNode(rule.name);
        if (element.IsElementNull()) return Explain({&value, 1}, Source::kMissing, rule.name, device);
        const auto read = Number(element);
        const std::int64_t number = read.value_or(rule.otherwise);
        const bool good = number >= rule.least && number <= rule.greatest;
        if (!good) {
            Notes(reading_, L"ExScreen::ConfigMgr::ReadVideoUint32ConfigValue")
                .Info(L"Invalid %s value:%d.", rule.name, number);
        }
        if (!read) return Explain({&value, 1}, Source::kUnreadable, rule.name, element);
        Store(value, good ? static_cast<std::uint32_t>(number) : rule.otherwise, rule.name, element, number);
    }

    void ReadFollowPCConfig(VxXmlElement root) {
        static constexpr Item kItems[] = {{"PrimaryWidth", {kFollowPc, 1}, L"primaryWidthNode is null"},
                                          {"PrimaryHeight", {kFollowPc + 1, 1}, L"primaryHeightNode is null"},
                                          {"PrimaryDpi", {kFollowPc + 2, 1}, L"primaryDpiNode is null"}};
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadFollowPCConfig");
        const VxXmlElement section = Child(root, {"FollowPC", kFollowPc, L"followPC node is null"}, notes);
        if (section.IsElementNull()) return;
        const VxXmlElement device = FindDevice(section);
        if (device.IsElementNull()) {
            Explain(kFollowPc, Source::kOtherDevice, "FollowPC", section);
            return notes.Info(L"not found device config use default instead");
        }
        for (const Item& item : kItems) ReadItem(device, item, notes);
    }

    void ReadFollowPadConfig(VxXmlElement root) {
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadFollowPadConfig");
        const VxXmlElement section = Child(root, {"FollowPad", kFollowPad, L"followPad node is null"}, notes);
        if (section.IsElementNull()) return;
        const VxXmlElement layout = Layout(section, kFollowPad, notes);
        if (layout.IsElementNull()) return;
        ReadPrimary(Sidebar(layout, true, {kFollowPad, 2}, notes), kFollowPad, notes);
        ReadPrimary(Sidebar(layout, false, {kFollowPad + 2, 2}, notes), kFollowPad + 2, notes);
    }

    void ReadExtendConfig(VxXmlElement root) {
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadExtendConfig");
        const VxXmlElement layout = Layout(root, kExtend, notes);
        if (layout.IsElementNull()) return;
        ReadPrimary(layout, kExtend, notes);
        ReadSecondary(Sidebar(layout, true, {kExtend + 2, 2}, notes), kExtend + 2, notes);
        ReadSecondary(Sidebar(layout, false, {kExtend + 4, 2}, notes), kExtend + 4, notes);
    }

    // A width and the height behind it.
    void ReadPrimary(VxXmlElement element, const ScreenValue* values, const Notes& notes) {
        if (element.IsElementNull()) return;
        ReadItem(element, {"PrimaryWidth", {values, 1}, L"primaryWidthNode is null"}, notes);
        ReadItem(element, {"PrimaryHeight", {values + 1, 1}, L"primaryHeightNode is null"}, notes);
    }

    void ReadSecondary(VxXmlElement element, const ScreenValue* values, const Notes& notes) {
        if (element.IsElementNull()) return;
        ReadItem(element, {"SecondaryWidth", {values, 1}, L"secondaryWidthNode is null"}, notes);
        ReadItem(element, {"SecondaryHeight", {values + 1, 1}, L"secondaryHeightNode is null"}, notes);
    }

    // The layout for this PC's display.
    VxXmlElement Layout(VxXmlElement parent, Values values, const Notes& notes) {
        const bool none =
            parent.FirstNode("Vertical").IsElementNull() && parent.FirstNode("Horizontal").IsElementNull();
        const wchar_t* const missing = none          ? L"horizontal and vertical node is null"
                                       : horizontal_ ? L"horizontal node is null"
                                                     : L"vertical node is null";
        return Child(parent, {horizontal_ ? "Horizontal" : "Vertical", values, missing}, notes);
    }

    VxXmlElement Sidebar(VxXmlElement layout, bool hidden, Values values, const Notes& notes) {
        return Child(
            layout,
            {hidden ? "Hide" : "Show", values, hidden ? L"sidebarHideNode is null" : L"sidebarShowNode is null"},
            notes);
    }

    // The first "Device" whose "Type" is this PC's.
    VxXmlElement FindDevice(VxXmlElement section) const {
        VxXmlElement device = section.FirstNode("Device");
        while (!device.IsElementNull() && device.FirstNode("Type").Value() != device_type_)
            device = device.NextSiblingElement("Device");
        return device;
    }

    VxXmlElement Child(VxXmlElement parent, const Item& item, const Notes& notes) {
        const VxXmlElement child = parent.FirstNode(item.name);
        if (!notes.Has(child, item.missing)) Explain(item.values, Source::kMissing, item.name, parent);
        return child;
    }

    void ReadItem(VxXmlElement parent, const Item& item, const Notes& notes) {
        const VxXmlElement element = Child(parent, item, notes);
        if (element.IsElementNull()) return;
        const auto number = Number(element);
        if (!number || *number < 0) return Explain(item.values, Source::kUnreadable, item.name, element);
        Store(item.values.front(), static_cast<std::uint32_t>(*number), item.name, element);
    }

    // Why the values keep their defaults.
    void Explain(Values values, Source source, const char* element, VxXmlElement where) {
        for (const ScreenValue value : values) {
            StoredValue& stored = reading_.settings.Stored(value);
            stored.source = source;
            stored.element = element;
            stored.line = where.Line();
        }
    }

    void Store(ScreenValue value, std::uint32_t number, const char* element, VxXmlElement where) {
        Store(value, number, element, where, number);
    }
    void Store(ScreenValue value, std::uint32_t number, const char* element, VxXmlElement where, std::int64_t written) {
        reading_.settings.Stored(value) = {number, Source::kFile, element, where.Line(), written};
    }

    const std::string& device_type_;
    const bool horizontal_;
    ScreenReading& reading_;
};

bool LoadConfigFile(const std::wstring& folder, const wchar_t* relative, VxXMLDocument& document,
                    ScreenReading& reading) {
    std::wstring path = folder + L"\\" + relative;
#if !defined(_WIN32)
    std::replace(path.begin(), path.end(), L'\\', L'/');
#endif
    if (document.LoadFile(path)) return true;
    Notes(reading, L"ExScreen::ConfigMgr::LoadConfigFile")
        .Say(kFailure, document.LastFailure() == VxXMLDocument::Failure::kMissing
                           ? L"VxExScreen config file does not exist."
                           : L"Load config file failed.");
    Notes(reading, L"ExScreen::ConfigMgr::LoadConfig").Say(kFailure, L"load cfg file failed");
    return false;
}

}  // namespace

bool ListHolds(std::string_view list, std::string_view entry) {
    if (entry.empty()) return false;
    while (true) {
        const std::size_t end = std::min(list.find(';'), list.size());
        if (Trimmed(list.substr(0, end)) == entry) return true;
        if (end == list.size()) return false;
        list.remove_prefix(end + 1);
    }
}

std::wstring ScreenFinding::Text() const {
    std::wstring out;
    std::size_t number = 0;
    for (const wchar_t* at = text; *at != L'\0'; ++at) {
        if (*at != L'%') {
            out += *at;
        } else if (*++at == L's') {
            out += WideFromUtf8Lossy(subject);
        } else {
            out += std::to_wstring(numbers[number++]);
        }
    }
    return out;
}

ScreenReading ReadScreenConfig(VxXmlElement root, const std::string& device_type, bool horizontal) {
    ScreenReading reading;
    reading.findings.reserve(64);  // more than any file needs that says what it should
    ScreenReader(device_type, horizontal, reading).Read(root);
    return reading;
}

bool HasLayouts(VxXmlElement root) {
    for (const VxXmlElement parent : {root, root.FirstNode("FollowPad")}) {
        if (!parent.FirstNode("Horizontal").IsElementNull() || !parent.FirstNode("Vertical").IsElementNull())
            return true;
    }
    return false;
}

ScreenReading LoadScreenSettings(const std::wstring& folder, const std::string& device_type,
                                 const std::function<bool()>& is_horizontal) {
    ScreenReading reading;
    VxXMLDocument document;
    if (!LoadConfigFile(folder, kScreenConfigFile, document, reading)) return reading;
    const VxXmlElement root = document.RootElement();
    reading = ReadScreenConfig(root, device_type, HasLayouts(root) && is_horizontal());
    if (!LoadConfigFile(folder, kPadResolutionFile, document, reading)) return reading;
    return ReadPadResolutions(document.RootElement(), std::move(reading));
}

}  // namespace tandor
