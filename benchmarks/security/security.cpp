#include <openssl/evp.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "base/hex.h"
#include "benchmarks/ratio.h"
#include "foundation/message.h"
#include "security/sealed_message.h"
#include "security/sha256.h"
#include "tandor/crypto.h"
#include "tandor/sealing.h"

namespace tandor::bench {
namespace {

constexpr int kSize = 64;
constexpr int kSealedSize = kSize + 32;

unsigned char key[32] = {1, 2, 3};
unsigned char vector[16] = {4, 5, 6};
unsigned char plain[kSize] = {7, 8, 9};
unsigned char sealed[kSealedSize];
unsigned char opened[kSize];

// ---- the plain programs: what the cipher library's manual shows, with a context for each message

int PlainSeal() {
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    int size = 0;
    EVP_EncryptInit_ex(context, EVP_aes_256_gcm(), nullptr, nullptr, nullptr);
    EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_IVLEN, 16, nullptr);
    EVP_EncryptInit_ex(context, nullptr, nullptr, key, vector);
    std::memcpy(sealed, vector, 16);
    EVP_EncryptUpdate(context, sealed + 16, &size, plain, kSize);
    EVP_EncryptFinal_ex(context, sealed + 16 + kSize, &size);
    const int result = EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, 16, sealed + 16 + kSize);
    EVP_CIPHER_CTX_free(context);
    return result;
}

int PlainOpen() {
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    int size = 0;
    EVP_DecryptInit_ex(context, EVP_aes_256_gcm(), nullptr, nullptr, nullptr);
    EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_IVLEN, 16, nullptr);
    EVP_DecryptInit_ex(context, nullptr, nullptr, key, sealed);
    EVP_DecryptUpdate(context, opened, &size, sealed + 16, kSize);
    EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_TAG, 16, sealed + 16 + kSize);
    const int result = EVP_DecryptFinal_ex(context, opened + kSize, &size);
    EVP_CIPHER_CTX_free(context);
    return result;
}

void AddByteForm() {
    static SecurityEncryptUtil util;
    util.AesGcmEncrypt(plain, kSize, sealed, key, vector);
    Compare("AesGcmEncrypt, 64 B", "EVP, a context per message", AtLeastAsFast(1.4),
            Repeat([] { return util.AesGcmEncrypt(plain, kSize, sealed, key, vector); }), Repeat(PlainSeal));
    Compare("AesGcmDecrypt, 64 B", "EVP, a context per message", AtLeastAsFast(1.4),
            Repeat([] { return util.AesGcmDecrypt(sealed, kSealedSize, opened, key); }), Repeat(PlainOpen));
}

// ---- the text form, without and with its line in the host log

int DrawAndSeal() {
    unsigned char drawn[16];
    CryptRandom::Gen(drawn, sizeof(drawn));
    return SecurityEncryptUtil::GetInstance()->AesGcmEncrypt(plain, kSize, sealed, key, drawn);
}

void AddTextForm() {
    static const std::string key_text = HexFromBytes({reinterpret_cast<char*>(key), sizeof(key)}, HexCase::kUpper);
    static const std::string plain_text = HexFromBytes({reinterpret_cast<char*>(plain), kSize}, HexCase::kUpper);
    static std::string sealed_text;
    SecurityEncryptUtil::GetInstance()->SetSessionKey(key_text);
    Compare("text form of a seal, 64 B, without its log line", "the byte form and its random draw", AtMostTimes(1.6),
            Repeat([] {
                unsigned char drawn[16];
                CryptRandom::Gen(drawn, sizeof(drawn));
                return SealText(key_text, plain_text, drawn, sealed_text);
            }),
            Repeat(DrawAndSeal));
    Compare(
        "text form of a seal, 64 B, with its log line", "the byte form, its random draw and the line", AtMostTimes(1.6),
        Repeat([] { return SecurityEncryptUtil::GetInstance()->AesGcmEncrypt(plain_text, sealed_text); }), Repeat([] {
            LogMessage(kInfo, L"SecurityEncryptUtil::AesGcmEncrypt", L"Encrpy end ");
            return DrawAndSeal();
        }));
}

// ---- hexadecimal and digests

int PrintHex(std::string& out) {
    char digits[2 * kSize + 1];
    for (int i = 0; i < kSize; ++i) std::sprintf(digits + 2 * i, "%02X", plain[i]);
    out = digits;
    return static_cast<int>(out.size());
}

void AddShortTexts() {
    static SecurityEncryptUtil util;
    static CTandorSecTools tools;
    static std::string text;
    static unsigned char digest[32];
    Compare("HexToString, 64 B", "sprintf for each byte", AtLeastAsFast(15),
            Repeat([] { return util.HexToString(plain, kSize, text); }), Repeat([] { return PrintHex(text); }));
    Compare("OPENSSL_SHA256, 64 B", "EVP_Digest(EVP_sha256())", AtLeastAsFast(3),
            Repeat([] { return tools.OPENSSL_SHA256(plain, kSize, digest); }), Repeat([] {
                unsigned size = 0;
                return EVP_Digest(plain, kSize, digest, &size, EVP_sha256(), nullptr);
            }));
}

// ---- a file that the system has cached

// One piece stays in the processor's cache: hashing it again and again is the best that memory can do.
constexpr std::size_t kPiece = 1u << 20;
constexpr int kPieces = 1024;

class LargeFile {
public:
    LargeFile() : piece(kPiece), path(std::filesystem::temp_directory_path() / L"tandor-bench-1gib.bin") {
        for (std::size_t i = 0; i < kPiece; ++i) piece[i] = static_cast<char>(i * 31 + i / 4093);
        std::ofstream file(path, std::ios::binary);
        for (int i = 0; i < kPieces; ++i) file.write(piece.data(), kPiece);
    }
    ~LargeFile() {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    LargeFile(const LargeFile&) = delete;
    LargeFile& operator=(const LargeFile&) = delete;

    std::vector<char> piece;
    std::filesystem::path path;
};

LargeFile& TheLargeFile() {
    static LargeFile file;
    return file;
}

bool HashFile() {
    std::string text;
    return CTandorSecTools().GetSha256HashStrFromFile(TheLargeFile().path.native(), text);
}

bool HashMemory() {
    unsigned char digest[32];
    Sha256 hash;
    for (int i = 0; i < kPieces; ++i) hash.Update(TheLargeFile().piece.data(), kPiece);
    return hash.Finish(digest);
}

// The file is made before the clock runs.
Body Prepared(bool (*operation)()) {
    return [operation](benchmark::State& state) {
        TheLargeFile();
        for (auto _ : state) benchmark::DoNotOptimize(operation());
    };
}

}  // namespace

void AddSecurity() {
    AddByteForm();
    AddTextForm();
    AddShortTexts();
    Compare("GetSha256HashStrFromFile, 1 GiB, cached", "the same digest in memory", AtMostTimes(1.12),
            Prepared(HashFile), Prepared(HashMemory));
}

}  // namespace tandor::bench
