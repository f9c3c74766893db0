#include <fmt/format.h>
#include <openssl/err.h>
#include <openssl/pem.h>

#include <fstream>
#include <iterator>
#include <memory>

#include "app/command.h"
#include "app/doctor/doctor.h"
#include "base/crypto_start.h"
#include "pelora/ie_proxy_helper.h"
#include "tandor/http_download.h"

namespace tandor::app {
namespace {

struct Bundle {
    std::size_t authorities = 0;
    bool damaged = false;  // behind those
};

// Read as the request's library reads it: one certificate that cannot be read makes all of it useless.
Bundle ReadBundle(const std::string& file) {
    std::ifstream stream(PathFrom(file), std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    Bundle bundle;
    if (!StartCrypto()) return bundle;
    const std::unique_ptr<BIO, int (*)(BIO*)> memory(
        ::BIO_new_mem_buf(content.data(), static_cast<int>(content.size())), ::BIO_free);
    while (memory) {
        const std::unique_ptr<X509, void (*)(X509*)> certificate(
            ::PEM_read_bio_X509(memory.get(), nullptr, nullptr, nullptr), ::X509_free);
        if (!certificate) break;
        ++bundle.authorities;
    }
    bundle.damaged = ERR_GET_REASON(::ERR_peek_last_error()) != PEM_R_NO_START_LINE;
    ::ERR_clear_error();
    return bundle;
}

}  // namespace

void CheckHttps(Findings& findings) {
    const char* const thing = "HTTPS request";
    const std::string file = HttpDownloadHelper::GetCaPath();
    const Bundle bundle = ReadBundle(file);
    if (bundle.authorities == 0 || bundle.damaged) {
        const std::string trouble = bundle.damaged
                                        ? fmt::format("is damaged behind {} certificates", bundle.authorities)
                                        : "is missing or has no certificate";
        findings.push_back({thing, Verdict::kLimited, file + " " + trouble + ": no server is trusted",
                            "put the authorities' certificates (PEM) there"});
        return;
    }
    const bool proxy = IEProxyHelper::GetInstance()->GetDefaultIEProxy();
    findings.push_back({thing, Verdict::kWorks,
                        fmt::format("{} authorities in {}, {}", bundle.authorities, file,
                                    proxy ? "through the system's proxy" : "no system proxy"),
                        ""});
}

}  // namespace tandor::app
