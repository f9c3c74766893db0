#include "foundation/channel_logger.h"

#include <spdlog/pattern_formatter.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <string_view>
#include <unordered_map>

#include "base/utf.h"
#include "foundation/channel_sink.h"
#include "foundation/message.h"

namespace tandor {
namespace {

struct ChannelConfiguration {
    std::string_view channel;
    std::string_view file_name;
    std::uint64_t max_size;
    std::uint64_t files;
};

constexpr std::array kChannels{
    ChannelConfiguration{"KoViewTandor", "KoViewTandor.log", 0x80000, 5},
    ChannelConfiguration{"KoViewMirror", "KoViewMirror.log", 0x100000, 5},
    ChannelConfiguration{"KoViewAccountCred", "KoViewAccountCred.log", 0x80000, 5},
};
constexpr std::string_view kAdminDirectory = "C:\\ProgramData\\Comms\\Pelora\\log\\admin\\";
constexpr std::string_view kUserDirectory = "C:\\ProgramData\\Comms\\Pelora\\log\\usr\\";
constexpr int kTries = 5;

constexpr const wchar_t* kGetInnerLogger = L"`anonymous-namespace'::GetInnerLogger";
constexpr const wchar_t* kCreateLogger = L"`anonymous-namespace'::CreateLogger";

// What spdlog cannot do with a record reaches the host log instead of the caller.
void ReportTrouble(const std::string& trouble) { LogMessage(kFailure, L"Logger::Log", trouble); }

std::shared_ptr<spdlog::logger> CreateLogger(const std::string& name, const ChannelConfiguration& configuration,
                                             const std::string& path) {
    for (int attempt = 0; attempt < kTries; ++attempt) {
        LogMessage(kInfo, kCreateLogger, L"try to create logger, tryTime:", attempt);
        try {
            auto logger =
                spdlog::create<ChannelSink>(name, std::filesystem::path(WideFromUtf8(path)), configuration.max_size,
                                            static_cast<unsigned>(configuration.files));
            if (logger == nullptr) continue;
            logger->set_error_handler(ReportTrouble);
            spdlog::set_formatter(std::make_unique<spdlog::pattern_formatter>(
                "%Y-%m-%d %H:%M:%S,%e[%t][%L] - %v", spdlog::pattern_time_type::local, "\r\n"));
            return logger;
        } catch (const std::exception&) {
            continue;  // a failed try; after the last one the caller says that the channel stays silent
        }
    }
    return nullptr;
}

std::atomic<bool> unloading{false};

class ChannelRegistry {
public:
    ~ChannelRegistry() { unloading = true; }

    std::shared_ptr<spdlog::logger> GetInnerLogger(const std::string& name) {
        const std::lock_guard lock(mutex_);
        if (const auto known = loggers_.find(name); known != loggers_.end()) return known->second;
        LogMessage(kInfo, kGetInnerLogger, L"no find logger,start to create");
        const auto* const configuration =
            std::find_if(kChannels.begin(), kChannels.end(), [&](const auto& entry) { return entry.channel == name; });
        if (configuration == kChannels.end()) {
            LogMessage(kInfo, kGetInnerLogger, L"not find config, create failed");
            return nullptr;
        }
        std::string path(name == "KoViewMirror" ? kUserDirectory : kAdminDirectory);
        path += configuration->file_name;
        auto logger = CreateLogger(name, *configuration, path);
        if (logger == nullptr) LogMessage(kInfo, kGetInnerLogger, L"create logger failed");
        loggers_.emplace(name, logger);
        return logger;
    }

private:
    std::recursive_mutex mutex_;  // an observer of the host log may use a channel itself
    std::unordered_map<std::string, std::shared_ptr<spdlog::logger>> loggers_;
};

ChannelRegistry& Registry() {
    static ChannelRegistry registry;
    return registry;
}

}  // namespace

std::shared_ptr<spdlog::logger> ChannelLogger(const std::string& name) {
    ChannelRegistry& registry = Registry();
    return unloading ? nullptr : registry.GetInnerLogger(name);
}

}  // namespace tandor
