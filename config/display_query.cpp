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

// What the monitor itself prefers.
ExScreen::Resolution PreferredSize(const Path& path) {
    DISPLAYCONFIG_TARGET_PREFERRED_MODE preferred{};
    preferred.header.type = DISPLAYCONFIG_DEVICE_INFO_GET_TARGET_PREFERRED_MODE;
    preferred.header.size = sizeof(preferred);
    preferred.header.adapterId = path.targetInfo.adapterId;
    preferred.header.id = path.targetInfo.id;
    if (::DisplayConfigGetDeviceInfo(&preferred.header) != ERROR_SUCCESS) return {};
    return {preferred.width, preferred.height};
}

DisplayFacts FactsOf(const Path& path, const Configuration& configuration) {
    DisplayFacts facts;
    facts.built_in = IsBuiltIn(path);
    facts.preferred = PreferredSize(path);
    if (const Mode* const target =
            configuration.ModeAt(path.targetInfo.modeInfoIdx, DISPLAYCONFIG_MODE_INFO_TYPE_TARGET)) {
        const DISPLAYCONFIG_2DREGION& active = target->targetMode.targetVideoSignalInfo.activeSize;
        facts.active = {active.cx, active.cy};
    }
    if (const Mode* const source =
            configuration.ModeAt(path.sourceInfo.modeInfoIdx, DISPLAYCONFIG_MODE_INFO_TYPE_SOURCE)) {
        facts.source = {source->sourceMode.width, source->sourceMode.height};
        facts.at_origin = source->sourceMode.position.x == 0 && source->sourceMode.position.y == 0;
    }
    return facts;
}

}  // namespace

std::optional<ChosenDisplay> RecommendedDisplay() {
    const std::optional<Configuration> configuration = CurrentConfiguration();
    if (!configuration) return std::nullopt;
    std::vector<DisplayFacts> displays;
    for (const Path& path : configuration->paths) displays.push_back(FactsOf(path, *configuration));
    return ChooseDisplay(displays);
}

}  // namespace tandor
