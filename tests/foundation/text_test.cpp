#include <climits>
#include <random>

#include "base/hex.h"
#include "support/testing.h"
#include "tandor/text.h"

namespace {

using namespace tandor::test;

std::string Encode(const std::string& bytes) {
    return TandorUtilClass::Base64Encode(reinterpret_cast<const unsigned char*>(bytes.data()),
                                         static_cast<unsigned>(bytes.size()));
}

std::string Decode(const std::string& text) {
    std::string out(text.size() * 3 / 4, '#');
    const int size =
        TandorUtilClass::Base64Decode(reinterpret_cast<const unsigned char*>(text.data()),
                                      static_cast<int>(text.size()), reinterpret_cast<unsigned char*>(out.data()));
    return out.substr(0, static_cast<std::size_t>(size));
}

TEST(Base64, EncodesTheStandardVectorsAndDecodesWhatItEncoded) {
    for (const auto& [plain, coded] :  // RFC 4648, section 10
         {std::pair{"", ""},
          {"f", "Zg=="},
          {"fo", "Zm8="},
          {"foo", "Zm9v"},
          {"foob", "Zm9vYg=="},
          {"fooba", "Zm9vYmE="},
          {"foobar", "Zm9vYmFy"}}) {
        EXPECT_EQ(Encode(plain), coded);
        EXPECT_EQ(Decode(coded), plain);
    }
    std::mt19937 random(1);
    std::string bytes;
    for (int size = 0; size < 300; ++size) {
        ASSERT_EQ(Decode(Encode(bytes)), bytes) << size;
        bytes += static_cast<char>(random());
    }
    while (bytes.size() < 10'000) bytes += static_cast<char>(random());  // more than is coded at once
    EXPECT_EQ(Decode(Encode(bytes)), bytes);
    EXPECT_EQ(TandorUtilClass::Base64Encode(nullptr, 0), "");
}

TEST(Base64, StopsWhereTheInputDoes) {
    const std::pair<std::string, std::string> cases[] = {
        {"Z", ""},  // no whole group
        {"Zm", ""},
        {"Zm9", ""},
        {"Zm9vZ", "foo"},
        {"Zm9vYm", "foo"},                     // a cut group
        {std::string("Zm9v\0m9v", 8), "foo"},  // NUL begins a group
        {"Zm9v!m9v", "foo"},
        {"Zm9vZm_v", "foo"},
        {"Zm9v\xC3\xA9zz", "foo"},
        {"=m9v", ""},
        {"Z=9v", ""},  // padding where none can be
        {"Zg==Zm9v", "ffoo"},
        {"Zm8=Zg==", "fof"},  // padding ends its own group
        {"Zg=x", "f"},
    };
    for (const auto& [text, bytes] : cases) EXPECT_EQ(Decode(text), bytes) << text;
    unsigned char byte = 0;
    const unsigned char text[] = "Zm9v";
    EXPECT_EQ(TandorUtilClass::Base64Decode(nullptr, 4, &byte), 0);
    EXPECT_EQ(TandorUtilClass::Base64Decode(text, 4, nullptr), 0);
    EXPECT_EQ(TandorUtilClass::Base64Decode(text, -4, &byte), 0);
}

TEST(Url, CodesAndDecodes) {
    EXPECT_EQ(TandorUtilClass::UrlEncode("a b&c"), "a+b%26c");
    EXPECT_EQ(TandorUtilClass::UrlEncode("AZaz09-_.~"), "AZaz09-_.~");
    EXPECT_EQ(TandorUtilClass::UrlEncode("\xE4\xB8\xAD/+%"), "%E4%B8%AD%2F%2B%25");
    const std::pair<const char*, std::string> coded[] = {
        {"%4a", "J"},        {"a+b%26c", "a b&c"},
        {"%4A%e4", "J\xE4"}, {"%", "%"},
        {"ab%4", "ab%4"},    {"%zz", "\x53"},  // every letter counts as a digit: 35 * 16 + 35, low eight bits
        {"%!4", "\x04"},     {"%%34", std::string("\3") + "4"}};
    for (const auto& [text, plain] : coded) EXPECT_EQ(TandorUtilClass::UrlDecode(text), plain) << text;
    std::string every;
    for (int c = 0; c < 256; ++c) every += static_cast<char>(c);
    EXPECT_EQ(TandorUtilClass::UrlDecode(TandorUtilClass::UrlEncode(every)), every);
}

TEST(Hex, DigitsAndNumbers) {
    EXPECT_EQ(TandorUtilClass::StringFromHex(0x1A2B), L"0000000000001A2B");
    EXPECT_EQ(TandorUtilClass::StringFromHex(~0ull), L"FFFFFFFFFFFFFFFF");
    EXPECT_EQ(TandorUtilClass::ToHex(9), '9');
    EXPECT_EQ(TandorUtilClass::ToHex(10), 'A');
    EXPECT_EQ(TandorUtilClass::ToHex(16), 'G');
    const std::pair<unsigned char, int> wide_digits[] = {{'0', 0},  {'9', 9},  {'A', 10}, {'Z', 35},
                                                         {'a', 10}, {'z', 35}, {'-', 0},  {0xE4, 0}};
    for (const auto& [digit, value] : wide_digits) EXPECT_EQ(TandorUtilClass::FromHex(digit), value) << digit;
}

// A term that does not fit is passed over, and the next digit takes its place.
TEST(Hex, ReadsNumbersFromTheEndAndPassesOverWhatDoesNotFit) {
    const auto expect = [](long long value, const std::vector<const char*>& texts) {
        for (const char* const text : texts) EXPECT_EQ(TandorUtilClass::hexToDec(text), value) << text;
    };
    expect(0, {"", "xyz", "8000000000000000", "10000000000000000"});
    expect(255, {"ff", "f-f", "FF"});
    expect(16, {"0x10", "10"});
    expect(15, {"f0000000000000000f"});
    expect(0x1000000000000000, {"18000000000000000"});
    expect(LLONG_MAX, {"7fffffffffffffff"});
}

// Every length passes through the vector loop and its rest; every byte through both nibbles.
TEST(Hex, EveryByteBothCases) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
    for (const auto digits : {tandor::HexCase::kUpper, tandor::HexCase::kLower}) {
        for (const std::size_t length : std::initializer_list<std::size_t>{0, 1, 15, 17, 256}) {
            std::string expected;
            for (std::size_t i = 0; i < length; ++i) {
                char two[3];
                std::snprintf(two, sizeof(two), digits == tandor::HexCase::kUpper ? "%02X" : "%02x",
                              static_cast<unsigned char>(bytes[i]));
                expected += two;
            }
            EXPECT_EQ(tandor::HexFromBytes(bytes.substr(0, length), digits), expected);
            std::string back(length, '\0');
            EXPECT_EQ(tandor::ReadHex(expected, reinterpret_cast<unsigned char*>(back.data())), length);
            EXPECT_EQ(back, bytes.substr(0, length));
        }
    }
    unsigned char out[2];
    for (const auto& [text, read] : {std::pair{"41424", 2u}, {"4142g4", 2u}, {"4g", 0u}})
        EXPECT_EQ(tandor::ReadHex(text, out), read) << text;
}

TEST(Masking, KeepsTheEnds) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""}, {"a", "a"}, {"ab", "a*"}, {"abc", "a*c"}, {"13812345678", "1*********8"}};
    for (const auto& [text, masked] : cases) {
        EXPECT_EQ(TandorUtilClass::SenstiveContent(std::string(text)), masked);
        EXPECT_EQ(TandorUtilClass::SenstiveContent(std::wstring(text, text + strlen(text))),
                  std::wstring(masked, masked + strlen(masked)));
    }
}

}  // namespace
