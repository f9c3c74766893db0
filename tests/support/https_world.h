// What an HTTPS request meets on this machine: a bundle of authorities beside the program, and proxies.
#pragma once

#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "pelora/registry.h"
#include "support/certificates.h"
#include "support/files.h"
#include "tandor/uncopyable.h"

namespace tandor::test {

inline std::filesystem::path ProgramFolder() {
    wchar_t path[MAX_PATH];
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).parent_path();
}

// For as long as it lives, the bundle beside the program holds one authority of our own, and there is no proxy, neither
// of the system nor in the environment. Then everything is as before.
class HttpsWorld : UnCopyable {
public:
    HttpsWorld() : authority(MakeAuthority("Authority of the tests, Prüfstelle")) {
        std::filesystem::create_directories(bundle.parent_path());
        if (std::filesystem::exists(bundle)) bundle_before_ = ReadAll(bundle);
        DE::Registry::GetValue(DE::RegistryRoot::kCurrentUser, kKey, kValue, proxy_before_);
        WriteAll(bundle, Pem(authority));
        SetSystemProxy("");
        for (const char* name :
             {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"})
            ::SetEnvironmentVariableA(name, nullptr);
    }
    ~HttpsWorld() {
        std::error_code ignored;
        bundle_before_ ? WriteAll(bundle, *bundle_before_)
                       : static_cast<void>(std::filesystem::remove(bundle, ignored));
        proxy_before_.empty() ? DE::Registry::DeleteValue(DE::RegistryRoot::kCurrentUser, kKey, kValue)
                              : DE::Registry::SetValue(DE::RegistryRoot::kCurrentUser, kKey, kValue, proxy_before_);
    }

    // The user's settings as the system keeps them: a counter, flags (2: use the list), and three texts with lengths.
    static void SetSystemProxy(const std::string& list, bool used = true) {
        std::vector<unsigned char> blob;
        const auto number = [&blob](std::size_t value) {
            for (int shift = 0; shift < 32; shift += 8) blob.push_back(static_cast<unsigned char>(value >> shift));
        };
        number(0x46);
        number(1);
        number(used && !list.empty() ? 3 : 1);
        number(list.size());
        blob.insert(blob.end(), list.begin(), list.end());
        number(0);
        number(0);
        blob.resize(blob.size() + 32);
        DE::Registry::SetValue(DE::RegistryRoot::kCurrentUser, kKey, kValue, blob);
    }

    const std::filesystem::path bundle = ProgramFolder() / L"config" / L"cacert.pem";
    const Identity authority;

private:
    static constexpr const wchar_t* kKey =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings\\Connections";
    static constexpr const wchar_t* kValue = L"DefaultConnectionSettings";

    std::optional<std::string> bundle_before_;
    std::vector<unsigned char> proxy_before_;
};

}  // namespace tandor::test
