#include "base/utf_codec.h"
#include "support/testing.h"
#include "tandor/text.h"

namespace {

using namespace tandor::test;

using namespace std::string_literals;

const std::wstring kEverySize = L"a\u00e9\u4e2d\U0001F600z";
const std::string kEverySizeUtf8 = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z";

// The texts lie at every place of the vector loops and of the buffer's edge.
TEST(Utf, ConvertsBothWaysWhereverACharacterLies) {
    for (const std::size_t before : std::initializer_list<std::size_t>{0, 1, 7, 15, 16, 17, 31, 33, 340, 511, 682, 1020,
                                                                       2026, 2031, 2032, 2040, 2047, 2048, 5000}) {
        for (const std::size_t after : std::initializer_list<std::size_t>{0, 3, 16, 40}) {
            const std::string utf8 = std::string(before, 'x') + kEverySizeUtf8 + std::string(after, 'y');
            const std::wstring wide = std::wstring(before, L'x') + kEverySize + std::wstring(after, L'y');
            ASSERT_EQ(TandorUtilClass::ConvertFromBytes(utf8), wide) << before << " " << after;
            ASSERT_EQ(TandorUtilClass::ConvertFromWideBytes(wide), utf8) << before << " " << after;
        }
    }
    std::string many;
    std::wstring many_wide;
    for (int i = 0; i < 3000; ++i) {
        many += kEverySizeUtf8;
        many_wide += kEverySize;
    }
    EXPECT_EQ(TandorUtilClass::ConvertFromBytes(many), many_wide);
    EXPECT_EQ(TandorUtilClass::ConvertFromWideBytes(many_wide), many);
    EXPECT_EQ(TandorUtilClass::ConvertFromBytes(""), L"");
    EXPECT_EQ(TandorUtilClass::ConvertFromWideBytes(L""), "");
    EXPECT_EQ(TandorUtilClass::ConvertFromBytes("a\0b"s), L"a\0b"s);
}

TEST(Utf, RefusesEveryInvalidSequence) {
    std::istringstream invalid(  // cut or alone; overlong; surrogates; beyond the last
        "\x80 \xBF \xC3 \xC3x \xE4\xB8 \xE4\xB8x \xF0\x9F\x98 \xF0\x9F\x98x "
        "\xC0\xAF \xC1\xBF \xE0\x9F\xBF \xF0\x8F\xBF\xBF "
        "\xED\xA0\x80 \xED\xBF\xBF \xF4\x90\x80\x80 \xF5\x80\x80\x80 \xFF \xFE");
    for (std::string sequence; invalid >> sequence;) {
        for (const std::string& text :
             {sequence, "ascii " + sequence, sequence + " ascii, long enough for the vector loop",
              std::string(3000, 'a') + sequence}) {
            EXPECT_THAT([&] { TandorUtilClass::ConvertFromBytes(text); },
                        testing::ThrowsMessage<std::range_error>("bad conversion"))
                << testing::PrintToString(text);
        }
    }
    EXPECT_EQ(TandorUtilClass::ConvertFromBytes(
                  "\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF\xF0\x90\x80\x80\xE0\xA0\x80\xC2\x80"),
              L"\uD7FF\uE000\U0010FFFF\U00010000\u0800\u0080");
    for (const std::wstring text : {L"\xD83D", L"\xDE00", L"a\xDE00\xD83D", L"\xD83Dx"})
        EXPECT_THAT([&] { TandorUtilClass::ConvertFromWideBytes(text); },
                    testing::ThrowsMessage<std::range_error>("bad conversion"));
    EXPECT_EQ(TandorUtilClass::ConvertFromWideBytes(L"a\0b"s), "a\0b"s);
}

// The 16-bit loops as they run on Windows, wherever this test runs.
TEST(Utf, SixteenBitUnitsUseSurrogatePairs) {
    const std::u16string units = u"\U0001F600 and a tail of ASCII \u4e2d";
    char utf8[200];
    const auto encoded = tandor::utf::Encode(units.data(), units.data() + units.size(), utf8, utf8 + sizeof(utf8));
    ASSERT_TRUE(encoded.valid);
    EXPECT_EQ(std::string(utf8, encoded.out), "\xF0\x9F\x98\x80 and a tail of ASCII \xE4\xB8\xAD");
    char16_t back[200];
    const auto decoded = tandor::utf::Decode(utf8, encoded.out, back, back + 200);
    ASSERT_TRUE(decoded.valid);
    EXPECT_EQ(std::u16string(back, decoded.out), units);
    const char16_t lone[][2] = {{u'a', 0xD83D}, {0xDE00, 0xDE00}};
    for (const auto& pair : lone) EXPECT_FALSE(tandor::utf::Encode(pair, pair + 2, utf8, utf8 + sizeof(utf8)).valid);
}

}  // namespace
