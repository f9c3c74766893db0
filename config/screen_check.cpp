#include "config/screen_check.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <set>
#include <span>

#include "base/decimal.h"
#include "base/trim.h"
#include "config/screen_reader.h"

namespace tandor {
namespace {

// What an element may hold.
enum class Kind {
    kSection,      // the children listed, each once
    kNumber,       // by the rule of its value
    kInteger,      // any number
    kText,         // some text
    kDeviceList,   // device types, separated by semicolons
    kDevices,      // "Device" elements, each with the children listed and a "Type" of its own
    kPerDevice,    // one element for each device type, named by it, beside the children listed
    kResolutions,  // "Resolution" elements
    kEdge,         // a width or height of a resolution
};

struct Shape {
    const char* name;
    Kind kind;
    std::span<const Shape> children{};
    ScreenValue value{};
};

constexpr Shape Number(const char* name, ScreenValue value) { return {name, Kind::kNumber, {}, value}; }

constexpr Shape kAudio[] = {Number("MinVolumn", ScreenValue::kMinVolume), Number("Margin", ScreenValue::kSpeakerMargin),
                            Number("SampleRate", ScreenValue::kSampleRate), Number("BitDepth", ScreenValue::kBitDepth),
                            Number("InCh", ScreenValue::kInputChannels)};
constexpr Shape kNoSupport[] = {{"NoSupport", Kind::kDeviceList}};
constexpr Shape kRotation[] = {Number("Rotation", ScreenValue::kRotation)};
constexpr Shape kVideo[] = {{"Type", Kind::kText},
                            Number("FpsThreshold", ScreenValue::kFpsThreshold),
                            Number("EncoderBitrate", ScreenValue::kEncoderBitrate),
                            Number("EncoderIdrInterval", ScreenValue::kEncoderIdrInterval),
                            Number("DisplayFrequency", ScreenValue::kDisplayFrequency)};
constexpr Shape kFollowPc[] = {{"Type", Kind::kText},
                               Number("PrimaryWidth", ScreenValue::kFollowPcWidth),
                               Number("PrimaryHeight", ScreenValue::kFollowPcHeight),
                               Number("PrimaryDpi", ScreenValue::kFollowPcDpi)};
constexpr Shape kPadHide[] = {Number("PrimaryWidth", ScreenValue::kFollowPadHideWidth),
                              Number("PrimaryHeight", ScreenValue::kFollowPadHideHeight)};
constexpr Shape kPadShow[] = {Number("PrimaryWidth", ScreenValue::kFollowPadShowWidth),
                              Number("PrimaryHeight", ScreenValue::kFollowPadShowHeight)};
constexpr Shape kPadLayout[] = {{"Hide", Kind::kSection, kPadHide}, {"Show", Kind::kSection, kPadShow}};
constexpr Shape kFollowPad[] = {{"Horizontal", Kind::kSection, kPadLayout}, {"Vertical", Kind::kSection, kPadLayout}};
constexpr Shape kExtendHide[] = {Number("SecondaryWidth", ScreenValue::kExtendHideSecWidth),
                                 Number("SecondaryHeight", ScreenValue::kExtendHideSecHeight)};
constexpr Shape kExtendShow[] = {Number("SecondaryWidth", ScreenValue::kExtendShowSecWidth),
                                 Number("SecondaryHeight", ScreenValue::kExtendShowSecHeight)};
constexpr Shape kExtendLayout[] = {Number("PrimaryWidth", ScreenValue::kExtendPrimWidth),
                                   Number("PrimaryHeight", ScreenValue::kExtendPrimHeight),
                                   {"Hide", Kind::kSection, kExtendHide},
                                   {"Show", Kind::kSection, kExtendShow}};
constexpr Shape kModes[] = {{"Mirror", Kind::kResolutions}, {"Extend", Kind::kResolutions}};
constexpr Shape kRatios[] = {
    {"Ratio3To2", Kind::kResolutions}, {"Ratio16To10", Kind::kResolutions}, {"Ratio16To9", Kind::kResolutions}};
constexpr Shape kSupport[] = {{"Support", Kind::kDeviceList}};
constexpr Shape kRoot[] = {{"AutoDetect", Kind::kPerDevice, kAudio},
                           {"AudioSwitch", Kind::kSection, kNoSupport},
                           {"LcdDirection", Kind::kPerDevice, kRotation},
                           {"DriverLimitSwitch", Kind::kInteger},
                           {"DeviceConfig", Kind::kDevices, kVideo},
                           {"FollowPC", Kind::kDevices, kFollowPc},
                           {"FollowPad", Kind::kSection, kFollowPad},
                           {"Horizontal", Kind::kSection, kExtendLayout},
                           {"Vertical", Kind::kSection, kExtendLayout},
                           {"ResolutionConfig", Kind::kSection, kModes},
                           {"MonitorResolutionConfig", Kind::kSection, kRatios},
                           {"PadResolutionConfig", Kind::kSection, kRatios}};
constexpr Shape kResolution[] = {{"Width", Kind::kEdge}, {"Height", Kind::kEdge}};

// As much of a text as tells which one it is: a name or value may fill the file, and stand in each of its reports.
std::string Excerpt(const char* text, std::size_t size) {
    constexpr std::size_t kMost = 60;  // bytes
    if (size <= kMost) return std::string(text, size);
    std::size_t end = kMost;
    while (end > 0 && (text[end] & 0xC0) == 0x80) --end;  // in the midst of a character
    return std::string(text, end) + "…";
}

std::string Quoted(std::string_view text) { return "'" + Excerpt(text.data(), text.size()) + "'"; }
std::string Tagged(VxXmlElement element) {
    return "<" + Excerpt(element.Name(), ::strnlen(element.Name(), 1000)) + ">";
}
std::string Within(std::int64_t least, std::int64_t greatest) {
    return std::to_string(least) + " to " + std::to_string(greatest);
}

template <class Visit>
void EachChild(VxXmlElement parent, const Visit& visit) {
    for (VxXmlElement child = parent.FirstNode(); !child.IsElementNull(); child = child.NextSiblingElement())
        visit(child);
}

const Shape* FindShape(std::span<const Shape> shapes, const char* name) {
    const auto found = std::find_if(shapes.begin(), shapes.end(),
                                    [&](const Shape& shape) { return std::strcmp(shape.name, name) == 0; });
    return found == shapes.end() ? nullptr : &*found;
}

class Checker {
public:
    void CheckSection(VxXmlElement section, std::span<const Shape> shapes) {
        std::set<std::string_view> seen;
        EachChild(section, [&](VxXmlElement child) {
            const Shape* const shape = FindShape(shapes, child.Name());
            if (shape == nullptr) {
                Report(child, Tagged(child) + " is not known in " + Tagged(section) + " and is passed over");
            } else if (!seen.insert(shape->name).second) {
                Report(child, Tagged(child) + " stands here a second time; only the first one counts");
            } else {
                Check(child, *shape);
            }
        });
    }

    std::vector<ScreenProblem> Take() {
        if (more_ != 0) problems_.push_back({last_, "and " + std::to_string(more_) + " more problem(s)"});
        std::stable_sort(problems_.begin(), problems_.end(),
                         [](const auto& left, const auto& right) { return left.line < right.line; });
        return std::move(problems_);
    }

private:
    // The shapes are nested a few levels deep, and so is this.
    void Check(VxXmlElement element, const Shape& shape) {
        switch (shape.kind) {
            case Kind::kSection:
                return CheckSection(element, shape.children);
            case Kind::kNumber:
                return CheckNumber(element, RuleOf(shape.value));
            case Kind::kInteger:
                return (void)Read(element);
            case Kind::kText:
                return CheckText(element);
            case Kind::kDeviceList:
                return (void)Entries(element);
            case Kind::kDevices:
                return CheckDevices(element, shape.children);
            case Kind::kPerDevice:
                return CheckPerDevice(element, shape.children);
            case Kind::kResolutions:
                return CheckResolutions(element);
            case Kind::kEdge:
                return CheckEdge(element);
        }
    }

    std::optional<std::int64_t> Read(VxXmlElement element) {
        const auto number = ParseDecimal<std::int64_t>(element.Value());
        if (number && *number <= kGreatestNumber) return number;
        Report(element, Tagged(element) + " holds " + Quoted(element.Value()) + ", which is not a whole number up to " +
                            std::to_string(kGreatestNumber));
        return std::nullopt;
    }

    void CheckNumber(VxXmlElement element, const ScreenRule& rule) {
        const auto number = Read(element);
        if (!number || (*number >= rule.least && *number <= rule.greatest)) return;
        Report(element, Tagged(element) + " is " + std::to_string(*number) + " and must be " +
                            Within(rule.least, std::min<std::int64_t>(rule.greatest, kGreatestNumber)) + "; " +
                            std::to_string(rule.otherwise) + " is taken instead");
    }

    void CheckEdge(VxXmlElement element) {
        const auto number = Read(element);
        if (!number || (*number >= kLeastEdge && *number <= kGreatestEdge)) return;
        Report(element, Tagged(element) + " is " + std::to_string(*number) + " and must be " +
                            Within(kLeastEdge, kGreatestEdge) + "; the resolution is left out");
    }

    void CheckText(VxXmlElement element) {
        if (element.Value().empty()) Report(element, Tagged(element) + " is empty");
    }

    std::set<std::string_view> Entries(VxXmlElement element) {
        std::set<std::string_view> entries;
        std::string_view list = element.Value();
        while (!list.empty()) {
            const std::size_t end = std::min(list.find(';'), list.size());
            const std::string_view entry = Trimmed(list.substr(0, end));
            if (!entry.empty() && !entries.insert(entry).second)
                Report(element, Quoted(entry) + " stands in " + Tagged(element) + " twice");
            list.remove_prefix(std::min(end + 1, list.size()));
        }
        return entries;
    }

    void CheckDevices(VxXmlElement section, std::span<const Shape> shapes) {
        std::set<std::string_view> types;
        EachChild(section, [&](VxXmlElement device) {
            if (std::strcmp(device.Name(), "Device") != 0) {
                return Report(device, Tagged(device) + " is not known in " + Tagged(section) + " and is passed over");
            }
            const VxXmlElement type = device.FirstNode("Type");
            if (type.IsElementNull()) Report(device, "<Device> has no <Type>, so it is for no device");
            if (!type.Value().empty() && !types.insert(type.Value()).second) {
                Report(type, Quoted(type.Value()) + " has a <Device> already; only the first one counts");
            }
            CheckSection(device, shapes);
        });
    }

    // A section with "Support" lists the devices that have an element; one without just has the elements.
    void CheckPerDevice(VxXmlElement section, std::span<const Shape> shapes) {
        const VxXmlElement support = section.FirstNode("Support");
        const bool listed = std::strcmp(section.Name(), "AutoDetect") == 0;
        if (listed && support.IsElementNull())
            Report(section, Tagged(section) + " has no <Support>, so it is for no device");
        const std::set<std::string_view> devices = Entries(support);
        std::set<std::string_view> seen;
        EachChild(section, [&](VxXmlElement child) {
            if (!seen.insert(child.Name()).second)
                Report(child, Tagged(child) + " stands here a second time; only the first one counts");
            if (listed && FindShape(kSupport, child.Name()) != nullptr) return;
            if (listed && !devices.contains(child.Name())) {
                Report(child, Tagged(child) + " is not listed in <Support>, so it is passed over");
            }
            CheckSection(child, shapes);
        });
        for (const std::string_view device : devices) {
            if (!seen.contains(device))
                Report(support, Quoted(device) + " has no element of its own in " + Tagged(section));
        }
    }

    void CheckResolutions(VxXmlElement list) {
        std::size_t count = 0;
        EachChild(list, [&](VxXmlElement resolution) {
            if (std::strcmp(resolution.Name(), "Resolution") != 0) {
                return Report(resolution,
                              Tagged(resolution) + " is not known in " + Tagged(list) + " and is passed over");
            }
            if (++count == kMostResolutions + 1) {
                Report(resolution, Tagged(list) + " has more than " + std::to_string(kMostResolutions) +
                                       " resolutions; the rest is left out");
            }
            for (const Shape& edge : kResolution) {
                if (resolution.FirstNode(edge.name).IsElementNull()) {
                    Report(resolution, "<Resolution> has no <" + std::string(edge.name) + ">, so it is left out");
                }
            }
            CheckSection(resolution, kResolution);
        });
        if (count == 0) Report(list, Tagged(list) + " lists no <Resolution>");
    }

    void Report(VxXmlElement element, std::string text) {
        last_ = std::max(last_, element.Line());
        if (problems_.size() == kMostProblems) {
            ++more_;
        } else {
            problems_.push_back({element.Line(), std::move(text)});
        }
    }

    std::vector<ScreenProblem> problems_;
    std::size_t more_ = 0;
    int last_ = 0;  // line of a problem
};

}  // namespace

std::vector<ScreenProblem> CheckScreenConfig(VxXmlElement root) {
    Checker checker;
    checker.CheckSection(root, kRoot);
    return checker.Take();
}

}  // namespace tandor
