// The extended screen's configuration for looking only: nothing is written.
#pragma once

#include <filesystem>
#include <string>

#include "app/command.h"
#include "config/screen_reader.h"

namespace tandor::app {

// What a PC of the device type reads below the folder.
ScreenReading LookAtScreen(const std::filesystem::path& folder, const std::string& device_type);

// The messages as objects with "level", "function" and "text"; with `failures_only`, those of failures.
Json MessagesOf(const ScreenReading& reading, bool failures_only);

// Where an answer comes from.
struct Origin {
    std::string why;   // a default is answered; empty when the file's value is
    std::string file;  // without its folder; empty for none
    int line = 0;      // 0 for none
};
Origin OriginOf(const ScreenSettings& settings, ScreenValue value, const std::string& device_type);
// "VxExScreenConfig.xml:23", or "default: " and the reason, with the place where it lies.
std::string TextOf(const Origin& origin);

// What the file has wrong, as objects with "file", "line" and "problem".
Json ScreenProblems(const std::filesystem::path& file);

}  // namespace tandor::app
