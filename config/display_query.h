// What the system says about its displays.
#pragma once

#include <optional>

#include "tandor/screen_config.h"

namespace tandor {

// The recommended size of the panel that counts: the built-in one, without one the display at the desktop's origin,
// without that the first active one. None when the system does not tell.
std::optional<ExScreen::Resolution> RecommendedDisplaySize();

}  // namespace tandor
