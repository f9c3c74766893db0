/// @file
/// Product adaptation: what the user of this machine has chosen for the suite.
#pragma once

#include <string>

#include "pelora/api.h"

/// The user's choices.
class PELORA_API SystemEnvironment {
public:
    /// The user's firewall plan as UTF-8: "1" when the suite may add its firewall rules, anything else when it may not.
    /// The value "FireWallPlan" (text) of the key `SOFTWARE\Vextro\Pelora`, as it stands: the user's own, or the
    /// machine's when the user has none. Empty when there is neither. Asked anew at each call, on any thread;
    /// std::bad_alloc alone may leave.
    static std::string GetUserFireWallPlan();
};
