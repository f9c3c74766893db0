#include "system/http_headers.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

TEST(TraceIdText, HasTheThirdGroupAloneInLowerCase) {
    using tandor::TraceIdText;
    EXPECT_EQ(TraceIdText({0xABCDEF01, 0xFEDC, 0xBA98, {0xAB, 0xCD, 0xEF, 0x01, 0x0A, 0xBC, 0xDE, 0xFF}}),
              "ABCDEF01-FEDC-ba98-ABCD-EF010ABCDEFF");
    EXPECT_EQ(TraceIdText({1, 2, 10, {0, 3, 4, 5, 6, 7, 8, 9}}), "00000001-0002-000a-0003-040506070809");
}

TEST(HeaderLine, CannotBeginAnotherHeader) {
    EXPECT_EQ(tandor::HeaderLine("sn", "a\r\nX-Evil: 1\x7F\t手机"), "sn: aX-Evil: 1手机");
    EXPECT_EQ(tandor::HeaderLine("sn", ""), "sn: ");
}

}  // namespace
