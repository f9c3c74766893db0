#include "foundation/channel_sink.h"

namespace tandor {
namespace {

// An append takes a lock between processes, which costs as much as forming a hundred lines.
constexpr std::size_t kGather = RotatingFile::kLargestAppend - 512;  // room for one line more
constexpr std::uint64_t kOldest = 1000;  // ms

}  // namespace

ChannelSink::ChannelSink(const std::filesystem::path& path, std::uint64_t max_size, unsigned rotated_files)
    : file_(path, max_size, rotated_files, RotatingFile::Writers::kManyProcesses) {
    gathered_.reserve(RotatingFile::kLargestAppend);
}

ChannelSink::~ChannelSink() {
    // No report from here: the library may be on its way out, and the host log with it.
    if (!gathered_.empty()) (void)file_.Append(gathered_);
}

void ChannelSink::sink_it_(const spdlog::details::log_msg& message) {
    line_.clear();
    formatter_->format(message, line_);
    // The line is kept first: writing may throw.
    gathered_.append(line_.data(), line_.size());
    if (message.level >= spdlog::level::err || gathered_.size() >= kGather ||
        ::GetTickCount64() - last_write_ >= kOldest) {
        WriteGathered();
    }
}

void ChannelSink::flush_() { WriteGathered(); }

void ChannelSink::WriteGathered() {
    last_write_ = ::GetTickCount64();
    if (gathered_.empty()) return;
    const std::string trouble = file_.Append(gathered_);
    gathered_.clear();
    // spdlog hands this to the logger's error handler, which writes it into the host log.
    if (!trouble.empty()) throw spdlog::spdlog_ex(trouble);
}

}  // namespace tandor
