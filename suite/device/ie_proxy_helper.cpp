#include "pelora/ie_proxy_helper.h"

#include <windows.h>

#include <winhttp.h>

#include <algorithm>

#include "base/utf.h"
#include "base/win_handle.h"
#include "base/win_system_entry.h"

namespace {

struct GlobalTextPolicy {
    using Value = wchar_t*;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { ::GlobalFree(value); }
};
using GlobalText = tandor::UniqueHandle<GlobalTextPolicy>;

std::wstring ReadProxyList() {
    static const auto read = tandor::SystemEntry<BOOL WINAPI(WINHTTP_CURRENT_USER_IE_PROXY_CONFIG*)>(
        L"winhttp.dll", "WinHttpGetIEProxyConfigForCurrentUser");
    WINHTTP_CURRENT_USER_IE_PROXY_CONFIG config{};
    if (read == nullptr || read(&config) == 0) return {};
    const GlobalText list(config.lpszProxy), bypass(config.lpszProxyBypass), script(config.lpszAutoConfigUrl);
    return list ? list.Get() : std::wstring();
}

bool IsScheme(std::wstring_view text, std::wstring_view scheme) {
    return std::equal(text.begin(), text.end(), scheme.begin(), scheme.end(), [](wchar_t a, wchar_t b) {
        return (a >= L'A' && a <= L'Z' ? static_cast<wchar_t>(a + (L'a' - L'A')) : a) == b;
    });
}

std::wstring_view WithoutScheme(std::wstring_view host) {
    const std::size_t mark = host.find(L"://");
    return mark == std::wstring_view::npos ? host : host.substr(mark + 3);
}

}  // namespace

IEProxyHelper* IEProxyHelper::GetInstance() {
    static IEProxyHelper helper;
    return &helper;
}

bool IEProxyHelper::GetDefaultIEProxy() {
    const std::wstring proxy = HttpsProxyFrom(ReadProxyList());
    if (proxy.empty()) return false;
    std::string text = tandor::Utf8FromWideLossy(proxy);
    const std::lock_guard lock(mutex_);
    proxy_ = std::move(text);
    return true;
}

std::string IEProxyHelper::GetProxy() const {
    const std::lock_guard lock(mutex_);
    return proxy_;
}

// An entry for https wins over the one for all schemes, wherever it stands.
std::wstring IEProxyHelper::HttpsProxyFrom(std::wstring_view list) {
    constexpr std::wstring_view kSeparators = L"; \t\r\n";
    std::wstring_view general;
    for (std::size_t at = list.find_first_not_of(kSeparators); at != std::wstring_view::npos;) {
        const std::size_t end = std::min(list.find_first_of(kSeparators, at), list.size());
        const std::wstring_view entry = list.substr(at, end - at);
        const std::size_t equals = entry.find(L'=');
        if (equals == std::wstring_view::npos) {
            if (general.empty()) general = WithoutScheme(entry);
        } else if (IsScheme(entry.substr(0, equals), L"https")) {
            return std::wstring(WithoutScheme(entry.substr(equals + 1)));
        }
        at = list.find_first_not_of(kSeparators, end);
    }
    return std::wstring(general);
}
