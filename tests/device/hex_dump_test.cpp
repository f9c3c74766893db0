#include "device/hex_dump.h"

#include "base/hex.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

std::string HexOf(const tandor::HexDump& dump) {
    EXPECT_EQ(dump.fault, nullptr) << dump.line << ":" << dump.column << " " << dump.fault;
    return tandor::HexFromBytes({reinterpret_cast<const char*>(dump.bytes.data()), dump.bytes.size()},
                                tandor::HexCase::kLower);
}

TEST(HexDump, ReadsWhatOtherToolsPrint) {
    const std::string twenty = "000102030405060708090a0b0c0d0e0f10111213";
    const std::pair<const char*, std::string> texts[] = {
        {"", ""},
        {" \r\n\t\n", ""},
        {"00ffFF 00\r\n\t5b14\n", "00ffff005b14"},
        {"0x00, 0xFF,\n0XfF};", "00ffff"},
        {"{ 0x00,0xFF }", "00ff"},
        {"00-FF-FF:00;\"01\"", "00ffff0001"},
        {"\xEF\xBB\xBF"
         "00 ff",
         "00ff"},
        {"Windows Registry Editor Version 5.00\r\n\r\n[HKEY_X\\Y]\r\n\"EDID\"=hex:00,ff,\\\r\n  "
         "ff,00\r\n\"z\"=\"q\"\r\n",
         "00ffff00"},
        {"00000000: 0001 0203 0405 0607 0809 0a0b 0c0d 0e0f  ................\n00000010: 1011 1213      abcd", twenty},
        {"00000000  00 01 02 03 04 05 06 07  08 09 0a 0b 0c 0d 0e 0f  |0 1 2 3 |\n"
         "00000010  10 11 12 13    |....|\n00000014\n",
         twenty},
        {"0000000 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f  >fe 00<\n0000010 10 11 12 13\n", twenty},
        {"00000000   00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F  ab cd\n00000010   10 11 12 13\n", twenty},
        {"0000 00 00\n*\n0006 01\n", "00000000000001"},
    };
    for (const auto& [text, hex] : texts) EXPECT_EQ(HexOf(tandor::ReadHexDump(text)), hex) << text;
    std::string wide("\xFF\xFE");
    for (const char c : std::string("\"EDID\"=hex:00,ff\r\n")) wide += {c, '\0'};
    EXPECT_EQ(HexOf(tandor::ReadHexDump(wide)), "00ff");
    EXPECT_EQ(tandor::ReadHexDump(std::string(65536, 'a')).bytes.size(), 32768u);
}

TEST(HexDump, SaysWhatIsWrongAndWhere) {
    const std::string zeros = "0000  00 01\n*\n";
    const std::tuple<std::string, std::size_t, std::size_t, const char*> texts[] = {
        {"00 f", 1, 4, "two digits"},
        {"00\n 0g", 2, 2, "two digits"},
        {"00\n zz", 2, 2, "no hexadecimal digit"},
        {"00 \xC3\xA9", 1, 4, "no hexadecimal digit"},
        {"0000: 00 01\n0003: 02", 2, 1, "offset is not"},
        {"0000: 00 01\n02 03", 2, 1, "offset is missing"},
        {"0000: 00 0x", 1, 10, "two digits"},
        {"*", 1, 1, "no hexadecimal digit"},
        {"0000  00\n*", 2, 1, "between two lines"},
        {zeros + "0001", 3, 1, "offset is not"},
        {zeros + "ffffffffffffffffffff", 3, 1, "offset is not"},
        {"\"EDID\"=hex:00,\\\n  f", 2, 3, "two digits"},
        {std::string(65538, 'a'), 1, 1, "more than 32768"},
    };
    for (const auto& [text, line, column, fault] : texts) {
        const tandor::HexDump dump = tandor::ReadHexDump(text);
        ASSERT_NE(dump.fault, nullptr) << text;
        EXPECT_THAT(dump.fault, HasSubstr(fault)) << text;
        EXPECT_EQ(std::pair(dump.line, dump.column), std::pair(line, column)) << text;
        EXPECT_THAT(dump.bytes, IsEmpty());
    }
}

}  // namespace
