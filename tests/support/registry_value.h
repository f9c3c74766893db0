// A value of the registry for the length of a test; what stood there before comes back.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "pelora/registry.h"
#include "tandor/uncopyable.h"

namespace tandor::test {

using DE::Registry, DE::RegistryRoot;

constexpr const wchar_t* kSuiteKey = L"SOFTWARE\\Vextro\\Pelora";
constexpr const wchar_t* kBiosKey = L"HARDWARE\\DESCRIPTION\\System\\BIOS";

// What the registry holds under that name. No value when it holds nothing of that type.
template <class Value>
std::optional<Value> ReadValue(RegistryRoot root, const std::wstring& key, const std::wstring& name) {
    Value value;
    return Registry::GetValue(root, key, name, value) ? std::optional(value) : std::nullopt;
}

// Sets the value, or takes it away. Returns whether that was possible.
template <class Value>
bool WriteValue(RegistryRoot root, const std::wstring& key, const std::wstring& name,
                const std::optional<Value>& value) {
    return value ? Registry::SetValue(root, key, name, *value) : Registry::DeleteValue(root, key, name);
}

// A text that is set, or missing, for a while.
class RegistryText : UnCopyable {
public:
    RegistryText(RegistryRoot root, std::wstring key, std::wstring name, std::optional<std::wstring> value = {})
        : root_(root), key_(std::move(key)), name_(std::move(name)), before_(Get()) {
        Set(value);
    }
    ~RegistryText() { Set(before_); }

    void Set(const std::optional<std::wstring>& value) const { EXPECT_TRUE(WriteValue(root_, key_, name_, value)); }
    [[nodiscard]] std::optional<std::wstring> Get() const { return ReadValue<std::wstring>(root_, key_, name_); }

private:
    RegistryRoot root_;
    std::wstring key_, name_;
    std::optional<std::wstring> before_;
};

// A text of the machine's hive.
struct MachineText : RegistryText {
    MachineText(const wchar_t* key, const wchar_t* name, std::optional<std::wstring> value = {})
        : RegistryText(RegistryRoot::kLocalMachine, key, name, std::move(value)) {}
};

// The user's firewall plan and the machine's.
struct FirewallPlan {
    RegistryText user{RegistryRoot::kUser, kSuiteKey, L"FireWallPlan"};
    MachineText machine{kSuiteKey, L"FireWallPlan"};
};

}  // namespace tandor::test
