#include <openssl/evp.h>
#include <openssl/rand.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <set>
#include <sstream>
#include <vector>

#include "base/hex.h"
#include "benchmarks/ratio.h"
#include "security/linear_congruential.h"
#include "security/sealed_message.h"
#include "security/sha256.h"
#include "tandor/crypto.h"
#include "tandor/sealing.h"

namespace tandor::bench {
namespace {

constexpr int kShort = 64, kLongest = 168;  // bytes of a message
constexpr int kOverhead = 32;

unsigned char key[32] = {1, 2, 3};
unsigned char vector[16] = {4, 5, 6};
unsigned char plain[kLongest] = {7, 8, 9};
unsigned char sealed[kLongest + kOverhead];
unsigned char opened[kLongest];

// ---- the plain programs: what the cipher library's manual shows, with a context for each message

int PlainSeal(const unsigned char* secret, const unsigned char* drawn, const unsigned char* message, int length) {
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    int size = 0;
    EVP_EncryptInit_ex(context, EVP_aes_256_gcm(), nullptr, nullptr, nullptr);
    EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_IVLEN, 16, nullptr);
    EVP_EncryptInit_ex(context, nullptr, nullptr, secret, drawn);
    std::memcpy(sealed, drawn, 16);
    EVP_EncryptUpdate(context, sealed + 16, &size, message, length);
    EVP_EncryptFinal_ex(context, sealed + 16 + length, &size);
    const int result = EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, 16, sealed + 16 + length);
    EVP_CIPHER_CTX_free(context);
    return result;
}

int PlainOpen(const unsigned char* secret, unsigned char* message, int length) {
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    int size = 0;
    EVP_DecryptInit_ex(context, EVP_aes_256_gcm(), nullptr, nullptr, nullptr);
    EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_IVLEN, 16, nullptr);
    EVP_DecryptInit_ex(context, nullptr, nullptr, secret, message);
    EVP_DecryptUpdate(context, opened, &size, message + 16, length);
    EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_TAG, 16, message + 16 + length);
    const int result = EVP_DecryptFinal_ex(context, opened + length, &size);
    EVP_CIPHER_CTX_free(context);
    return result;
}

std::string Bytes(int size) { return ", " + std::to_string(size) + " B"; }

void AddByteForm(int size) {
    static SecurityEncryptUtil util;
    Compare("AesGcmEncrypt" + Bytes(size), "EVP, a context per message", AtLeastAsFast(1.4),
            Repeat([=] { return util.AesGcmEncrypt(plain, size, sealed, key, vector); }),
            Repeat([=] { return PlainSeal(key, vector, plain, size); }));
    // Another size may have been sealed meanwhile.
    const auto prepared = [=](auto open) {
        return [=](benchmark::State& state) {
            util.AesGcmEncrypt(plain, size, sealed, key, vector);
            for (auto _ : state) benchmark::DoNotOptimize(open());
        };
    };
    Compare("AesGcmDecrypt" + Bytes(size), "EVP, a context per message", AtLeastAsFast(1.4),
            prepared([=] { return util.AesGcmDecrypt(sealed, size + kOverhead, opened, key); }),
            prepared([=] { return PlainOpen(key, sealed, size); }));
}

// ---- the text form, without and with its line in the host log

std::string StreamHex(const unsigned char* data, int size) {
    std::stringstream stream;
    stream << std::hex << std::uppercase << std::setfill('0');
    for (int i = 0; i < size; ++i) stream << std::setw(2) << static_cast<int>(data[i]);
    return stream.str();
}

std::vector<unsigned char> StreamBytes(const std::string& hex) {
    std::vector<unsigned char> bytes;
    std::stringstream stream;
    stream << std::hex;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        unsigned byte = 0;
        stream.clear();
        stream.str(hex.substr(i, 2));
        stream >> byte;
        bytes.push_back(static_cast<unsigned char>(byte));
    }
    return bytes;
}

int PlainSealText(const std::string& key_hex, const std::string& plain_hex, std::string& sealed_hex) {
    unsigned char drawn[16];
    CryptRandom::Gen(drawn, sizeof(drawn));
    const auto secret = StreamBytes(key_hex), message = StreamBytes(plain_hex);
    const int size = static_cast<int>(message.size());
    const int result = PlainSeal(secret.data(), drawn, message.data(), size);
    sealed_hex = StreamHex(sealed, size + kOverhead);
    return result;
}

int PlainOpenText(const std::string& key_hex, const std::string& sealed_hex, std::string& plain_hex) {
    const auto secret = StreamBytes(key_hex);
    auto message = StreamBytes(sealed_hex);
    const int size = static_cast<int>(message.size()) - kOverhead;
    const int result = PlainOpen(secret.data(), message.data(), size);
    plain_hex = StreamHex(opened, size);
    return result;
}

void AddTextForm(int size) {
    constexpr const char* kPlainProgram = "a context and string streams per message";
    static const std::string key_text = HexFromBytes({reinterpret_cast<char*>(key), sizeof(key)}, HexCase::kUpper);
    static SecurityEncryptUtil& util = *SecurityEncryptUtil::GetInstance();
    static std::string out;
    util.SetSessionKey(key_text);
    const auto digits = static_cast<std::size_t>(size);
    const std::string message = HexFromBytes({reinterpret_cast<char*>(plain), digits}, HexCase::kUpper);
    std::string message_sealed;
    util.AesGcmEncrypt(message, message_sealed);
    const Body plain_seal = Repeat([=] { return PlainSealText(key_text, message, out); });
    const Body plain_open = Repeat([=] { return PlainOpenText(key_text, message_sealed, out); });
    Compare("text form of a seal" + Bytes(size), kPlainProgram, AtLeastAsFast(3),
            Repeat([=] { return util.AesGcmEncrypt(message, out); }), plain_seal);
    Compare("the same without its log line" + Bytes(size), kPlainProgram, AtLeastAsFast(3), Repeat([=] {
                unsigned char drawn[16];
                CryptRandom::Gen(drawn, sizeof(drawn));
                return SealText(key_text, message, drawn, out);
            }),
            plain_seal);
    Compare("text form of opening" + Bytes(size), kPlainProgram, AtLeastAsFast(3),
            Repeat([=] { return util.AesGcmDecrypt(message_sealed, out); }), plain_open);
    Compare("the same, opening, without its log line" + Bytes(size), kPlainProgram, AtLeastAsFast(3),
            Repeat([=] { return OpenText(key_text, message_sealed, out); }), plain_open);
}

// ---- random numbers

void AddRandomNumbers() {
    static unsigned char drawn[16];
    Compare("CryptRandom::Gen, 16 B", "RAND_bytes", AtLeastAsFast(10),
            Repeat([] { return CryptRandom::Gen(drawn, sizeof(drawn)); }),
            Repeat([] { return RAND_bytes(drawn, sizeof(drawn)); }));
    static TrustDeviceRandom random;
    static unsigned long long state = 0;
    Compare("TrustDeviceRandom::nextFloat, 1000 times", "the loop by hand, inlined", Reported(), Repeat([] {
                float sum = 0;
                for (int i = 0; i < 1000; ++i) sum += random.nextFloat();
                return sum;
            }),
            Repeat([] {
                float sum = 0;
                for (int i = 0; i < 1000; ++i) sum += LcgFloat(state = SteppedLcg(state));
                return sum;
            }));
}

// ---- hexadecimal and digests

int PrintHex(std::string& out) {
    char digits[2 * kShort + 1];
    for (int i = 0; i < kShort; ++i) std::sprintf(digits + 2 * i, "%02X", plain[i]);
    out = digits;
    return static_cast<int>(out.size());
}

void AddShortTexts() {
    static SecurityEncryptUtil util;
    static CTandorSecTools tools;
    static std::string text;
    static unsigned char digest[32];
    Compare("HexToString, 64 B", "sprintf for each byte", AtLeastAsFast(15),
            Repeat([] { return util.HexToString(plain, kShort, text); }), Repeat([] { return PrintHex(text); }));
    Compare("OPENSSL_SHA256, 64 B", "EVP_Digest(EVP_sha256())", AtLeastAsFast(3),
            Repeat([] { return tools.OPENSSL_SHA256(plain, kShort, digest); }), Repeat([] {
                unsigned size = 0;
                return EVP_Digest(plain, kShort, digest, &size, EVP_sha256(), nullptr);
            }));
}

// ---- a file that the system has cached

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
    static const std::vector<char> content = [] {
        std::vector<char> bytes;
        bytes.reserve(kPiece * kPieces);
        for (int i = 0; i < kPieces; ++i)
            bytes.insert(bytes.end(), TheLargeFile().piece.begin(), TheLargeFile().piece.end());
        return bytes;
    }();
    Sha256 hash;
    return hash.Update(content.data(), content.size()) && hash.Finish(digest);
}

// One piece stays in the processor's cache: hashing it again and again is the best that memory can do.
bool HashCachedPiece() {
    unsigned char digest[32];
    Sha256 hash;
    for (int i = 0; i < kPieces; ++i) hash.Update(TheLargeFile().piece.data(), kPiece);
    return hash.Finish(digest);
}

// The file and the memory are made before the clock runs.
Body Prepared(bool (*operation)()) {
    return [operation](benchmark::State& state) {
        if (static std::set<bool (*)()> prepared; prepared.insert(operation).second) operation();
        for (auto _ : state) benchmark::DoNotOptimize(operation());
    };
}

}  // namespace

void AddSecurity() {
    for (const int size : {kShort, kLongest}) AddByteForm(size);
    for (const int size : {kShort, kLongest}) AddTextForm(size);
    AddShortTexts();
    AddRandomNumbers();
    Compare("GetSha256HashStrFromFile, 1 GiB, cached", "the same bytes in memory", AtMostTimes(1.12),
            Prepared(HashFile), Prepared(HashMemory));
    Compare("GetSha256HashStrFromFile, 1 GiB, cached", "1024 times one MiB in the processor's cache", Reported(),
            Prepared(HashFile), Prepared(HashCachedPiece));
}

}  // namespace tandor::bench
