// The first call into the cryptographic library, for everyone in a module who uses it.
#pragma once

#include <openssl/crypto.h>

namespace tandor {

// Without this the library would read a configuration file from a directory that on Windows anybody may create, and
// load what it names. Whoever comes first decides that for the whole module, so everybody calls this first.
inline bool StartCrypto() noexcept {
    static const bool started = ::OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr) == 1;
    return started;
}

}  // namespace tandor
