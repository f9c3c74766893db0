// The base block of a display's EDID (VESA Enhanced EDID Standard, release A, revision 2): 128 bytes, then extension
// blocks.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "device/gamut.h"

namespace tandor {

inline constexpr std::size_t kEdidBlock = 128;

// The ten chromaticity bytes (offsets 25 to 34): low bits of red and green, of blue and white, then the high eight bits
// of red x, red y, green x, green y, blue x, blue y, white x, white y.
inline constexpr std::size_t kChromaticityOffset = 25;
using ChromaticityBytes = std::array<std::uint8_t, 10>;
using Coordinates = std::array<double, 8>;  // red x, red y, green x ... white y

// A 10-bit binary fraction: the sum of 2^(i-10) over its set bits. Bits from 10 on do not count.
constexpr double FractionOf(unsigned int value) noexcept { return (value & 0x3FF) / 1024.0; }
Coordinates ConvertCoordinates(const ChromaticityBytes& bytes) noexcept;

// The coordinates of a block that begins with 00 FF FF; the rest of the header and the checksum do not count. None for
// another beginning or fewer than 35 bytes.
std::optional<Coordinates> ReadCoordinates(std::span<const std::uint8_t> edid) noexcept;

Gamut GamutOf(const Coordinates& coordinates) noexcept;

// What the base block says. Numbers that the block leaves open are 0, texts empty.
struct EdidTiming {
    unsigned int width = 0;  // pixels
    unsigned int height = 0;
    double refresh = 0;  // hertz
    bool interlaced = false;
};

// A whole block behind the base block.
struct EdidExtension {
    std::uint8_t tag = 0;  // its kind
    bool checksum_right = false;
};
inline constexpr std::size_t kMostExtensions = 255;

struct EdidBlock {
    std::string maker;  // three capital letters, or "???" when the block has others
    unsigned int product = 0;
    std::uint32_t serial = 0;
    unsigned int week = 0;  // of manufacture, 1 to 54
    unsigned int year = 0;  // of manufacture, or of the model when `model_year`
    bool model_year = false;
    unsigned int version = 0;
    unsigned int revision = 0;
    unsigned int width_cm = 0;
    unsigned int height_cm = 0;
    double gamma = 0;
    EdidTiming preferred;
    std::string name;  // of the monitor, as the block has it
    std::string serial_text;
    Gamut gamut{};
    bool header_right = false;
    bool checksum_right = false;
    unsigned int extensions = 0;  // as the block counts them
    std::vector<EdidExtension> extensions_there;
};

// None for fewer than 128 bytes. A wrong header or checksum is told and does not refuse the block.
std::optional<EdidBlock> ReadEdid(std::span<const std::uint8_t> edid);

}  // namespace tandor
