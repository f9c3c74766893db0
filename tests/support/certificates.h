// Certificates made when they are needed: an authority and what it signs.
#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

namespace tandor::test {

struct CryptoFree {
    void operator()(X509* certificate) const { ::X509_free(certificate); }
    void operator()(EVP_PKEY* key) const { ::EVP_PKEY_free(key); }
};

struct Identity {
    std::unique_ptr<X509, CryptoFree> certificate;
    std::unique_ptr<EVP_PKEY, CryptoFree> key;
};

// An authority with a key on P-256. Everything here throws std::runtime_error when the library refuses.
Identity MakeAuthority(const std::string& name);

struct Wishes {
    int days = 1;      // valid until so many from now
    int from = -2;     // and from so many
    bool rsa = false;  // a key of 2,048 bits instead of one on P-256
};

// A server's certificate for `host` ("IP:127.0.0.1", "DNS:name").
Identity MakeServer(const Identity& authority, const std::string& host, const Wishes& wishes = {});
// The same, signed by itself.
Identity MakeSelfSigned(const std::string& host);

std::string Pem(const Identity& identity);

}  // namespace tandor::test
