#include "pelora/registry.h"

#include <windows.h>

#include <algorithm>
#include <limits>
#include <sstream>

#include "base/win_handle.h"
#include "pelora/log_service.h"
#include "suite/file/user_identifier.h"

namespace DE {
namespace {

constexpr int kReadTries = 8;  // a value may grow between the question for its size and the read
constexpr DWORD kLargestValue = DWORD{1} << 20;

struct Place {
    HKEY root;  // none when the place cannot be told
    std::wstring path;
};

Place Locate(RegistryRoot root, std::wstring_view key) {
    if (key.starts_with(L'\\')) key.remove_prefix(1);
    switch (root) {
        case RegistryRoot::kLocalMachine:
            return {HKEY_LOCAL_MACHINE, std::wstring(key)};
        case RegistryRoot::kCurrentUser:
            return {HKEY_CURRENT_USER, std::wstring(key)};
        case RegistryRoot::kUser:
            break;
    }
    const std::wstring user = pelora::UserIdentifier();
    return {user.empty() ? nullptr : HKEY_USERS, user + L"\\" + std::wstring(key)};
}

tandor::RegistryKey Open(RegistryRoot root, std::wstring_view key, REGSAM access) {
    const Place place = Locate(root, key);
    tandor::RegistryKey opened;
    if (::RegOpenKeyExW(place.root, place.path.c_str(), 0, access | KEY_WOW64_64KEY, opened.Receive()) != ERROR_SUCCESS)
        return {};
    return opened;
}

bool Read(RegistryRoot root, std::wstring_view key, const std::wstring& name, DWORD allowed_types,
          std::vector<unsigned char>& data) {
    const tandor::RegistryKey opened = Open(root, key, KEY_READ);
    if (!opened) return false;
    for (int attempt = 0; attempt < kReadTries; ++attempt) {
        DWORD size = 0;
        LSTATUS status = ::RegGetValueW(opened.Get(), nullptr, name.c_str(), allowed_types, nullptr, nullptr, &size);
        if (status != ERROR_SUCCESS || size > kLargestValue) return false;
        // Room even for nothing: without room the call would tell a grown value's size again instead of reading it.
        size = std::max<DWORD>(size, 1);
        data.resize(size);
        status = ::RegGetValueW(opened.Get(), nullptr, name.c_str(), allowed_types, nullptr, data.data(), &size);
        if (status == ERROR_MORE_DATA) continue;
        data.resize(size);
        return status == ERROR_SUCCESS;
    }
    return false;
}

bool Write(RegistryRoot root, std::wstring_view key, const std::wstring& name, DWORD type, const void* data,
           std::size_t size) {
    const Place place = Locate(root, key);
    tandor::RegistryKey opened;
    const bool written =
        size <= std::numeric_limits<DWORD>::max() &&
        ::RegCreateKeyExW(place.root, place.path.c_str(), 0, nullptr, 0, KEY_SET_VALUE | KEY_WOW64_64KEY, nullptr,
                          opened.Receive(), nullptr) == ERROR_SUCCESS &&
        ::RegSetValueExW(opened.Get(), name.c_str(), 0, type, static_cast<const BYTE*>(data),
                         static_cast<DWORD>(size)) == ERROR_SUCCESS;
    if (!written) {
        std::wstringstream message(L"DE::Registry::SetValue : Fail");
        VxLogger::GetInstance().Log(LOG_MESSAGE_ERROR, message);
    }
    return written;
}

bool Gone(LSTATUS status) { return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND; }

}  // namespace

bool Registry::KeyExists(RegistryRoot root, std::wstring_view key) {
    return static_cast<bool>(Open(root, key, KEY_READ));
}

bool Registry::GetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name, std::wstring& value) {
    std::vector<unsigned char> data;
    if (!Read(root, key, name, RRF_RT_REG_SZ, data)) return false;
    value.assign(reinterpret_cast<const wchar_t*>(data.data()), data.size() / sizeof(wchar_t));
    while (!value.empty() && value.back() == L'\0') value.pop_back();  // the call adds a terminating zero
    return true;
}

bool Registry::GetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name, std::uint32_t& value) {
    std::vector<unsigned char> data;
    if (!Read(root, key, name, RRF_RT_REG_DWORD, data) || data.size() != sizeof(value)) return false;
    std::copy(data.begin(), data.end(), reinterpret_cast<unsigned char*>(&value));
    return true;
}

bool Registry::GetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name,
                        std::vector<unsigned char>& value) {
    std::vector<unsigned char> data;
    if (!Read(root, key, name, RRF_RT_REG_BINARY, data)) return false;
    value = std::move(data);
    return true;
}

bool Registry::SetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name, const std::wstring& value) {
    return Write(root, key, name, REG_SZ, value.c_str(), (value.size() + 1) * sizeof(wchar_t));
}

bool Registry::SetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name, std::uint32_t value) {
    return Write(root, key, name, REG_DWORD, &value, sizeof(value));
}

bool Registry::SetValue(RegistryRoot root, std::wstring_view key, const std::wstring& name,
                        const std::vector<unsigned char>& value) {
    return Write(root, key, name, REG_BINARY, value.data(), value.size());
}

bool Registry::DeleteValue(RegistryRoot root, std::wstring_view key, const std::wstring& name) {
    const tandor::RegistryKey opened = Open(root, key, KEY_SET_VALUE);
    return opened ? Gone(::RegDeleteValueW(opened.Get(), name.c_str())) : !KeyExists(root, key);
}

bool Registry::DeleteKey(RegistryRoot root, std::wstring_view key) {
    const Place place = Locate(root, key);
    // The tree call clears what lies below the key and keeps to the key's own view; the second call removes the key.
    const tandor::RegistryKey opened = Open(root, key, KEY_ALL_ACCESS);
    if (opened && ::RegDeleteTreeW(opened.Get(), nullptr) != ERROR_SUCCESS) return false;
    return Gone(::RegDeleteKeyExW(place.root, place.path.c_str(), KEY_WOW64_64KEY, 0));
}

}  // namespace DE
