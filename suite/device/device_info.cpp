#include "pelora/device_info.h"

#include <windows.h>

#include "base/trim.h"
#include "base/utf.h"
#include "pelora/product.h"
#include "pelora/registry.h"

std::string DeviceInfo::GetDeviceId() {
    constexpr std::pair<const wchar_t*, const wchar_t*> kPlaces[] = {
        {L"SOFTWARE\\Vextro\\Pelora", L"DeviceId"}, {L"SOFTWARE\\Microsoft\\Cryptography", L"MachineGuid"}};
    for (const auto& [key, name] : kPlaces) {
        std::wstring text;
        DE::Registry::GetValue(DE::RegistryRoot::kLocalMachine, key, name, text);
        const auto id = tandor::Trimmed<wchar_t>(text);
        if (!id.empty()) return tandor::Utf8FromWideLossy(id);
    }
    return {};
}

DeviceType& DeviceType::GetInstance() {
    static DeviceType type;
    return type;
}

int DeviceType::GetProductName(std::string& out) const {
    std::string name = ProductCheckSupport::GetDeviceTypeEx();
    if (name.empty()) return ERROR_NOT_FOUND;
    out = std::move(name);
    return 0;
}
