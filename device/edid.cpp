#include "device/edid.h"

#include <algorithm>
#include <numeric>
#include <string_view>

namespace tandor {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::array<std::uint8_t, 8> kHeader{0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};

constexpr std::size_t kFirstDescriptor = 54;
constexpr std::size_t kDescriptorSize = 18;
constexpr std::size_t kDescriptors = 4;
constexpr std::uint8_t kNameTag = 0xFC;
constexpr std::uint8_t kSerialTag = 0xFF;

unsigned int Word(Bytes edid, std::size_t offset) {
    return edid[offset] | static_cast<unsigned int>(edid[offset + 1]) << 8;
}

// Three letters of five bits each, 1 is A, high byte first.
std::string Maker(Bytes edid) {
    const unsigned int packed = static_cast<unsigned int>(edid[8]) << 8 | edid[9];
    std::string maker;
    for (const unsigned int shift : {10u, 5u, 0u}) {
        const unsigned int letter = packed >> shift & 0x1F;
        if (letter < 1 || letter > 26) return "???";
        maker += static_cast<char>('A' + letter - 1);
    }
    return maker;
}

// Thirteen characters, ended by a line feed and padded with blanks; only printable ASCII is taken over.
std::string DescriptorText(Bytes descriptor) {
    std::string text;
    for (const std::uint8_t byte : descriptor.subspan(5, 13)) {
        if (byte == '\n' || byte == 0) break;
        text += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '?';
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

EdidTiming Timing(Bytes descriptor) {
    const auto joined = [&](std::size_t low, std::size_t high, bool upper) {
        const unsigned int nibble = upper ? descriptor[high] >> 4u : descriptor[high] & 0x0Fu;
        return descriptor[low] | nibble << 8;
    };
    EdidTiming timing;
    timing.width = joined(2, 4, true);
    timing.height = joined(5, 7, true);
    timing.interlaced = (descriptor[17] & 0x80) != 0;
    const unsigned int total = (timing.width + joined(3, 4, false)) * (timing.height + joined(6, 7, false));
    if (total != 0) timing.refresh = Word(descriptor, 0) * 10'000.0 / total;
    return timing;
}

// The first detailed timing is the preferred one; a descriptor without pixel clock is a text or a note.
void ReadDescriptors(Bytes edid, EdidBlock& block) {
    for (std::size_t i = 0; i < kDescriptors; ++i) {
        const Bytes descriptor = edid.subspan(kFirstDescriptor + i * kDescriptorSize, kDescriptorSize);
        if (Word(descriptor, 0) != 0) {
            if (i == 0) block.preferred = Timing(descriptor);
        } else if (descriptor[3] == kNameTag) {
            block.name = DescriptorText(descriptor);
        } else if (descriptor[3] == kSerialTag) {
            block.serial_text = DescriptorText(descriptor);
        }
    }
}

// The last byte of a block makes the sum of all a multiple of 256.
bool SumsUp(Bytes block) { return std::accumulate(block.begin(), block.end(), 0u) % 256 == 0; }

void ReadDate(Bytes edid, EdidBlock& block) {
    block.model_year = edid[16] == 0xFF;
    block.week = edid[16] <= 54 ? edid[16] : 0;
    block.year = 1990u + edid[17];
}

}  // namespace

Coordinates ConvertCoordinates(const ChromaticityBytes& bytes) noexcept {
    Coordinates coordinates;
    for (std::size_t i = 0; i < coordinates.size(); ++i) {
        const unsigned int low = bytes[i / 4] >> (6 - 2 * (i % 4)) & 0x03u;
        coordinates[i] = FractionOf(static_cast<unsigned int>(bytes[2 + i]) << 2 | low);
    }
    return coordinates;
}

std::optional<Coordinates> ReadCoordinates(Bytes edid) noexcept {
    ChromaticityBytes bytes;
    if (edid.size() < kChromaticityOffset + bytes.size()) return std::nullopt;
    if (edid[0] != 0x00 || edid[1] != 0xFF || edid[2] != 0xFF) return std::nullopt;
    std::copy_n(edid.begin() + kChromaticityOffset, bytes.size(), bytes.begin());
    return ConvertCoordinates(bytes);
}

Gamut GamutOf(const Coordinates& coordinates) noexcept {
    Gamut gamut;
    for (std::size_t i = 0; i < gamut.size(); ++i) gamut[i] = {coordinates[2 * i], coordinates[2 * i + 1]};
    return gamut;
}

std::optional<EdidBlock> ReadEdid(Bytes edid) {
    if (edid.size() < kEdidBlock) return std::nullopt;
    const Bytes base = edid.first(kEdidBlock);
    EdidBlock block;
    block.maker = Maker(base);
    block.product = Word(base, 10);
    block.serial = Word(base, 12) | Word(base, 14) << 16;
    ReadDate(base, block);
    block.version = base[18];
    block.revision = base[19];
    block.width_cm = base[21];
    block.height_cm = base[22];
    block.gamma = base[23] == 0xFF ? 0 : (base[23] + 100) / 100.0;
    ReadDescriptors(base, block);
    ChromaticityBytes chromaticities;
    std::copy_n(base.begin() + kChromaticityOffset, chromaticities.size(), chromaticities.begin());
    block.gamut = GamutOf(ConvertCoordinates(chromaticities));
    block.header_right = std::equal(kHeader.begin(), kHeader.end(), base.begin());
    block.checksum_right = SumsUp(base);
    block.extensions = base[126];
    const std::size_t blocks = std::min(edid.size() / kEdidBlock, kMostExtensions + 1);
    for (std::size_t i = 1; i < blocks; ++i) {
        const Bytes extension = edid.subspan(i * kEdidBlock, kEdidBlock);
        block.extensions_there.push_back({extension[0], SumsUp(extension)});
    }
    return block;
}

}  // namespace tandor
