// What the system says about its displays.
#pragma once

#include "config/display_choice.h"

namespace tandor {

// The display that counts. None when the system does not tell.
std::optional<ChosenDisplay> RecommendedDisplay();

}  // namespace tandor
