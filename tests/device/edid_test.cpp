#include "device/edid.h"
#include "support/edid_sample.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

TEST(Edid, ReadsEveryCoordinateFromItsOwnBits) {
    // One coordinate at a time is 0x2A5 of 0x3FF, which no other coordinate may see.
    for (std::size_t i = 0; i < 8; ++i) {
        tandor::Gamut gamut{};
        (i % 2 == 0 ? gamut[i / 2].first : gamut[i / 2].second) = 0x2A5 / 1024.0;
        Bytes edid = SampleEdid(gamut);
        const auto coordinates = tandor::ReadCoordinates(edid);
        ASSERT_TRUE(coordinates);
        for (std::size_t j = 0; j < 8; ++j) EXPECT_EQ((*coordinates)[j], i == j ? 0x2A5 / 1024.0 : 0) << i << j;
        EXPECT_EQ(tandor::GamutOf(*coordinates), gamut);
    }
}

TEST(Edid, AcceptsByTheFirstThreeBytesAlone) {
    Bytes edid = SampleEdid(tandor::kP3);
    for (std::size_t i = 3; i < 8; ++i) edid[i] = 0xAB;
    EXPECT_TRUE(tandor::ReadCoordinates(edid));
    const auto block = tandor::ReadEdid(edid);
    ASSERT_TRUE(block);
    EXPECT_FALSE(block->header_right);
    EXPECT_FALSE(block->checksum_right);
    for (std::size_t i = 0; i < 3; ++i) {
        Bytes wrong = SampleEdid(tandor::kP3);
        wrong[i] ^= 0x01;
        EXPECT_FALSE(tandor::ReadCoordinates(wrong)) << i;
    }
    for (std::size_t length = 0; length < 128; ++length) {
        const Bytes cut(edid.begin(),
                        edid.begin() + static_cast<std::ptrdiff_t>(length));  // its end is the allocation's end
        EXPECT_EQ(tandor::ReadCoordinates(cut).has_value(), length >= 35) << length;
        EXPECT_FALSE(tandor::ReadEdid(cut));
    }
}

TEST(Edid, ReadsTheBaseBlock) {
    Bytes edid = SampleEdid(tandor::kAdobeRgb);
    edid[126] = 2;
    FixChecksum(edid);
    edid.resize(450);
    edid[128] = 0x02;  // its checksum is wrong; the next block, all zeros, has a right one
    const auto block = tandor::ReadEdid(edid);
    ASSERT_TRUE(block);
    const std::initializer_list<std::size_t> numbers = {
        block->product,  block->serial,   block->week,      block->year,       block->version,
        block->revision, block->width_cm, block->height_cm, block->extensions, block->extensions_there.size()};
    EXPECT_THAT(numbers, ElementsAre(0x42, 0x01020304, 12, 2023, 1, 4, 34, 22, 2, 2));
    EXPECT_TRUE(block->extensions_there[0].tag == 2 && !block->extensions_there[0].checksum_right);
    EXPECT_TRUE(block->extensions_there[1].checksum_right);
    EXPECT_THAT((std::vector{block->maker, block->name, block->serial_text}),
                ElementsAre("VXT", "Pad Screen 14", "SN-7"));
    EXPECT_EQ(std::pair(block->preferred.width, block->preferred.height), std::pair(2160u, 1440u));
    EXPECT_NEAR(block->preferred.refresh, 59.946, 0.001);
    EXPECT_DOUBLE_EQ(block->gamma, 2.2);
    EXPECT_NEAR(block->gamut[1].second, 0.71, 0.0005);
    EXPECT_FALSE(block->preferred.interlaced);
    EXPECT_TRUE(block->header_right && block->checksum_right);
}

}  // namespace
