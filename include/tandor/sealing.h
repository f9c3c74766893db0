/// @file
/// Messages sealed for a paired device, and SHA-256 of memory and files.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "tandor/api.h"

/// Seals and opens messages with AES-256-GCM (NIST SP 800-38D), and holds what was agreed with the peer: the session
/// key and the state of the challenge-response exchange.
///
/// A sealed message of n plaintext bytes has 32 + n bytes: a 16-byte initialisation vector, n bytes of ciphertext, the
/// 16-byte tag. There is no additional authenticated data. Never seal twice with the same key and vector.
///
/// Key, plaintext and key schedule are wiped from the library's memory before a call returns, also when it fails; what
/// the caller passed or received is the caller's to wipe.
///
/// Threads: an object is not locked. Set key and state from one thread before others seal and open; then both text
/// forms may run on any thread at once. A key that is set, assigned or moved meanwhile does no harm: every message is
/// sealed or opened under the whole old or the whole new one, it is not said which. The challenge nonces, version and
/// response have no such safety. The byte forms, the hexadecimal ones and GenerateRandom use no state.
///
/// Only copying, and the operations that return, take or keep a text as it is, may throw: std::bad_alloc alone.
class TANDOR_API SecurityEncryptUtil {
public:
    /// The challenge versions that this side supports, one bit each.
    static constexpr int SUPPORT_CHALLENGE_VERSION = 7;

    SecurityEncryptUtil() = default;
    /// Key and state are copied or moved; a key that is replaced or moved from is wiped.
    /// @{
    SecurityEncryptUtil(const SecurityEncryptUtil& other);
    SecurityEncryptUtil(SecurityEncryptUtil&& other) noexcept;
    SecurityEncryptUtil& operator=(const SecurityEncryptUtil& other);
    SecurityEncryptUtil& operator=(SecurityEncryptUtil&& other) noexcept;
    /// @}
    ~SecurityEncryptUtil();  ///< wipes the session key

    /// The process's shared instance.
    static SecurityEncryptUtil* GetInstance();

    /// The session key as hexadecimal text. It is stored as it is; sealing and opening check it.
    void SetSessionKey(std::string keyHex);

    /// This side's (local) and the peer's (remote) challenge nonce, kept as they are given; empty until set.
    /// @{
    void SetLocalRandomVector(std::string& vector);
    std::string GetLocalRandomVector();
    void SetRemoteRandomVector(std::string& vector);
    std::string GetRemoteRandomVector();
    /// @}

    /// The challenge versions, as a bit mask; 0 until set.
    /// @{
    void SetSupportChallengeVersion(int version);
    int GetSupportChallengeVersion();
    /// @}

    /// Whether the peer takes part in the challenge-response exchange; false until set.
    /// @{
    void SetIsSupportChallengeResponse(bool supported);
    bool IsSupportChallengeResponse();
    /// @}

    /// Whether every bit of `required` is in the supported challenge version.
    bool IsSupportChallengeResponse(int required);

    /// Seals `plainLen` bytes into `out`, which has room for 32 + plainLen, with a 32-byte key and a 16-byte vector.
    /// Returns 32 + plainLen. -1: the cipher failed, and all of `out` is zero; or `key` is null, `plainLen` is negative
    /// or over 2147483615, or `plain` is null with a length above 0. -15: `out` or `iv` is null; errno is then 22.
    /// Where arguments are refused `out` is untouched. `plain`, `key`, `iv` and `out` may overlap in any way.
    int AesGcmEncrypt(unsigned char* plain, int plainLen, unsigned char* out, const unsigned char* key,
                      const unsigned char* iv) noexcept;
    /// Opens a sealed message into `out`, which has room for sealedLen - 32 bytes, and returns that length. -1: the tag
    /// does not fit, the message has less than 32 bytes, the cipher failed, or `key` (or `out`, where there is
    /// something to write) is null. -15: `sealed` is null; errno is then 22. `out` is untouched on every failure:
    /// nothing is written to it before the tag has been checked. `sealed`, `key` and `out` may overlap in any way.
    int AesGcmDecrypt(unsigned char* sealed, int sealedLen, unsigned char* out, const unsigned char* key) noexcept;

    /// The text forms, under the session key, which has an even number of 2 to 64 digits; bytes that a shorter one does
    /// not give are zero. All texts are hexadecimal, read in either case and written in upper case. They return what
    /// the byte form does; -1 also for a key or text that is not valid or too long, for want of memory, and when no
    /// random vector could be drawn. On failure the output is untouched and the host log has a line.
    ///
    /// A plaintext to be sealed has at most 168 bytes (336 digits); one that is opened at most 200. A message of no
    /// bytes is one: sealing gives 64 digits, opening them gives 0 and empties the output. Where an output has to grow,
    /// what it held is wiped.
    /// @{
    int AesGcmEncrypt(const std::string& plainHex, std::string& sealedHex) noexcept;
    int AesGcmDecrypt(const std::string& sealedHex, std::string& plainHex) noexcept;
    /// @}

    /// Replaces `out` by two upper-case digits for each byte and returns its length. 0, and `out` untouched, for null,
    /// a length below 1 or above 511, and for want of memory.
    int HexToString(const unsigned char* data, int len, std::string& out) noexcept;
    /// Decodes the first `hexLen` digits, of either case, into `out`, or only checks them when `out` is null. False
    /// when `hexLen` is odd or beyond the text, or the bytes are more than `outSize`: nothing is then written. False at
    /// the first other character: the bytes before it are then written.
    bool HexStringToByte(const std::string& hex, unsigned long long hexLen, unsigned char* out,
                         unsigned long long outSize) noexcept;

    /// Draws `len` bytes from CryptRandom, none for 0. False, with a line in the host log, when that fails, `len` is
    /// negative or `buffer` is null.
    bool GenerateRandom(unsigned char* buffer, int len) noexcept;
    /// Draws `len` bytes as 2 * len upper-case digits; what `hex` held is wiped. False for a length below 1, and with a
    /// line in the host log when the draw fails or memory is short; `hex` is then untouched.
    bool GenerateRandom(std::string& hex, int len) noexcept;

private:
    void ExchangeSessionKey(std::string& key) noexcept;
    std::size_t CopySessionKey(char* digits, std::size_t room) const noexcept;

    std::string session_key_;  // never in the object itself: in memory of its own, or empty
    std::string local_random_vector_;
    std::string remote_random_vector_;
    int challenge_version_ = 0;
    bool challenge_response_ = false;
};

/// SHA-256 (FIPS 180-4). No state; any thread, except where OPENSSL_SHA256 says otherwise. Nothing throws but a
/// progress function that does.
class TANDOR_API CTandorSecTools {
public:
    /// Is told how many bytes are hashed and how many the file had when it was opened; false stops the work.
    using HashProgress = std::function<bool(unsigned long long done, unsigned long long total)>;

    /// The digest of `len` bytes, written to `digest` (32 bytes), which is returned. With a null `digest` it is a
    /// buffer of the library's that all callers share, for one thread alone. Null for null data with a length above 0.
    unsigned char* OPENSSL_SHA256(const unsigned char* data, unsigned long long len, unsigned char* digest) noexcept;

    /// Appends the 32 bytes as 64 lower-case digits to `out`. False for null and for want of memory, `out` untouched.
    bool NormalizeSha256(unsigned char* digest, std::string& out) noexcept;

    /// Replaces `hashHex` by the file's digest in lower-case hexadecimal. The path may be relative, not ASCII, and up
    /// to 32767 characters long; "\\?\" in front of it takes it literally. Others may read, write, rename and delete
    /// the file meanwhile. Needs 2 MiB of memory whatever the file's size; a file longer than that is read ahead on a
    /// thread that the call starts and waits for.
    ///
    /// The digest is that of the bytes as they were when they were read, up to where reading met the file's end: a file
    /// that changes, grows or is cut meanwhile is not refused.
    ///
    /// False when the path is not one ("PathCanonicalize failed, filepath is "), the file cannot be opened or read or
    /// is not a file on a disk ("read file failed"), memory is short ("create file conext failed") or the digest fails
    /// ("get hash failed"): the host log has the line, GetLastError the cause, `hashHex` is untouched.
    bool GetSha256HashStrFromFile(const std::wstring& path, std::string& hashHex) noexcept;
    /// The same, with `progress` told after each 256 KiB on the calling thread. Stopped by it: false without a line in
    /// the log, and GetLastError gives ERROR_CANCELLED. What it throws leaves through this call; nothing else does.
    bool GetSha256HashStrFromFile(const std::wstring& path, std::string& hashHex, const HashProgress& progress);
};
