#include "support/certificates.h"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <stdexcept>

#include "base/crypto_start.h"

namespace tandor::test {
namespace {

constexpr long kDay = 24 * 60 * 60;

void Check(bool good) {
    if (!good) throw std::runtime_error("the certificate cannot be made");
}

void AddExtension(X509* certificate, int kind, const std::string& value) {
    X509_EXTENSION* const extension = ::X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str());
    const bool added = extension != nullptr && ::X509_add_ext(certificate, extension, -1) == 1;
    ::X509_EXTENSION_free(extension);
    Check(added);
}

// Everything but the issuer's name and signature.
Identity Unsigned(const std::string& name, const Wishes& wishes) {
    static long serial = 0;
    Check(StartCrypto());
    Identity identity{std::unique_ptr<X509, CryptoFree>(::X509_new()),
                      std::unique_ptr<EVP_PKEY, CryptoFree>(wishes.rsa ? EVP_RSA_gen(2048u) : EVP_EC_gen("P-256"))};
    X509* const certificate = identity.certificate.get();
    Check(certificate != nullptr && identity.key != nullptr);
    ::X509_set_version(certificate, X509_VERSION_3);
    ::ASN1_INTEGER_set(::X509_get_serialNumber(certificate), ++serial);
    ::X509_gmtime_adj(::X509_getm_notBefore(certificate), wishes.from * kDay);
    ::X509_gmtime_adj(::X509_getm_notAfter(certificate), wishes.days * kDay);
    Check(::X509_NAME_add_entry_by_txt(::X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0) == 1);
    Check(::X509_set_pubkey(certificate, identity.key.get()) == 1);
    return identity;
}

void Sign(X509* certificate, const X509* issuer, EVP_PKEY* key) {
    ::X509_set_issuer_name(certificate, ::X509_get_subject_name(issuer));
    Check(::X509_sign(certificate, key, ::EVP_sha256()) > 0);
}

}  // namespace

Identity MakeAuthority(const std::string& name) {
    Identity authority = Unsigned(name, {});
    X509* const certificate = authority.certificate.get();
    AddExtension(certificate, NID_basic_constraints, "critical,CA:TRUE");
    AddExtension(certificate, NID_key_usage, "critical,keyCertSign");
    Sign(certificate, certificate, authority.key.get());
    return authority;
}

Identity MakeServer(const Identity& authority, const std::string& host, const Wishes& wishes) {
    Identity server = Unsigned("loopback", wishes);
    AddExtension(server.certificate.get(), NID_subject_alt_name, host);
    Sign(server.certificate.get(), authority.certificate.get(), authority.key.get());
    return server;
}

Identity MakeSelfSigned(const std::string& host) {
    Identity server = Unsigned("loopback", {});
    AddExtension(server.certificate.get(), NID_subject_alt_name, host);
    Sign(server.certificate.get(), server.certificate.get(), server.key.get());
    return server;
}

std::string Pem(const Identity& identity) {
    const std::unique_ptr<BIO, int (*)(BIO*)> memory(::BIO_new(::BIO_s_mem()), ::BIO_free);
    Check(memory != nullptr && ::PEM_write_bio_X509(memory.get(), identity.certificate.get()) == 1);
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(size)};
}

}  // namespace tandor::test
