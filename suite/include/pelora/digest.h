/// @file
/// Digests of the suite's file utility.
#pragma once

#include <string>

#include "pelora/api.h"

namespace DE {

/// A hash under way. One is owned by whoever began it, until FinishDigest or CloseDigest; it belongs to one thread at a
/// time. None of the four operations throws.
class DigestHash;

/// Begins a hash. `algorithm` is a CryptoAPI ALG_ID: 0x8003 MD5, 0x8004 SHA-1, 0x800C SHA-256. Null for any other, and
/// when the system refuses.
PELORA_API DigestHash* OpenDigest(unsigned int algorithm) noexcept;
/// Feeds `length` bytes. False when the system refuses, or for null data with a length above 0.
PELORA_API bool FeedDigest(DigestHash* hash, const void* data, unsigned long long length) noexcept;
/// Writes the digest, whose size must be `length`, and ends the hash whatever comes of it. False when the size is
/// another or the system refuses; `digest` is then untouched.
PELORA_API bool FinishDigest(DigestHash* hash, unsigned char* digest, unsigned long length) noexcept;
/// Gives the hash up. Null is allowed.
PELORA_API void CloseDigest(DigestHash* hash) noexcept;

/// The text's SHA-256 in lower-case hexadecimal, 64 characters; empty when the system refuses to hash. Any thread;
/// throws std::bad_alloc alone.
PELORA_API std::string GetStringSha256(const std::string& text);

}  // namespace DE
