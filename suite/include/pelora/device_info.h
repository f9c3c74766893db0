/// @file
/// Product adaptation: what this PC is called towards the suite's servers.
#pragma once

#include <string>

#include "pelora/api.h"

/// The PC as one among many.
class PELORA_API DeviceInfo {
public:
    /// The PC's identifier as UTF-8. In this order, the first that is not empty, without the white space around it:
    ///
    ///   1. value "DeviceId" (text) of the machine's key `SOFTWARE\Vextro\Pelora`: for support and tests
    ///   2. value "MachineGuid" of the machine's key `SOFTWARE\Microsoft\Cryptography`, drawn when Windows was set up
    ///
    /// Empty when there is none. Asked anew at each call, on any thread. Throws std::bad_alloc alone.
    static std::string GetDeviceId();
};

/// The PC as a product.
class PELORA_API DeviceType {
public:
    /// The process-wide instance; it lives until the suite is unloaded.
    static DeviceType& GetInstance();

    /// The product's name as UTF-8, which is what ProductCheckSupport::GetDeviceTypeEx says. Returns 0, or 1168 (not
    /// found) when the machine has none; `out` is then untouched. Any thread; throws std::bad_alloc alone.
    int GetProductName(std::string& out) const;

private:
    DeviceType() = default;
};
