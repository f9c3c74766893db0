/// @file
/// Product adaptation: the proxy that the user set for the system.
#pragma once

#include <mutex>
#include <string>
#include <string_view>

#include "pelora/api.h"

/// Asks for the proxy. The list of exceptions, addresses that the user wants reached without it, is not asked for: what
/// is posted through the suite always takes the proxy. Any thread may ask at any time. Nothing throws but
/// std::bad_alloc.
class PELORA_API IEProxyHelper {
public:
    /// Never null here; callers check it, because a suite without such a helper hands out null.
    static IEProxyHelper* GetInstance();

    /// Reads the user's settings anew. True when they name a proxy for https addresses; it is then held as "host:port".
    /// False when they name none or cannot be read, or leave the choice to a script; what was held before stays.
    bool GetDefaultIEProxy();

    /// The proxy that was found last, as UTF-8; empty before the first one.
    [[nodiscard]] std::string GetProxy() const;

    /// The proxy for https addresses in a list as the system's settings have it: "host:port" for all schemes, or
    /// "scheme=host:port" for some, separated by semicolons or white space. A scheme in front of the host is left out.
    /// Empty when there is none.
    static std::wstring HttpsProxyFrom(std::wstring_view list);

private:
    IEProxyHelper() = default;

    mutable std::mutex mutex_;
    std::string proxy_;
};
