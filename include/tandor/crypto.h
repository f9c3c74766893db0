/// @file
/// Digests, strong random bytes, and the reproducible generator that two devices share.
#pragma once

#include <string>

#include "tandor/api.h"
#include "tandor/uncopyable.h"

namespace DE {

/// A running digest: the algorithm's CryptoAPI identifier, the digest's size in bytes, and the handle of the hash that
/// is under way, if one is. The hashing itself is done by the suite's digest operations.
///
/// Copying is shallow: the copy has the same handle and there is no count of its owners. At most one of several copies
/// that hold a live handle may come to its end or be used further; call Reset on that one and forget the handle of
/// the others (assign a fresh object to them).
///
/// Threads: an object belongs to one thread at a time. Nothing throws.
class TANDOR_API CryptBase {
public:
    /// `algId` is a CryptoAPI ALG_ID (0x8003 MD5, 0x8004 SHA-1, 0x800C SHA-256), `digestLen` the digest's size in
    /// bytes. Neither is checked before Create.
    CryptBase(unsigned long algId, unsigned long digestLen) noexcept;
    /// Copies the handle as it is.
    /// @{
    CryptBase(const CryptBase& other) noexcept;
    CryptBase& operator=(const CryptBase& other) noexcept;  ///< does not release the handle that is replaced
    /// @}
    virtual ~CryptBase();  ///< calls Reset

    /// The digest's size in bytes.
    [[nodiscard]] unsigned long DigestLen() const noexcept { return digest_length_; }

    /// Begins a hash; one that was under way is given up. False when the algorithm is not one of MD5, SHA-1 and
    /// SHA-256, or the system refuses it.
    bool Create() noexcept;
    /// Feeds `length` bytes; null is allowed for none. False without a hash under way.
    bool Update(const void* data, unsigned long long length) noexcept;
    /// Writes DigestLen() bytes to `digest` and ends the hash. False without a hash under way; `digest` is then
    /// untouched.
    bool Finish(unsigned char* digest) noexcept;
    /// Gives up the hash under way, if there is one. May be called at any time and again.
    void Reset() noexcept;

private:
    void* hash_ = nullptr;
    unsigned int algorithm_;
    unsigned int digest_length_;
};

/// MD5: 16 bytes. For what old peers and files demand: it withstands no attacker.
class TANDOR_API CryptMD5 : public CryptBase {
public:
    /// Algorithm 0x8003, nothing begun.
    CryptMD5() noexcept;
};

/// SHA-1: 20 bytes. For what old peers and files demand: it withstands no attacker.
class TANDOR_API CryptSHA1 : public CryptBase {
public:
    /// Algorithm 0x8004, nothing begun.
    CryptSHA1() noexcept;
};

/// SHA-256: 32 bytes.
class TANDOR_API CryptSHA256 : public CryptBase {
public:
    /// Algorithm 0x800C, nothing begun.
    CryptSHA256() noexcept;
};

/// Whether `shortIdentifier` stands for the device with this identifier: whether it is the first eight characters of
/// the identifier's SHA-256 in lower-case hexadecimal. Any thread; throws std::bad_alloc alone.
TANDOR_API bool IsShortIdentifierOf(const std::string& shortIdentifier, const std::string& identifier);

}  // namespace DE

/// Strong random bytes from the operating system's preferred generator. No state; any thread; nothing throws.
class TANDOR_API CryptRandom {
public:
    CryptRandom() = default;
    /// All objects are alike.
    /// @{
    CryptRandom(const CryptRandom&) = default;
    CryptRandom& operator=(const CryptRandom&) = default;
    /// @}
    virtual ~CryptRandom();

    /// Fills `buffer` with `length` random bytes. 1, or 0 when the system's generator failed: the host log then has its
    /// status, and the buffer's content is unspecified. A length of 0 draws nothing and is 1; null is 0 at every
    /// length, with the status of an invalid parameter. Any length is allowed; what is longer than 16 MiB is drawn in
    /// parts.
    /// @{
    static int Gen(unsigned char* const buffer, unsigned long length) noexcept;
    int Random(void* buffer, unsigned long length) noexcept;
    /// @}
};

/// A reproducible generator: the classic 48-bit linear congruential one, state * 0x5DEECE66D + 0xB modulo 2^48, drawn
/// from its top bits (Knuth, The Art of Computer Programming, volume 2, section 3.2.1). Two devices that give it the
/// same seed draw the same numbers. Not for secrets.
///
/// Threads: an object belongs to one thread at a time. Nothing throws.
class TANDOR_API TrustDeviceRandom : private UnCopyable {
public:
    /// State 0 exactly: not the same as seeding with 0, which is scrambled.
    TrustDeviceRandom() noexcept = default;
    /// The copy goes on from the same state, so that both draw the same numbers.
    /// @{
    TrustDeviceRandom(const TrustDeviceRandom& other) noexcept;
    TrustDeviceRandom& operator=(const TrustDeviceRandom& other) noexcept;
    /// @}
    virtual ~TrustDeviceRandom();

    /// Seeds: the state becomes the seed XOR 0x5DEECE66D, cut to 48 bits.
    void Random(long long seed) noexcept;

    /// The next number in [0, 1): 24 bits times 2^-24.
    float nextFloat() noexcept;

private:
    void setSeed(long long seed) noexcept;
    int next(int bits) noexcept;

    long long state_ = 0;
};
