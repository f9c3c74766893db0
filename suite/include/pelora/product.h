/// @file
/// Product adaptation: which product of the suite's machines this is.
#pragma once

#include <string>

#include "pelora/api.h"

/// The PC model.
class PELORA_API ProductCheckSupport {
public:
    /// The PC's device type as UTF-8: the text that the configuration files name PC models by. In this order, the first
    /// that is not empty and no maker's placeholder ("To be filled by O.E.M." and the like), without the white space
    /// around it:
    ///
    ///   1. value "DeviceType" (text) of the machine's key `SOFTWARE\Vextro\Pelora`: for support and tests
    ///   2. value "SystemProductName" of the machine's key `HARDWARE\DESCRIPTION\System\BIOS`
    ///   3. value "BaseBoardProduct" of the same key
    ///
    /// Empty when there is none. Asked anew at each call, on any thread.
    static std::string GetDeviceTypeEx();
};
