// Opening any bytes and any text stays in its buffers. What opens is exactly what sealing its plaintext gives; what
// does not open leaves the output as it was.
#include <algorithm>
#include <vector>

#include "base/hex.h"
#include "fuzzers/property.h"
#include "security/sealed_message.h"
#include "tandor/sealing.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr unsigned char kKey[32] = {0x60, 0x3D};
constexpr unsigned char kUntouched = 0xEE;

// Opens `sealed`, in a buffer of its exact size, and says whether it opened.
bool Opens(Bytes sealed) {
    SecurityEncryptUtil util;
    const int room = std::max(static_cast<int>(sealed.size()) - 32, 0);
    Bytes out(static_cast<std::size_t>(room), kUntouched);
    const int size = util.AesGcmDecrypt(sealed.empty() ? nullptr : sealed.data(), static_cast<int>(sealed.size()),
                                        out.empty() ? nullptr : out.data(), kKey);
    if (size < 0) {
        TANDOR_HOLDS(size == (sealed.empty() ? -15 : -1));
        TANDOR_HOLDS(std::all_of(out.begin(), out.end(), [](unsigned char byte) { return byte == kUntouched; }));
        return false;
    }
    TANDOR_HOLDS(size == room);
    Bytes again(sealed.size());
    TANDOR_HOLDS(util.AesGcmEncrypt(out.data(), size, again.data(), kKey, sealed.data()) == size + 32);
    TANDOR_HOLDS(again == sealed);
    return true;
}

// The first two bytes choose the bit that is flipped in a message sealed over the rest.
void FlipOneBit(const Bytes& input) {
    if (input.size() < 18) return;
    SecurityEncryptUtil util;
    Bytes plain(input.begin() + 18, input.end());
    Bytes sealed(plain.size() + 32);
    TANDOR_HOLDS(util.AesGcmEncrypt(plain.data(), static_cast<int>(plain.size()), sealed.data(), kKey,
                                    input.data() + 2) == static_cast<int>(sealed.size()));
    TANDOR_HOLDS(Opens(sealed));
    const std::size_t bit = (std::size_t{256} * input[0] + input[1]) % (8 * sealed.size());
    sealed[bit / 8] ^= static_cast<unsigned char>(1 << bit % 8);
    TANDOR_HOLDS(!Opens(sealed));
}

// The text before the first '|' is the key's, the rest the message's.
void OpenAsText(const std::string& text) {
    const std::size_t middle = std::min(text.find('|'), text.size());
    const std::string key = text.substr(0, middle);
    const std::string sealed = middle < text.size() ? text.substr(middle + 1) : std::string();
    std::string out = "untouched";
    const int size = tandor::OpenText(key, sealed, out);
    TANDOR_HOLDS(size >= 0 ? out.size() == 2 * static_cast<std::size_t>(size) : out == "untouched");
    const unsigned char vector[16] = {1};
    std::string opened;
    out = "untouched";
    const int sealed_size = tandor::SealText(key, sealed, vector, out);
    if (sealed_size < 0) {
        TANDOR_HOLDS(out == "untouched");
        return;
    }
    TANDOR_HOLDS(sealed_size == static_cast<int>(sealed.size() / 2) + 32);
    TANDOR_HOLDS(tandor::OpenText(key, out, opened) == sealed_size - 32);
    std::string upper = sealed;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c; });
    TANDOR_HOLDS(opened == upper);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes input(data, data + size);
    Opens(input);
    FlipOneBit(input);
    OpenAsText(tandor::fuzz::Text(data, size));
    return 0;
}
