// The named channels and their spdlog loggers.
#pragma once

#include <memory>
#include <string>

namespace spdlog {
class logger;
}

namespace tandor {

// The channel's shared logger, made on first use. Empty for an unknown channel, for one whose file could not be opened,
// and once the library's unload has begun. Any thread.
std::shared_ptr<spdlog::logger> ChannelLogger(const std::string& name);

}  // namespace tandor
