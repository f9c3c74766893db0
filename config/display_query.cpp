#include "config/display_query.h"

#include <windows.h>

#include <algorithm>
#include <vector>

namespace tandor {
namespace {

using Path = DISPLAYCONFIG_PATH_INFO;
using Mode = DISPLAYCONFIG_MODE_INFO;

constexpr int kTries = 4;  // displays may come and go between the two calls

struct Configuration {
    std::vector<Path> paths;
    std::vector<Mode> modes;

    [[nodiscard]] const Mode* ModeAt(UINT32 index, DISPLAYCONFIG_MODE_INFO_TYPE type) const {
        return index < modes.size() && modes[index].infoType == type ? &modes[index] : nullptr;
    }
};

std::optional<Configuration> CurrentConfiguration() {
    for (int attempt = 0; attempt < kTries; ++attempt) {
        UINT32 path_count = 0;
        UINT32 mode_count = 0;
        if (::GetDisplayConfigBufferSizes(QDC_DATABASE_CURRENT, &path_count, &mode_count) != ERROR_SUCCESS)
            return std::nullopt;
        Configuration configuration{std::vector<Path>(path_count), std::vector<Mode>(mode_count)};
        DISPLAYCONFIG_TOPOLOGY_ID topology{};
        const LONG status = ::QueryDisplayConfig(QDC_DATABASE_CURRENT, &path_count, configuration.paths.data(),
                                                 &mode_count, configuration.modes.data(), &topology);
        if (status == ERROR_INSUFFICIENT_BUFFER) continue;
        if (status != ERROR_SUCCESS) return std::nullopt;
        configuration.paths.resize(std::min<std::size_t>(path_count, configuration.paths.size()));
        configuration.modes.resize(std::min<std::size_t>(mode_count, configuration.modes.size()));
        return configuration;
    }
    return std::nullopt;
}

bool IsBuiltIn(const Path& path) {
    switch (path.targetInfo.outputTechnology) {
        case DISPLAYCONFIG_OUTPUT_TECHNOLOGY_INTERNAL:
        case DISPLAYCONFIG_OUTPUT_TECHNOLOGY_LVDS:
        case DISPLAYCONFIG_OUTPUT_TECHNOLOGY_DISPLAYPORT_EMBEDDED:
        case DISPLAYCONFIG_OUTPUT_TECHNOLOGY_UDI_EMBEDDED:
            return true;
        default:
            return false;
    }
}

bool IsAtOrigin(const Path& path, const Configuration& configuration) {
    const Mode* const source = configuration.ModeAt(path.sourceInfo.modeInfoIdx, DISPLAYCONFIG_MODE_INFO_TYPE_SOURCE);
    return source != nullptr && source->sourceMode.position.x == 0 && source->sourceMode.position.y == 0;
}

const Path* ChoosePath(const Configuration& configuration) {
    const auto& paths = configuration.paths;
    auto found = std::find_if(paths.begin(), paths.end(), IsBuiltIn);
    if (found == paths.end()) {
        found =
            std::find_if(paths.begin(), paths.end(), [&](const Path& path) { return IsAtOrigin(path, configuration); });
    }
    if (found == paths.end()) found = paths.begin();
    return found == paths.end() ? nullptr : &*found;
}

// What the monitor itself prefers; where the driver does not say, the size that is on the wire or on the desktop.
std::optional<ExScreen::Resolution> SizeOf(const Path& path, const Configuration& configuration) {
    DISPLAYCONFIG_TARGET_PREFERRED_MODE preferred{};
    preferred.header.type = DISPLAYCONFIG_DEVICE_INFO_GET_TARGET_PREFERRED_MODE;
    preferred.header.size = sizeof(preferred);
    preferred.header.adapterId = path.targetInfo.adapterId;
    preferred.header.id = path.targetInfo.id;
    if (::DisplayConfigGetDeviceInfo(&preferred.header) == ERROR_SUCCESS && preferred.width != 0 &&
        preferred.height != 0) {
        return ExScreen::Resolution{preferred.width, preferred.height};
    }
    if (const Mode* const target =
            configuration.ModeAt(path.targetInfo.modeInfoIdx, DISPLAYCONFIG_MODE_INFO_TYPE_TARGET)) {
        const DISPLAYCONFIG_2DREGION& active = target->targetMode.targetVideoSignalInfo.activeSize;
        if (active.cx != 0 && active.cy != 0) return ExScreen::Resolution{active.cx, active.cy};
    }
    if (const Mode* const source =
            configuration.ModeAt(path.sourceInfo.modeInfoIdx, DISPLAYCONFIG_MODE_INFO_TYPE_SOURCE)) {
        return ExScreen::Resolution{source->sourceMode.width, source->sourceMode.height};
    }
    return std::nullopt;
}

}  // namespace

std::optional<ExScreen::Resolution> RecommendedDisplaySize() {
    const std::optional<Configuration> configuration = CurrentConfiguration();
    if (!configuration) return std::nullopt;
    const Path* const path = ChoosePath(*configuration);
    return path == nullptr ? std::nullopt : SizeOf(*path, *configuration);
}

}  // namespace tandor
