#include "config/display_choice.h"

#include <algorithm>
#include <cstdint>

namespace tandor {

std::optional<ChosenDisplay> ChooseDisplay(std::span<const DisplayFacts> displays) {
    if (displays.empty()) return std::nullopt;
    ChosenDisplay chosen{ChosenDisplay::Because::kBuiltIn, {}};
    auto found = std::find_if(displays.begin(), displays.end(), [](const auto& display) { return display.built_in; });
    if (found == displays.end()) {
        chosen.because = ChosenDisplay::Because::kAtOrigin;
        found = std::find_if(displays.begin(), displays.end(), [](const auto& display) { return display.at_origin; });
    }
    if (found == displays.end()) {
        chosen.because = ChosenDisplay::Because::kFirst;
        found = displays.begin();
    }
    for (const ExScreen::Resolution& size : {found->preferred, found->active, found->source}) {
        if (size.width == 0 || size.height == 0) continue;
        chosen.size = size;
        return chosen;
    }
    return std::nullopt;
}

bool IsThreeByTwo(const ExScreen::Resolution& size) {
    return std::uint64_t{2} * size.width == std::uint64_t{3} * size.height;
}

}  // namespace tandor
