#include "foundation/channel_sink.h"

#include <spdlog/sinks/base_sink-inl.h>

template class spdlog::sinks::base_sink<tandor::Lock>;

namespace tandor {

ChannelSink::ChannelSink(const std::filesystem::path& path, std::uint64_t max_size, unsigned rotated_files)
    : file_(path, max_size, rotated_files, RotatingFile::Writers::kManyProcesses) {}

void ChannelSink::sink_it_(const spdlog::details::log_msg& message) {
    line_.clear();
    formatter_->format(message, line_);
    const std::string trouble = file_.Append({line_.data(), line_.size()}).trouble;
    // spdlog hands this to the logger's error handler, which writes it into the host log.
    if (!trouble.empty()) throw spdlog::spdlog_ex(trouble);
}

}  // namespace tandor
