#include "app/fetch_errors.h"

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <array>

namespace tandor::app {
namespace {

// libcurl's results, as the header of the request lists them.
enum Result : int {
    kDone = 0,
    kUnknownProxy = 5,
    kUnknownHost = 6,
    kNoConnection = 7,
    kCutShort = 18,
    kTooLong = 23,
    kTimeOut = 28,
    kNoTlsAgreement = 35,
    kNoAnswer = 52,
    kNotSent = 55,
    kBroken = 56,
    kNotTrusted = 60,
    kNoBundle = 77
};

Explanation ExplainCertificate(const HttpTransfer& transfer) {
    switch (transfer.certificateCode) {
        case X509_V_OK:
            return {"the server's certificate is for another host (" + transfer.error + ")",
                    "use the name that the certificate was made for"};
        case X509_V_ERR_CERT_HAS_EXPIRED:
            return {"the server's certificate, or one above it, has expired",
                    "have the server's certificate renewed, and check this machine's clock"};
        case X509_V_ERR_CERT_NOT_YET_VALID:
            return {"the server's certificate is not valid yet", "check this machine's clock"};
        case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
            return {"the server's certificate is signed by itself or by an authority that is not in the bundle",
                    "add that authority, if you trust it, to " + HttpDownloadHelper::GetCaPath()};
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
        case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
            return {
                "the authority that signed the server's certificate is not in the bundle, or the server left out a "
                "certificate in between",
                "add that authority, if you trust it, to " + HttpDownloadHelper::GetCaPath()};
        default:
            return {std::string("the server's certificate is not trusted: ") +
                        ::X509_verify_cert_error_string(transfer.certificateCode),
                    "have the server's certificate put right"};
    }
}

// libcurl has one code for every end of a handshake; the cryptographic library's words tell them apart.
Explanation ExplainHandshake(const HttpTransfer& transfer) {
    const auto says = [&](const char* words) { return transfer.error.find(words) != std::string::npos; };
    const std::string detail = " (" + transfer.error + ")";
    if (says("wrong version number") || says("http request"))
        return {"what answers there does not speak TLS" + detail, "check the port, and that the server expects https"};
    if (says("protocol version") || says("unsupported protocol"))
        return {"the server's TLS protocol is too old" + detail, "have TLS 1.2 or 1.3 switched on there"};
    if (says("handshake failure") || says("no shared cipher"))
        return {"the server has no cipher in common" + detail,
                "have TLS 1.3 switched on there, or for TLS 1.2 a cipher with ECDHE or DHE and AES-GCM"};
    return {"no agreement on TLS" + detail, "try again; a server that ends each handshake so needs its owner"};
}

}  // namespace

Explanation Explain(const HttpTransfer& transfer) {
    switch (transfer.code) {
        case kDone:
            return {"the server answered with status " + std::to_string(transfer.status),
                    transfer.status >= 500 ? "try again later, or with --retries" : "check the address and the body"};
        case kUnknownProxy:
            return {transfer.error, "check the proxy in the system's settings"};
        case kUnknownHost:
            return {transfer.error, "check the name and this machine's network"};
        case kNoConnection:
            return {transfer.error, "check that the server runs and that no firewall is in between"};
        case kTooLong:
            return {"the answer is longer than the 128 MiB that are kept of one, or memory is short",
                    "check the address: no configuration is as long"};
        case kNoTlsAgreement:
            return ExplainHandshake(transfer);
        case kNotTrusted:
            return ExplainCertificate(transfer);
        case kNoBundle:
            return {"the bundle of trusted authorities is missing or damaged",
                    "put the authorities' certificates (PEM) into " + HttpDownloadHelper::GetCaPath()};
        default:
            return {transfer.error + " (" + std::to_string(transfer.code) + ")",
                    MayPass(transfer) ? "try again, or with --retries" : ""};
    }
}

bool MayPass(const HttpTransfer& transfer) {
    constexpr std::array kCodes{kUnknownProxy, kUnknownHost, kNoConnection, kCutShort,
                                kTimeOut,      kNoAnswer,    kNotSent,      kBroken};
    constexpr std::array kStatuses{408L, 429L, 500L, 502L, 503L, 504L};
    return transfer.code == kDone ? std::find(kStatuses.begin(), kStatuses.end(), transfer.status) != kStatuses.end()
                                  : std::find(kCodes.begin(), kCodes.end(), transfer.code) != kCodes.end();
}

}  // namespace tandor::app
