// Which of several displays counts.
#pragma once

#include <optional>
#include <span>

#include "tandor/screen_config.h"

namespace tandor {

// What the system says about an active display. Sizes that it does not know are 0.
struct DisplayFacts {
    bool built_in = false;
    bool at_origin = false;          // of the desktop
    ExScreen::Resolution preferred;  // by the display itself
    ExScreen::Resolution active;     // on the wire
    ExScreen::Resolution source;     // on the desktop
};

struct ChosenDisplay {
    enum class Because { kBuiltIn, kAtOrigin, kFirst };
    Because because = Because::kFirst;
    ExScreen::Resolution size;  // recommended
};

// The built-in display, without one the display at the desktop's origin, without that the first; with the first of its
// sizes that is known. None without displays and for one without any size.
std::optional<ChosenDisplay> ChooseDisplay(std::span<const DisplayFacts> displays);

// Whether a display of this size is 3:2 in landscape.
bool IsThreeByTwo(const ExScreen::Resolution& size);

}  // namespace tandor
