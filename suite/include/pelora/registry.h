/// @file
/// The registry, in the one wrapper that everything uses.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "pelora/api.h"

namespace DE {

/// Where a key begins.
enum class RegistryRoot {
    kLocalMachine,  ///< HKEY_LOCAL_MACHINE
    kCurrentUser,   ///< HKEY_CURRENT_USER
    kUser,          ///< HKEY_USERS and the user's identifier: whom the process runs as, or for a service the one at
                    ///< the console (as long as nobody is signed in there, the service itself)
};

/// Values of keys, in the 64-bit view. A key is a path below its root; one leading backslash is left out.
///
/// Every operation is stateless, may be called from any thread, and does not throw except for want of memory. A read
/// that fails (no such key or value, another type, no right, more than 1 MiB) returns false and leaves `value` as it
/// was. A write creates the keys on its way; one that fails returns false and says so in the host log
/// ("DE::Registry::SetValue : Fail").
class PELORA_API Registry {
public:
    /// Whether the key is there and this process may read it.
    static bool KeyExists(RegistryRoot root, std::wstring_view key);

    /// Reads a text (REG_SZ), a number (REG_DWORD) or bytes (REG_BINARY).
    /// @{
    static bool GetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name, std::wstring& value);
    static bool GetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name, std::uint32_t& value);
    static bool GetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name,
                         std::vector<unsigned char>& value);
    /// @}

    /// Writes a text (REG_SZ), a number (REG_DWORD) or bytes (REG_BINARY).
    /// @{
    static bool SetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name, const std::wstring& value);
    static bool SetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name, std::uint32_t value);
    static bool SetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name,
                         const std::vector<unsigned char>& value);
    /// @}

    /// True when the value or key is gone afterwards, also when there was none.
    /// @{
    static bool DeleteValue(RegistryRoot root, std::wstring_view key, const std::wstring& name);
    static bool DeleteKey(RegistryRoot root, std::wstring_view key);
    /// @}
};

}  // namespace DE
