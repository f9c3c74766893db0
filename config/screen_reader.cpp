#include "config/screen_reader.h"

#include <algorithm>
#include <optional>
#include <span>

#include "base/decimal.h"
#include "base/trim.h"
#include "base/utf.h"
#include "foundation/message.h"

namespace tandor {
namespace {

using ExScreen::ResolutionList;
using ExScreen::ResolutionTable;
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

std::optional<std::int64_t> Number(VxXmlElement element) {
    const auto number = ParseDecimal<std::int64_t>(element.Value());
    return number && *number > kGreatestNumber ? std::nullopt : number;
}

// A reader's messages carry its name.
class Notes {
public:
    Notes(ScreenReading& reading, const wchar_t* function) : reading_(reading), function_(function) {}

    void Say(LOG_MESSAGE_LEVEL level, const wchar_t* text) const {
        reading_.findings.push_back({level, function_, text});
    }
    void Info(const wchar_t* text) const { Say(kInfo, text); }
    void Info(const wchar_t* text, std::string subject, std::int64_t number = 0) const {
        reading_.findings.push_back({kInfo, function_, text, std::move(subject), {number}});
    }
    void Info(const wchar_t* text, std::int64_t number, std::int64_t next = 0) const {
        reading_.findings.push_back({kInfo, function_, text, {}, {number, next}});
    }
    // Whether the element is there; says so when not.
    [[nodiscard]] bool Has(VxXmlElement element, const wchar_t* missing) const {
        if (element.IsElementNull()) Info(missing);
        return !element.IsElementNull();
    }

private:
    ScreenReading& reading_;
    const wchar_t* function_;
};

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

class ListReader {
public:
    explicit ListReader(ScreenReading& reading) : reading_(reading), settings_(reading.settings) {}

    void Read(VxXmlElement root) {
        ReadResolutionConfig(root);
        ReadTable(root, ScreenList::kMonitor, L"monitorResolutionConfig node is null", settings_.monitor,
                  Notes(reading_, L"ExScreen::ConfigMgr::ReadMonitorResolutionConfig"));
        ReadTable(root, ScreenList::kPad, L"padResolutionConfig node is null", settings_.pad,
                  Notes(reading_, L"ExScreen::ConfigMgr::ReadPadResolutionConfig"));
    }

private:
    void ReadResolutionConfig(VxXmlElement root) {
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadResolutionConfig");
        const VxXmlElement section = root.FirstNode("ResolutionConfig");
        if (!notes.Has(section, L"resolutionConfig node is null")) return;
        const VxXmlElement mirror = section.FirstNode("Mirror");
        if (notes.Has(mirror, L"mirror node is null"))
            settings_.mirror = ReadResolutionList(mirror, ScreenList::kMirror);
        const VxXmlElement extend = section.FirstNode("Extend");
        if (notes.Has(extend, L"extend node is null"))
            settings_.extend = ReadResolutionList(extend, ScreenList::kExtend);
    }

    void ReadTable(VxXmlElement root, ScreenList first, const wchar_t* missing, ResolutionTable& table,
                   const Notes& notes) {
        const VxXmlElement section = root.FirstNode(SectionOf(first));
        if (!notes.Has(section, missing)) return;
        static constexpr const wchar_t* kMissing[] = {L"Ratio3To2 node is null", L"Ratio16To10 node is null",
                                                      L"Ratio16To9 node is null"};
        for (std::size_t i = 0; i < kAspectRatios.size(); ++i) {
            const VxXmlElement element = section.FirstNode(kAspectRatios[i].key);
            if (!notes.Has(element, kMissing[i])) continue;
            ResolutionList list =
                ReadResolutionList(element, static_cast<ScreenList>(static_cast<std::size_t>(first) + i));
            if (!list.empty()) table.emplace(kAspectRatios[i].key, std::move(list));
        }
    }

    ResolutionList ReadResolutionList(VxXmlElement parent, ScreenList which) {
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadResolutionList");
        settings_.list_lines[static_cast<std::size_t>(which)] = parent.Line();
        ResolutionList list;
        std::size_t entries = 0;
        for (VxXmlElement element = parent.FirstNode("Resolution"); !element.IsElementNull();
             element = element.NextSiblingElement("Resolution")) {
            if (++entries > kMostResolutions) {
                notes.Info(L"ReadResolutionList too many resolutions, the rest is left out");
                break;
            }
            const ExScreen::Resolution resolution{Edge(element.FirstNode("Width")), Edge(element.FirstNode("Height"))};
            if (resolution.width == 0 || resolution.height == 0) {
                notes.Info(L"ReadResolutionList invalid resolution in line %d", element.Line());
                continue;
            }
            notes.Info(L"ReadResolutionList width:%d,height:%d", resolution.width, resolution.height);
            list.push_back(resolution);
        }
        return list;
    }

    // 0 for one that is not accepted.
    static unsigned int Edge(VxXmlElement element) {
        const std::int64_t number = Number(element).value_or(0);
        return number < kLeastEdge || number > kGreatestEdge ? 0 : static_cast<unsigned int>(number);
    }

    ScreenReading& reading_;
    ScreenSettings& settings_;
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

ScreenReading ReadPadResolutions(VxXmlElement root, ScreenReading reading) {
    ListReader(reading).Read(root);
    return reading;
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
