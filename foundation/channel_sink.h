// spdlog's end of a channel: gathers whole lines and appends them to the channel's file.
#pragma once

#include <spdlog/sinks/base_sink.h>

#include <mutex>
#include <string>

#include "base/rotating_file.h"

namespace tandor {

// spdlog's own rotating sink cuts the file when another process holds it open at the rename; this one never does.
class ChannelSink final : public spdlog::sinks::base_sink<std::mutex> {
public:
    // Throws std::system_error when the file cannot be opened.
    ChannelSink(const std::filesystem::path& path, std::uint64_t max_size, unsigned rotated_files);
    ~ChannelSink() override;

protected:
    void sink_it_(const spdlog::details::log_msg& message) override;
    void flush_() override;

private:
    void WriteGathered();

    RotatingFile file_;
    spdlog::memory_buf_t line_;
    std::string gathered_;
    std::uint64_t last_write_ = 0;  // tick count
};

}  // namespace tandor
