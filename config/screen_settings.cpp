#include "config/screen_settings.h"

#include <algorithm>
#include <limits>

namespace tandor {
namespace {

constexpr std::uint32_t kAny = std::numeric_limits<std::uint32_t>::max();

constexpr ScreenRule Width(const char* name) { return {name, 1920, 101, 9999, 1920}; }
constexpr ScreenRule Height(const char* name) { return {name, 1280, 101, 9999, 1280}; }
constexpr ScreenRule Flag(const char* name) { return {name, 0, 0, 1, 0}; }

constexpr std::array<ScreenRule, kScreenValues> kRules{{
    Flag("ReduceResolutionDevice"),
    Width("FollowPCWidth"),
    Height("FollowPCHeight"),
    {"FollowPCDpi", 0, 0, 500, 0},
    Width("FollowPadHideWidth"),
    Height("FollowPadHideHeight"),
    Width("FollowPadShowWidth"),
    Height("FollowPadShowHeight"),
    Width("ExtendPrimWidth"),
    Height("ExtendPrimHeight"),
    Width("ExtendHideSecWidth"),
    Height("ExtendHideSecHeight"),
    Width("ExtendShowSecWidth"),
    {"ExtendShowSecHeight", 1280, 0, kAny, 1280},  // callers rely on this one being answered unchecked
    {"FpsThreshold", 0, 15, 120, 0},
    {"EncoderBitrate", 0, 0x600000, 0x1400000, 0},
    {"EncoderIdrInterval", 0, 3, 20, 0},
    {"DisplayFrequency", 0, 50, 90, 0},
    Flag("SupportAutoDetect"),
    Flag("SupportAudioSwitch"),
    {"VolumnThresh", 20, 0, 100, 20},
    {"SpeakerMargin", 320, 0, 1000, 320},
    {"SampleRate", 48000, 0, 200000, 48000},
    {"BitDepth", 32, 0, 100, 32},
    {"InCh", 2, 0, 8, 2},
    Flag("DriverLimitOpen"),
    {"ScreenRotationParm", 0, 0, kAny, 0},
}};

bool Fits(const ExScreen::Resolution& inner, const ExScreen::Resolution& outer) {
    return inner.width <= outer.width && inner.height <= outer.height;
}

ExScreen::Resolution Turned(const ExScreen::Resolution& resolution) { return {resolution.height, resolution.width}; }

// How far two aspects are apart: 1 when equal, the larger by the smaller otherwise.
double Distance(const ExScreen::Resolution& landscape, const AspectRatio& ratio) {
    const double quotient =
        static_cast<double>(landscape.width) * ratio.height / (static_cast<double>(landscape.height) * ratio.width);
    return std::max(quotient, 1 / quotient);
}

const ExScreen::ResolutionList* NearestList(const ExScreen::ResolutionTable& table,
                                            const ExScreen::Resolution& landscape) {
    const ExScreen::ResolutionList* nearest = nullptr;
    double least = std::numeric_limits<double>::infinity();
    for (const AspectRatio& ratio : kAspectRatios) {
        const auto entry = table.find(ratio.key);
        if (entry == table.end() || entry->second.empty() || Distance(landscape, ratio) >= least) continue;
        least = Distance(landscape, ratio);
        nearest = &entry->second;
    }
    return nearest;
}

}  // namespace

const ScreenRule& RuleOf(ScreenValue value) noexcept { return kRules[static_cast<std::size_t>(value)]; }

const char* SectionOf(ScreenList list) noexcept {
    if (list < ScreenList::kMonitor) return "ResolutionConfig";
    return list < ScreenList::kPad ? "MonitorResolutionConfig" : "PadResolutionConfig";
}

ScreenSettings::ScreenSettings() noexcept {
    for (std::size_t i = 0; i < kScreenValues; ++i) values[i].value = kRules[i].initial;
}

bool ScreenSettings::InRange(ScreenValue value) const noexcept {
    const ScreenRule& rule = RuleOf(value);
    return Stored(value).value >= rule.least && Stored(value).value <= rule.greatest;
}

std::uint32_t ScreenSettings::Answer(ScreenValue value) const noexcept {
    return InRange(value) ? Stored(value).value : RuleOf(value).otherwise;
}

bool ChooseResolution(const ExScreen::ResolutionTable& table, ExScreen::Resolution display,
                      ExScreen::Resolution& chosen) {
    if (display.width == 0 || display.height == 0) return false;
    const bool portrait = display.height > display.width;
    const ExScreen::Resolution landscape = portrait ? Turned(display) : display;
    const ExScreen::ResolutionList* const list = NearestList(table, landscape);
    if (list == nullptr) return false;
    auto found = std::find_if(list->begin(), list->end(), [&](const auto& one) { return Fits(one, landscape); });
    if (found == list->end()) {
        found = std::min_element(list->begin(), list->end(), [](const auto& left, const auto& right) {
            return std::uint64_t{left.width} * left.height < std::uint64_t{right.width} * right.height;
        });
    }
    chosen = portrait ? Turned(*found) : *found;
    return true;
}

}  // namespace tandor
