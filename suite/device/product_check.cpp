#include <algorithm>
#include <array>
#include <string_view>

#include "base/trim.h"
#include "base/utf.h"
#include "pelora/product.h"
#include "pelora/registry.h"

namespace {

constexpr const wchar_t* kSuiteKey = L"SOFTWARE\\Vextro\\Pelora";
constexpr const wchar_t* kBiosKey = L"HARDWARE\\DESCRIPTION\\System\\BIOS";

// What makers leave in the BIOS when nobody filled it in.
constexpr std::array<std::wstring_view, 7> kPlaceholders{L"to be filled by o.e.m.",
                                                         L"default string",
                                                         L"system product name",
                                                         L"not applicable",
                                                         L"not specified",
                                                         L"none",
                                                         L"o.e.m."};

bool IsPlaceholder(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c; });
    return std::find(kPlaceholders.begin(), kPlaceholders.end(), text) != kPlaceholders.end();
}

std::wstring Read(const wchar_t* key, const wchar_t* name) {
    std::wstring text;
    DE::Registry::GetValue(DE::RegistryRoot::kLocalMachine, key, name, text);
    return std::wstring(tandor::Trimmed<wchar_t>(text));
}

}  // namespace

std::string ProductCheckSupport::GetDeviceTypeEx() {
    constexpr std::pair<const wchar_t*, const wchar_t*> kPlaces[] = {
        {kSuiteKey, L"DeviceType"}, {kBiosKey, L"SystemProductName"}, {kBiosKey, L"BaseBoardProduct"}};
    for (const auto& [key, name] : kPlaces) {
        const std::wstring type = Read(key, name);
        if (!type.empty() && !IsPlaceholder(type)) return tandor::Utf8FromWideLossy(type);
    }
    return {};
}
