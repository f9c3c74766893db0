// A configuration file of the cryptographic library that spoils every TLS handshake of the programs that read it.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

#include "support/files.h"

namespace tandor::test {

// While this lives, programs that are started find the file where the environment tells the library to look. The path
// is ASCII, because the library would not find another.
class HostileCrypto {
public:
    HostileCrypto()
        : path_(std::filesystem::temp_directory_path() /
                ("hostile-" + std::to_string(::GetCurrentProcessId()) + ".cnf")) {
        WriteAll(path_,
                 "openssl_conf=a\n[a]\nssl_conf=b\n[b]\nsystem_default=c\n[c]\n"
                 "CipherString=NULL-SHA256:@SECLEVEL=0\nCiphersuites=TLS_AES_128_CCM_8_SHA256\n");
        ::SetEnvironmentVariableW(L"OPENSSL_CONF", path_.c_str());
    }
    ~HostileCrypto() {
        ::SetEnvironmentVariableW(L"OPENSSL_CONF", nullptr);
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    HostileCrypto(const HostileCrypto&) = delete;
    HostileCrypto& operator=(const HostileCrypto&) = delete;

private:
    std::filesystem::path path_;
};

}  // namespace tandor::test
