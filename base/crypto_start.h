// The first call into the cryptographic library, for everyone in a module who uses it.
#pragma once

#include <openssl/crypto.h>

namespace tandor {

// Without this the library would read a configuration file from a directory that on Windows anybody may create, and
// load what it names. Whoever comes first decides that for the whole module, so everybody calls this first. May be
// called again: the library knows what it has done, and what it had no memory for.
inline bool StartCrypto() noexcept { return ::OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr) == 1; }

}  // namespace tandor
