#include "tandor/logging.h"

#include <spdlog/logger.h>
#include <windows.h>

#include "base/utf.h"
#include "foundation/channel_logger.h"
#include "pelora/log_service.h"

struct Logger::Holder {
    std::shared_ptr<spdlog::logger> logger;
};

Logger::Logger(const std::string& name) : holder_(new Holder{tandor::ChannelLogger(name)}) {}

Logger::~Logger() { delete holder_; }

void Logger::Log(LOG_MESSAGE_LEVEL level, const std::wstringstream& message) const {
    if (holder_->logger == nullptr || level < LOG_MESSAGE_INFO || level > LOG_MESSAGE_CRITICAL) return;
    tandor::Utf8Buffer utf8;
    holder_->logger->log(static_cast<spdlog::level::level_enum>(level),
                         spdlog::string_view_t(utf8.Convert(message.view())));
}

TickScopeCounter::TickScopeCounter(const Callback& callback) : callback_(callback), start_(::GetTickCount64()) {}
TickScopeCounter::TickScopeCounter(const TickScopeCounter&) = default;
TickScopeCounter& TickScopeCounter::operator=(const TickScopeCounter&) = default;

TickScopeCounter::~TickScopeCounter() {
    if (callback_) callback_(::GetTickCount64() - start_);
}

void TickScopeCounter::OutputOnce(const Callback& callback, bool reset) {
    const std::uint64_t now = ::GetTickCount64();
    const std::uint64_t elapsed = now - start_;
    if (reset) start_ = now;
    const Callback& chosen = callback ? callback : callback_;
    if (chosen) chosen(elapsed);
}
