// spdlog's end of a channel: each line goes into the channel's file at once.
#pragma once

#include <spdlog/sinks/base_sink.h>

#include "base/lock.h"
#include "base/rotating_file.h"

namespace tandor {

// spdlog's own rotating sink cuts the file when another process holds it open at the rename; this one never does, and
// shares the file with the sinks of other processes.
class ChannelSink final : public spdlog::sinks::base_sink<Lock> {
public:
    // Throws std::system_error when the file cannot be opened.
    ChannelSink(const std::filesystem::path& path, std::uint64_t max_size, unsigned rotated_files);

protected:
    void sink_it_(const spdlog::details::log_msg& message) override;
    void flush_() override {}  // nothing is held back

private:
    RotatingFile file_;
    spdlog::memory_buf_t line_;
};

}  // namespace tandor
