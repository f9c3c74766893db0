// Reads the extended screen's two configuration files into its settings.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "config/screen_settings.h"
#include "pelora/log_service.h"
#include "pelora/xml.h"

namespace tandor {

inline constexpr const wchar_t* kScreenConfigFile = L"config\\VxExScreen\\VxExScreenConfig.xml";
inline constexpr const wchar_t* kPadResolutionFile = L"cloundConfig\\VxExScreen\\PadResolutionConfig.xml";

// What reading came upon: a message of the function named. Most are never looked at, so that only literals are kept and
// what goes into them.
struct ScreenFinding {
    [[nodiscard]] std::wstring Text() const;

    LOG_MESSAGE_LEVEL level;
    const wchar_t* function;
    const wchar_t* text;  // %s stands for the subject, %d for the next number
    std::string subject = {};
    std::array<std::int64_t, 2> numbers = {};
};

struct ScreenReading {
    ScreenSettings settings;
    std::vector<ScreenFinding> findings;  // in the order in which callers know the messages
};

// The values that the first file's tree has for a device type. `horizontal` says which layouts apply: those for a 3:2
// landscape display, or the others.
ScreenReading ReadScreenConfig(VxXmlElement root, const std::string& device_type, bool horizontal);
// Whether the tree has layouts, so that `horizontal` matters.
bool HasLayouts(VxXmlElement root);
// What has been read, and the lists of the second file's tree.
ScreenReading ReadPadResolutions(VxXmlElement root, ScreenReading reading);

// Both files below the folder. What is missing keeps its default. The display is asked about at most once, and only
// when it matters.
ScreenReading LoadScreenSettings(const std::wstring& folder, const std::string& device_type,
                                 const std::function<bool()>& is_horizontal);

// Whether `entry` stands in the list of texts separated by semicolons. White space around an entry does not count.
bool ListHolds(std::string_view list, std::string_view entry);

// The greatest number that the files may hold.
inline constexpr std::int64_t kGreatestNumber = 2147483647;

// The sizes that a list of resolutions accepts, and how many entries of it count, valid or not.
inline constexpr std::uint32_t kLeastEdge = 101;
inline constexpr std::uint32_t kGreatestEdge = 9999;
inline constexpr std::size_t kMostResolutions = 64;

}  // namespace tandor
