#include "config/screen_reader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

#include "base/decimal.h"
#include "base/trim.h"
#include "base/utf.h"
#include "foundation/message.h"

namespace tandor {
namespace {

using ExScreen::ResolutionList;
using ExScreen::ResolutionTable;

// The numbers of the files end at 2147483647; anything else is not readable.
std::optional<std::int64_t> Number(VxXmlElement element) {
    const auto number = ParseDecimal<std::int64_t>(element.Value());
    return number && *number > std::numeric_limits<std::int32_t>::max() ? std::nullopt : number;
}

// A reader's messages carry its name.
class Notes {
public:
    Notes(ScreenHost& host, const wchar_t* function) : host_(host), function_(function) {}

    void Say(LOG_MESSAGE_LEVEL level, std::wstring_view text) const { host_.Note(level, function_, text); }
    void Info(std::wstring_view text) const { Say(kInfo, text); }
    // Whether the element is there; says so when not.
    [[nodiscard]] bool Has(VxXmlElement element, std::wstring_view missing) const {
        if (element.IsElementNull()) Info(missing);
        return !element.IsElementNull();
    }

private:
    ScreenHost& host_;
    const wchar_t* function_;
};

class ScreenReader {
public:
    ScreenReader(const std::string& device_type, ScreenHost& host, ScreenSettings& settings)
        : device_type_(device_type), host_(host), settings_(settings) {}

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
    // A child that holds an unsigned number.
    struct Item {
        const char* name;
        ScreenValue value;
        const wchar_t* missing;
    };

    void ReadAutoDetectConfig(VxXmlElement root) {
        const Notes notes(host_, L"ExScreen::ConfigMgr::ReadAutoDetectConfig");
        const VxXmlElement section = root.FirstNode("AutoDetect");
        if (!notes.Has(section, L"autoDetect node is null")) return;
        const VxXmlElement support = section.FirstNode("Support");
        if (!notes.Has(support, L"unsupportNode node is null")) return;
        const bool supported = ListHolds(support.Value(), device_type_);
        Store(ScreenValue::kAutoDetect, supported ? 1 : 0, support);
        const VxXmlElement device = section.FirstNode(device_type_.c_str());
        if (!supported || device.IsElementNull()) return notes.Info(L"not found device config use default instead");
        ReadAutoDetectNodeInfo(device);
    }

    void ReadAutoDetectNodeInfo(VxXmlElement device) {
        static constexpr Item kItems[] = {
            {"MinVolumn", ScreenValue::kMinVolume, L"default Volumn is null"},
            {"Margin", ScreenValue::kSpeakerMargin, L"default speakerMargin is null"},
            {"SampleRate", ScreenValue::kSampleRate, L"default sampleRate is null"},
            {"BitDepth", ScreenValue::kBitDepth, L"default bitDepth is null"},
            {"InCh", ScreenValue::kInputChannels, L"default inCh is null"},
        };
        const Notes notes(host_, L"ExScreen::ConfigMgr::ReadAutoDetectNodeInfo");
        notes.Info(L"found " + WideFromUtf8Lossy(device_type_) + L" config");
        for (const Item& item : kItems) ReadItem(device, item, notes);
    }

    void ReadAudioSwitchDisableConfig(VxXmlElement root) {
        const Notes notes(host_, L"ExScreen::ConfigMgr::ReadAudioSwitchDisableConfig");
        const VxXmlElement section = root.FirstNode("AudioSwitch");
        if (!notes.Has(section, L"audioSwitch node is null")) return;
        const VxXmlElement unsupported = section.FirstNode("NoSupport");
        if (!notes.Has(unsupported, L"noSupport node is null")) return;
        const bool supported = !ListHolds(unsupported.Value(), device_type_);
        Store(ScreenValue::kAudioSwitch, supported ? 1 : 0, unsupported);
        host_.AudioSwitchKnown(supported);
    }

    void ReadLcdDirectionConfig(VxXmlElement root) {
        const Notes notes(host_, L"ExScreen::ConfigMgr::ReadLcdDirectionConfig");
        const VxXmlElement section = root.FirstNode("LcdDirection");
        if (!notes.Has(section, L"LcdDirection node is null")) return;
        const VxXmlElement device = section.FirstNode(device_type_.c_str());
        if (device.IsElementNull()) return;  // most models have none
        notes.Info(L"found device config");
        ReadItem(device, {"Rotation", ScreenValue::kRotation, L"rotation node is null"}, notes);
    }

    void ReadDriverLimitSwitch(VxXmlElement root) {
        const Notes notes(host_, L"ExScreen::ConfigMgr::ReadDriverLimitSwitch");
        const VxXmlElement element = root.FirstNode("DriverLimitSwitch");
        if (!notes.Has(element, L"driverLimit node is null")) return;
        const auto number = Number(element);
        StoreIfReadable(ScreenValue::kDriverLimit,
                        number ? std::optional<std::uint32_t>(*number != 0 ? 1 : 0) : std::nullopt, element);
    }

    void ReadDisplayConfig(VxXmlElement root) {
        const Notes notes(host_, L"ExScreen::ConfigMgr::ReadDisplayConfig");
        const VxXmlElement section = root.FirstNode("DeviceConfig");
        if (!notes.Has(section, L"deviceConfig node is null")) return;
        const VxXmlElement device = FindDevice(section);
        if (device.IsElementNull()) return;
        for (std::size_t index = 0; index < kVideo.size(); ++index) {
            const VxXmlElement element = device.FirstNode(RuleOf(kVideo[index]).name);
            if (!element.IsElementNull())
                Store(kVideo[index], ReadVideoUint32ConfigValue(element, kVideo[index]), element);
        }
    }

    // 0 stands for a value that is not configured, also one that is out of range or not a number.
    std::uint32_t ReadVideoUint32ConfigValue(VxXmlElement element, ScreenValue value) {
        const auto number = Number(element);
        const ScreenRule& rule = RuleOf(value);
        if (!number) return rule.otherwise;
        if (*number >= rule.least && *number <= rule.greatest) return static_cast<std::uint32_t>(*number);
        Notes(host_, L"ExScreen::ConfigMgr::ReadVideoUint32ConfigValue")
            .Info(L"Invalid " + WideFromUtf8Lossy(rule.name) + L" value:" + std::to_wstring(*number) + L".");
        return rule.otherwise;
    }

    void ReadFollowPCConfig(VxXmlElement root) {
        const Notes notes(host_, L"ExScreen::ConfigMgr::ReadFollowPCConfig");
        const VxXmlElement section = root.FirstNode("FollowPC");
        if (!notes.Has(section, L"followPC node is null")) return;
        const VxXmlElement device = FindDevice(section);
        if (device.IsElementNull()) return notes.Info(L"not found device config use default instead");
        ReadItem(device, {"PrimaryWidth", ScreenValue::kFollowPcWidth, L"primaryWidthNode is null"}, notes);
        ReadItem(device, {"PrimaryHeight", ScreenValue::kFollowPcHeight, L"primaryHeightNode is null"}, notes);
        ReadItem(device, {"PrimaryDpi", ScreenValue::kFollowPcDpi, L"primaryDpiNode is null"}, notes);
    }

    void ReadFollowPadConfig(VxXmlElement root) {
        const Notes notes(host_, L"ExScreen::ConfigMgr::ReadFollowPadConfig");
        const VxXmlElement section = root.FirstNode("FollowPad");
        if (!notes.Has(section, L"followPad node is null")) return;
        const VxXmlElement layout = Layout(section, notes);
        if (layout.IsElementNull()) return;
        ReadPrimary(Sidebar(layout, "Hide", notes), ScreenValue::kFollowPadHideWidth, ScreenValue::kFollowPadHideHeight,
                    notes);
        ReadPrimary(Sidebar(layout, "Show", notes), ScreenValue::kFollowPadShowWidth, ScreenValue::kFollowPadShowHeight,
                    notes);
    }

    void ReadExtendConfig(VxXmlElement root) {
        const Notes notes(host_, L"ExScreen::ConfigMgr::ReadExtendConfig");
        const VxXmlElement layout = Layout(root, notes);
        if (layout.IsElementNull()) return;
        ReadPrimary(layout, ScreenValue::kExtendPrimWidth, ScreenValue::kExtendPrimHeight, notes);
        ReadSecondary(Sidebar(layout, "Hide", notes), ScreenValue::kExtendHideSecWidth,
                      ScreenValue::kExtendHideSecHeight, notes);
        ReadSecondary(Sidebar(layout, "Show", notes), ScreenValue::kExtendShowSecWidth,
                      ScreenValue::kExtendShowSecHeight, notes);
    }

    void ReadPrimary(VxXmlElement element, ScreenValue width, ScreenValue height, const Notes& notes) {
        if (element.IsElementNull()) return;
        ReadItem(element, {"PrimaryWidth", width, L"primaryWidthNode is null"}, notes);
        ReadItem(element, {"PrimaryHeight", height, L"primaryHeightNode is null"}, notes);
    }

    void ReadSecondary(VxXmlElement element, ScreenValue width, ScreenValue height, const Notes& notes) {
        if (element.IsElementNull()) return;
        ReadItem(element, {"SecondaryWidth", width, L"secondaryWidthNode is null"}, notes);
        ReadItem(element, {"SecondaryHeight", height, L"secondaryHeightNode is null"}, notes);
    }

    // The layout for this PC's display. The system is asked only when there is a layout at all.
    VxXmlElement Layout(VxXmlElement parent, const Notes& notes) {
        const VxXmlElement layouts[] = {parent.FirstNode("Vertical"), parent.FirstNode("Horizontal")};
        if (!layouts[0].IsElementNull() || !layouts[1].IsElementNull()) {
            if (!horizontal_) horizontal_ = host_.IsHorizontal();
            const VxXmlElement layout = layouts[*horizontal_ ? 1 : 0];
            (void)notes.Has(layout, *horizontal_ ? L"horizontal node is null" : L"vertical node is null");
            return layout;
        }
        notes.Info(L"horizontal and vertical node is null");
        return {};
    }

    static VxXmlElement Sidebar(VxXmlElement layout, const char* name, const Notes& notes) {
        const VxXmlElement element = layout.FirstNode(name);
        (void)notes.Has(element, *name == 'H' ? L"sidebarHideNode is null" : L"sidebarShowNode is null");
        return element;
    }

    // The first "Device" whose "Type" is this PC's.
    VxXmlElement FindDevice(VxXmlElement section) const {
        VxXmlElement device = section.FirstNode("Device");
        while (!device.IsElementNull() && device.FirstNode("Type").Value() != device_type_)
            device = device.NextSiblingElement("Device");
        return device;
    }

    void ReadItem(VxXmlElement parent, const Item& item, const Notes& notes) {
        const VxXmlElement element = parent.FirstNode(item.name);
        if (!notes.Has(element, item.missing)) return;
        const auto number = Number(element);
        const bool readable = number && *number >= 0;
        StoreIfReadable(item.value, readable ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt,
                        element);
    }

    void StoreIfReadable(ScreenValue value, std::optional<std::uint32_t> number, VxXmlElement element) {
        if (number) return Store(value, *number, element);
        StoredValue& stored = settings_.Stored(value);
        stored.source = StoredValue::Source::kUnreadable;
        stored.line = element.Line();
    }

    void Store(ScreenValue value, std::uint32_t number, VxXmlElement element) {
        settings_.Stored(value) = {number, StoredValue::Source::kFile, element.Line()};
    }

    static constexpr std::array kVideo{ScreenValue::kFpsThreshold, ScreenValue::kEncoderBitrate,
                                       ScreenValue::kEncoderIdrInterval, ScreenValue::kDisplayFrequency};

    const std::string& device_type_;
    ScreenHost& host_;
    ScreenSettings& settings_;
    std::optional<bool> horizontal_;
};

ResolutionList ReadResolutionList(VxXmlElement parent, ScreenHost& host) {
    const Notes notes(host, L"ExScreen::ConfigMgr::ReadResolutionList");
    ResolutionList list;
    for (VxXmlElement element = parent.FirstNode("Resolution"); !element.IsElementNull();
         element = element.NextSiblingElement("Resolution")) {
        if (list.size() == kMostResolutions) {
            notes.Info(L"ReadResolutionList too many resolutions, the rest is left out");
            break;
        }
        const auto edge = [&](const char* name) {
            const auto number = Number(element.FirstNode(name)).value_or(0);
            return number < kLeastEdge || number > kGreatestEdge ? 0u : static_cast<unsigned int>(number);
        };
        const ExScreen::Resolution resolution{edge("Width"), edge("Height")};
        if (resolution.width == 0 || resolution.height == 0) {
            notes.Info(L"ReadResolutionList invalid resolution in line " + std::to_wstring(element.Line()));
            continue;
        }
        notes.Info(L"ReadResolutionList width:" + std::to_wstring(resolution.width) + L",height:" +
                   std::to_wstring(resolution.height));
        list.push_back(resolution);
    }
    return list;
}

ResolutionTable ReadResolutionTable(VxXmlElement section, ScreenHost& host, const Notes& notes) {
    ResolutionTable table;
    for (const char* const key : {"Ratio3To2", "Ratio16To10", "Ratio16To9"}) {
        const VxXmlElement element = section.FirstNode(key);
        if (!notes.Has(element, WideFromUtf8Lossy(key) + L" node is null")) continue;
        ResolutionList list = ReadResolutionList(element, host);
        if (!list.empty()) table.emplace(key, std::move(list));
    }
    return table;
}

void ReadResolutionConfig(VxXmlElement root, ScreenHost& host, ScreenSettings& settings) {
    const Notes notes(host, L"ExScreen::ConfigMgr::ReadResolutionConfig");
    const VxXmlElement section = root.FirstNode("ResolutionConfig");
    if (!notes.Has(section, L"resolutionConfig node is null")) return;
    const VxXmlElement mirror = section.FirstNode("Mirror");
    if (notes.Has(mirror, L"mirror node is null")) settings.mirror = ReadResolutionList(mirror, host);
    const VxXmlElement extend = section.FirstNode("Extend");
    if (notes.Has(extend, L"extend node is null")) settings.extend = ReadResolutionList(extend, host);
}

void ReadMonitorResolutionConfig(VxXmlElement root, ScreenHost& host, ScreenSettings& settings) {
    const Notes notes(host, L"ExScreen::ConfigMgr::ReadMonitorResolutionConfig");
    const VxXmlElement section = root.FirstNode("MonitorResolutionConfig");
    if (notes.Has(section, L"monitorResolutionConfig node is null"))
        settings.monitor = ReadResolutionTable(section, host, notes);
}

void ReadPadResolutionConfig(VxXmlElement root, ScreenHost& host, ScreenSettings& settings) {
    const Notes notes(host, L"ExScreen::ConfigMgr::ReadPadResolutionConfig");
    const VxXmlElement section = root.FirstNode("PadResolutionConfig");
    if (notes.Has(section, L"padResolutionConfig node is null"))
        settings.pad = ReadResolutionTable(section, host, notes);
}

bool LoadConfigFile(ScreenHost& host, const wchar_t* relative, VxXMLDocument& document) {
    const Notes notes(host, L"ExScreen::ConfigMgr::LoadConfigFile");
    std::wstring folder;
    if (!host.Folder(folder)) return false;
    std::wstring path = folder + L"\\" + relative;
#if !defined(_WIN32)
    std::replace(path.begin(), path.end(), L'\\', L'/');
#endif
    if (document.LoadFile(path)) return true;
    notes.Say(kFailure, document.LastFailure() == VxXMLDocument::Failure::kMissing
                            ? L"VxExScreen config file does not exist."
                            : L"Load config file failed.");
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

void ReadScreenConfig(VxXmlElement root, const std::string& device_type, ScreenHost& host, ScreenSettings& settings) {
    ScreenReader(device_type, host, settings).Read(root);
}

void ReadPadResolutions(VxXmlElement root, ScreenHost& host, ScreenSettings& settings) {
    ReadResolutionConfig(root, host, settings);
    ReadMonitorResolutionConfig(root, host, settings);
    ReadPadResolutionConfig(root, host, settings);
}

void LoadScreenSettings(ScreenHost& host, ScreenSettings& settings) {
    const Notes notes(host, L"ExScreen::ConfigMgr::LoadConfig");
    const std::string device_type = host.DeviceType();
    if (device_type.empty()) return notes.Say(kFailure, L"Failed to get device type.");
    VxXMLDocument document;
    if (!LoadConfigFile(host, kScreenConfigFile, document)) return notes.Say(kFailure, L"load cfg file failed");
    ReadScreenConfig(document.RootElement(), device_type, host, settings);
    if (!LoadConfigFile(host, kPadResolutionFile, document)) return notes.Say(kFailure, L"load cfg file failed");
    ReadPadResolutions(document.RootElement(), host, settings);
}

}  // namespace tandor
