// A message on its way to both logs, beside the chain that one would write first.
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

#include "benchmarks/microseconds.h"
#include "benchmarks/ratio.h"
#include "foundation/message.h"

namespace tandor::bench {
namespace {

int OurLine(int width, int height) {
    static const Logger channel("KoViewMirror");
    LogMessage(channel, kInfo, L"ExScreen::ConfigMgr::ReadResolutionList", Tag{L"ConfigMgr"},
               L"ReadResolutionList width:", width, L",height:", height);
    return width;
}

int OurChannelLine(int width, int height) {
    static const Logger channel("KoViewMirror");
    const message_detail::LentStream stream;
    for (const wchar_t* const text : {L"[ConfigMgr]", L"ReadResolutionList width:"})
        message_detail::PutPart(*stream, text);
    message_detail::PutPart(*stream, width);
    message_detail::PutPart(*stream, L",height:");
    message_detail::PutPart(*stream, height);
    channel.Log(kInfo, *stream);
    return width;
}

std::shared_ptr<spdlog::logger> Rotating(const char* name, bool flushed) {
    const auto path = std::filesystem::temp_directory_path() / (std::string("tandor-") + name + ".log");
    auto logger = spdlog::rotating_logger_mt(name, path.string(), 0x100000, 5);
    logger->set_formatter(std::make_unique<spdlog::pattern_formatter>("%Y-%m-%d %H:%M:%S,%e[%t][%L] - %v",
                                                                      spdlog::pattern_time_type::local, "\r\n"));
    if (flushed) logger->flush_on(spdlog::level::trace);
    return logger;
}

// A host log as one would write it first.
class PlainHostLog {
public:
    explicit PlainHostLog(bool flushed)
        : flushed_(flushed),
          file_(std::fopen((std::filesystem::temp_directory_path() / "tandor-host.log").string().c_str(), "wb")) {}
    ~PlainHostLog() { std::fclose(file_); }
    PlainHostLog(const PlainHostLog&) = delete;
    PlainHostLog& operator=(const PlainHostLog&) = delete;

    void Log(int level, const std::wstringstream& message) {
        const std::wstring wide = message.str();
        std::string text(static_cast<std::size_t>(::WideCharToMultiByte(
                             CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0, nullptr, nullptr)),
                         '\0');
        ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), text.data(),
                              static_cast<int>(text.size()), nullptr, nullptr);
        SYSTEMTIME now;
        ::GetLocalTime(&now);
        const std::lock_guard lock(mutex_);
        if (std::ftell(file_) > 0x200000) std::rewind(file_);
        std::fprintf(file_, "%04u-%02u-%02u %02u:%02u:%02u.%03u [%lu:%lu] %d %s\r\n", now.wYear, now.wMonth, now.wDay,
                     now.wHour, now.wMinute, now.wSecond, now.wMilliseconds, ::GetCurrentProcessId(),
                     ::GetCurrentThreadId(), level, text.c_str());
        if (flushed_) std::fflush(file_);
    }

private:
    bool flushed_;
    std::FILE* file_;
    std::mutex mutex_;
};

template <bool flushed>
int TheirChannelLine(int width, int height) {
    static const auto channel = Rotating(flushed ? "flushed" : "buffered", flushed);
    std::wstringstream stream;
    stream << L"[ConfigMgr]" << L"ReadResolutionList width:" << width << L",height:" << height;
    channel->log(spdlog::level::warn, stream.str());
    return width;
}

template <bool flushed>
int TheirLine(int width, int height) {
    static const auto channel = Rotating(flushed ? "flushed-both" : "buffered-both", flushed);
    static PlainHostLog host(flushed);
    std::wstringstream stream;
    stream << L"[ConfigMgr]" << L"ReadResolutionList width:" << width << L",height:" << height;
    channel->log(spdlog::level::warn, stream.str());
    stream << L"(" << L"ExScreen::ConfigMgr::ReadResolutionList" << L")";
    host.Log(3, stream);
    return width;
}

using Line = int (*)(int, int);

Body Alone(Line line) {
    return Repeat([line] { return line(2560, 1600); });
}

Body FourThreads(Line line) {
    return [line](benchmark::State& state) {
        line(2560, 1600);  // files open
        for (auto _ : state) {
            const int taken = Microseconds([line] {
                std::vector<std::thread> threads;
                for (int i = 0; i < 4; ++i) {
                    threads.emplace_back([line] {
                        for (int n = 0; n < 1000; ++n) line(2560, n);
                    });
                }
                for (std::thread& thread : threads) thread.join();
                return true;
            });
            state.SetIterationTime(taken / 1e6);
        }
    };
}

}  // namespace

void AddLogging() {
    const std::string chain = "the obvious chain, ";
    Compare("a message to channel and host log", chain + "flushed", AtMostTimes(0.75), Alone(OurLine),
            Alone(TheirLine<true>));
    Compare("a message to channel and host log", chain + "not flushed", Reported(), Alone(OurLine),
            Alone(TheirLine<false>));
    Compare("4,000 messages to both logs from four threads", chain + "flushed", AtMostTimes(0.75), FourThreads(OurLine),
            FourThreads(TheirLine<true>), true);
    Compare("a message to a channel", chain + "flushed", Reported(), Alone(OurChannelLine),
            Alone(TheirChannelLine<true>));
    Compare("a message to a channel", chain + "not flushed", Reported(), Alone(OurChannelLine),
            Alone(TheirChannelLine<false>));
}

}  // namespace tandor::bench
