// The settings of the extended screen as they were read, and the rules by which they are answered.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "tandor/screen_config.h"

namespace tandor {

// The single values, in the order of the settings block. Flags are 0 or 1.
enum class ScreenValue : std::uint8_t {
    kReduceResolution,
    kFollowPcWidth,
    kFollowPcHeight,
    kFollowPcDpi,
    kFollowPadHideWidth,
    kFollowPadHideHeight,
    kFollowPadShowWidth,
    kFollowPadShowHeight,
    kExtendPrimWidth,
    kExtendPrimHeight,
    kExtendHideSecWidth,
    kExtendHideSecHeight,
    kExtendShowSecWidth,
    kExtendShowSecHeight,
    kFpsThreshold,
    kEncoderBitrate,
    kEncoderIdrInterval,
    kDisplayFrequency,
    kAutoDetect,
    kAudioSwitch,
    kMinVolume,
    kSpeakerMargin,
    kSampleRate,
    kBitDepth,
    kInputChannels,
    kDriverLimit,
    kRotation,
};
inline constexpr std::size_t kScreenValues = 27;

// How a value is answered: as stored when it lies in the range, with `otherwise` when not.
struct ScreenRule {
    const char* name;
    std::uint32_t initial;  // what the block holds before the files are read
    std::uint32_t least;
    std::uint32_t greatest;
    std::uint32_t otherwise;
};
const ScreenRule& RuleOf(ScreenValue value) noexcept;

// A value and where it comes from. Elements are named by literals and lie in the first of the two files.
struct StoredValue {
    enum class Source : std::uint8_t {
        kNothing,      // the file was not read, or none has an element for it
        kMissing,      // `element` is not there
        kOtherDevice,  // `element` has nothing for this device type
        kUnreadable,   // `element` holds no number
        kFile,         // `element` holds `written`
    };

    std::uint32_t value = 0;
    Source source = Source::kNothing;
    const char* element = "";
    int line = 0;              // of the element, or of the one in which it is missing; 0 for none
    std::int64_t written = 0;  // `value` but for one that is not taken over out of its range
};

// The lists of resolutions. Those of a table follow each other as kAspectRatios do.
enum class ScreenList : std::uint8_t { kMirror, kExtend, kMonitor, kPad = kMonitor + 3 };
inline constexpr std::size_t kScreenLists = 8;
// The element that holds a mode's list or a table's.
const char* SectionOf(ScreenList list) noexcept;

struct ScreenSettings {
    ScreenSettings() noexcept;

    [[nodiscard]] const StoredValue& Stored(ScreenValue value) const noexcept {
        return values[static_cast<std::size_t>(value)];
    }
    [[nodiscard]] StoredValue& Stored(ScreenValue value) noexcept { return values[static_cast<std::size_t>(value)]; }
    [[nodiscard]] bool InRange(ScreenValue value) const noexcept;
    // What the getter of `value` answers.
    [[nodiscard]] std::uint32_t Answer(ScreenValue value) const noexcept;

    std::array<StoredValue, kScreenValues> values;
    // The lists of the second file.
    ExScreen::ResolutionList mirror;
    ExScreen::ResolutionList extend;
    ExScreen::ResolutionTable monitor;
    ExScreen::ResolutionTable pad;
    bool lists_read = false;                     // the file was
    std::array<int, kScreenLists> list_lines{};  // of their elements; 0 for one that is not there
};

// The aspect ratios by which the resolution tables are keyed.
struct AspectRatio {
    const char* key;
    std::uint32_t width;
    std::uint32_t height;
};
inline constexpr std::array<AspectRatio, 3> kAspectRatios{
    {{"Ratio3To2", 3, 2}, {"Ratio16To10", 16, 10}, {"Ratio16To9", 16, 9}}};

// The choice that ConfigMgr::GetMonitorPreResolution describes.
bool ChooseResolution(const ExScreen::ResolutionTable& table, ExScreen::Resolution display,
                      ExScreen::Resolution& chosen);

}  // namespace tandor
