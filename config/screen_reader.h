// Reads the extended screen's two configuration files into its settings.
#pragma once

#include <string>
#include <string_view>

#include "config/screen_settings.h"
#include "pelora/log_service.h"
#include "pelora/xml.h"

namespace tandor {

inline constexpr const wchar_t* kScreenConfigFile = L"config\\VxExScreen\\VxExScreenConfig.xml";
inline constexpr const wchar_t* kPadResolutionFile = L"cloundConfig\\VxExScreen\\PadResolutionConfig.xml";

// What the reader needs of the machine it runs on.
class ScreenHost {
public:
    virtual ~ScreenHost() = default;

    // The PC's device type; empty when it is not known.
    virtual std::string DeviceType() = 0;
    // The folder below which the files lie. False when it cannot be had; the host has said why.
    virtual bool Folder(std::wstring& folder) = 0;
    // Whether the layouts for a 3:2 landscape display apply, rather than the others. Asked at most once, when it
    // matters.
    virtual bool IsHorizontal() = 0;
    // The file says whether this PC supports audio switching.
    virtual void AudioSwitchKnown(bool supported) = 0;
    // A message of the function named.
    virtual void Note(LOG_MESSAGE_LEVEL level, std::wstring_view function, std::wstring_view text) = 0;
};

// Both files, in the order in which callers know the messages. What is missing stays as `settings` has it.
void LoadScreenSettings(ScreenHost& host, ScreenSettings& settings);

// The values from a tree, for a device type.
void ReadScreenConfig(VxXmlElement root, const std::string& device_type, ScreenHost& host, ScreenSettings& settings);
void ReadPadResolutions(VxXmlElement root, ScreenHost& host, ScreenSettings& settings);

// Whether `entry` stands in the list of texts separated by semicolons. White space around an entry does not count.
bool ListHolds(std::string_view list, std::string_view entry);

// The sizes that a list of resolutions accepts, and how many of them.
inline constexpr std::uint32_t kLeastEdge = 101;
inline constexpr std::uint32_t kGreatestEdge = 9999;
inline constexpr std::size_t kMostResolutions = 64;

}  // namespace tandor
