// A complete EDID base block for tests, with a right header and checksum.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <string_view>
#include <vector>

#include "device/gamut.h"

namespace tandor::test {

using Bytes = std::vector<std::uint8_t>;

inline void FixChecksum(Bytes& edid) {
    edid[127] = static_cast<std::uint8_t>(0u - std::accumulate(edid.begin(), edid.begin() + 127, 0u));
}

// Each coordinate as the nearest of 1024 steps.
inline void PutGamut(const Gamut& gamut, Bytes& edid) {
    edid[25] = edid[26] = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        const double coordinate = i % 2 == 0 ? gamut[i / 2].first : gamut[i / 2].second;
        const auto steps = static_cast<unsigned>(std::lround(coordinate * 1024));
        edid[27 + i] = static_cast<std::uint8_t>(steps >> 2);
        edid[25 + i / 4] = static_cast<std::uint8_t>(edid[25 + i / 4] | (steps & 3) << (6 - 2 * (i % 4)));
    }
    FixChecksum(edid);
}

// Maker "VXT", product 0x0042, serial 0x01020304, week 12 of 2023, 1.4, 34 x 22 cm, gamma 2.2, 2160x1440 at 59.95 Hz,
// name "Pad Screen 14", serial "SN-7".
inline Bytes SampleEdid(const Gamut& gamut) {
    Bytes edid(128);
    const std::array<std::uint8_t, 25> head{0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x5B,
                                            0x14, 0x42, 0x00, 0x04, 0x03, 0x02, 0x01, 12,   33,
                                            1,    4,    0xA5, 34,   22,   120,  0x07};
    std::copy(head.begin(), head.end(), edid.begin());
    // 198.33 MHz; 2160 + 80 by 1440 + 37; not interlaced
    const std::array<std::uint8_t, 18> timing{0x79, 0x4D, 0x70, 0x50, 0x80, 0xA0, 0x25, 0x50, 0x30,
                                              0x20, 0x35, 0x00, 0x54, 0xDC, 0x10, 0x00, 0x00, 0x1A};
    std::copy(timing.begin(), timing.end(), edid.begin() + 54);
    const auto put_text = [&](std::size_t offset, std::uint8_t tag, std::string_view text) {
        edid[offset + 3] = tag;
        for (std::size_t i = 0; i < 13; ++i)
            edid[offset + 5 + i] = i < text.size() ? static_cast<std::uint8_t>(text[i]) : i == text.size() ? '\n' : ' ';
    };
    put_text(72, 0xFC, "Pad Screen 14");
    put_text(90, 0xFF, "SN-7");
    edid[108 + 3] = 0x10;
    PutGamut(gamut, edid);
    return edid;
}

}  // namespace tandor::test
