// The extended screen's configuration for looking only.
#pragma once

#include <filesystem>
#include <string>

#include "app/command.h"
#include "config/screen_reader.h"

namespace tandor::app {

// The reader's host: nothing is written, and the messages are kept.
class ScreenView final : public ScreenHost {
public:
    ScreenView(std::string device_type, std::filesystem::path folder)
        : device_type_(std::move(device_type)), folder_(std::move(folder)) {}

    std::string DeviceType() override { return device_type_; }
    bool Folder(std::wstring& folder) override;
    bool IsHorizontal() override;
    void AudioSwitchKnown(bool) override {}
    void Note(LOG_MESSAGE_LEVEL level, std::wstring_view function, std::wstring_view text) override;

    Json notes = Json::array();

private:
    std::string device_type_;
    std::filesystem::path folder_;
};

// Where an answer comes from: "file", "default", "out of range" or "unreadable".
std::string Origin(const ScreenSettings& settings, ScreenValue value);

// What the file has wrong, as objects with "file", "line" and "problem".
Json ScreenProblems(const std::filesystem::path& file);

}  // namespace tandor::app
