#include "foundation/base64.h"

#include <array>
#include <cstdint>
#include <cstring>

#include "base/cpu.h"
#include "foundation/base64_ssse3.h"

namespace tandor {
namespace {

constexpr std::size_t kGroup = 4;  // characters

// Twelve bits at a time: the two characters of every 12-bit value.
constexpr auto kPairs = [] {
    std::array<std::array<char, 2>, 4096> pairs{};
    for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = {kBase64Alphabet[i >> 6], kBase64Alphabet[i & 63]};
    return pairs;
}();

// The value of each character, moved to the place of its position in a group. A foreign character sets a bit above the
// group's 24, so that one test covers four characters.
constexpr std::uint32_t kForeign = 0x80000000;
constexpr auto kPlaced = [] {
    std::array<std::array<std::uint32_t, 256>, 4> placed{};
    for (std::size_t position = 0; position < 4; ++position) {
        placed[position].fill(kForeign);
        for (std::uint32_t value = 0; value < 64; ++value) {
            placed[position][static_cast<unsigned char>(kBase64Alphabet[value])] = value << (18 - 6 * position);
        }
    }
    return placed;
}();

char* EncodeGroup(std::uint32_t bits, char* out) {
    std::memcpy(out, kPairs[bits >> 12].data(), 2);
    std::memcpy(out + 2, kPairs[bits & 0xFFF].data(), 2);
    return out + 4;
}

std::uint32_t GroupBits(const unsigned char* group) {
    return kPlaced[0][group[0]] | kPlaced[1][group[1]] | kPlaced[2][group[2]] | kPlaced[3][group[3]];
}

// A group that is padded or holds a foreign character. Returns the bytes written, 0 when the decoding ends here.
std::size_t DecodeSpecialGroup(const unsigned char* group, unsigned char* out) {
    const std::uint32_t first_two = kPlaced[0][group[0]] | kPlaced[1][group[1]];
    if ((first_two & kForeign) != 0) return 0;
    out[0] = static_cast<unsigned char>(first_two >> 16);
    if (group[2] == '=') return 1;
    const std::uint32_t three = first_two | kPlaced[2][group[2]];
    if ((three & kForeign) != 0 || group[3] != '=') return 0;
    out[1] = static_cast<unsigned char>(three >> 8);
    return 2;
}

std::size_t DecodeGroup(const unsigned char* group, unsigned char* out) {
    const std::uint32_t bits = GroupBits(group);
    if ((bits & kForeign) != 0) [[unlikely]]
        return DecodeSpecialGroup(group, out);
    out[0] = static_cast<unsigned char>(bits >> 16);
    out[1] = static_cast<unsigned char>(bits >> 8);
    out[2] = static_cast<unsigned char>(bits);
    return 3;
}

}  // namespace

void EncodeBase64(const unsigned char* data, std::size_t size, char* out) {
    if (HasSsse3()) {
        const std::size_t done = EncodeBase64Blocks(data, size, out);
        data += done;
        size -= done;
        out += done / 3 * 4;
    }
    for (; size >= 3; size -= 3, data += 3) {
        out = EncodeGroup(
            static_cast<std::uint32_t>(data[0]) << 16 | static_cast<std::uint32_t>(data[1]) << 8 | data[2], out);
    }
    if (size == 0) return;
    const std::uint32_t rest =
        static_cast<std::uint32_t>(data[0]) << 16 | (size == 2 ? static_cast<std::uint32_t>(data[1]) << 8 : 0);
    out = EncodeGroup(rest, out);
    out[-1] = '=';
    if (size == 1) out[-2] = '=';
}

std::size_t DecodeBase64(const unsigned char* text, std::size_t size, unsigned char* out) {
    const unsigned char* const begin = out;
    const bool blocks = HasSsse3();
    std::size_t until_blocks = 0;  // groups to go through singly, behind a block that holds something special
    while (size >= kGroup) {
        if (blocks && until_blocks-- == 0) {
            const std::size_t done = DecodeBase64Blocks(text, size, out);
            text += done;
            size -= done;
            out += done / kGroup * 3;
            until_blocks = kGroup;
            continue;
        }
        const std::size_t written = DecodeGroup(text, out);
        if (written == 0) break;
        out += written;
        text += kGroup;
        size -= kGroup;
    }
    return static_cast<std::size_t>(out - begin);
}

}  // namespace tandor
