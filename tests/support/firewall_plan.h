// The user's firewall plan for the length of a test; what stood there before comes back.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "pelora/registry.h"

namespace tandor::test {

// A text in the registry that is set, or missing, for a while.
class RegistryText {
public:
    RegistryText(DE::RegistryRoot root, const wchar_t* key, const wchar_t* name) : root_(root), key_(key), name_(name) {
        std::wstring value;
        if (DE::Registry::GetValue(root_, key_, name_, value)) before_ = value;
        Set(std::nullopt);
    }
    ~RegistryText() { Set(before_); }
    RegistryText(const RegistryText&) = delete;
    RegistryText& operator=(const RegistryText&) = delete;

    void Set(const std::optional<std::wstring>& value) const {
        EXPECT_TRUE(value ? DE::Registry::SetValue(root_, key_, name_, *value)
                          : DE::Registry::DeleteValue(root_, key_, name_));
    }
    [[nodiscard]] std::optional<std::wstring> Get() const {
        std::wstring value;
        return DE::Registry::GetValue(root_, key_, name_, value) ? std::optional(value) : std::nullopt;
    }

private:
    DE::RegistryRoot root_;
    const wchar_t* key_;
    const wchar_t* name_;
    std::optional<std::wstring> before_;
};

struct FirewallPlan {
    RegistryText user{DE::RegistryRoot::kUser, L"SOFTWARE\\Vextro\\Pelora", L"FireWallPlan"};
    RegistryText machine{DE::RegistryRoot::kLocalMachine, L"SOFTWARE\\Vextro\\Pelora", L"FireWallPlan"};
};

}  // namespace tandor::test
