// A text value of the machine's hive for the length of a scope; then what was there before.
#pragma once

#include <string>

#include "pelora/registry.h"

namespace tandor::test {

class MachineValue {
public:
    MachineValue(std::wstring key, std::wstring name, const std::wstring& value)
        : key_(std::move(key)), name_(std::move(name)) {
        existed_ = DE::Registry::GetValue(DE::RegistryRoot::kLocalMachine, key_, name_, before_);
        DE::Registry::SetValue(DE::RegistryRoot::kLocalMachine, key_, name_, value);
    }
    ~MachineValue() {
        existed_ ? DE::Registry::SetValue(DE::RegistryRoot::kLocalMachine, key_, name_, before_)
                 : DE::Registry::DeleteValue(DE::RegistryRoot::kLocalMachine, key_, name_);
    }
    MachineValue(const MachineValue&) = delete;
    MachineValue& operator=(const MachineValue&) = delete;

private:
    std::wstring key_, name_, before_;
    bool existed_;
};

}  // namespace tandor::test
