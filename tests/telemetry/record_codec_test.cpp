#include "suite/telemetry/record_codec.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

TEST(RecordCodec, GivesBackWhatItTookAndRefusesEverythingElse) {
    pelora::OutboxRecord record;
    record.event = "606008003";
    record.extra = "手机";
    record.values = {
        {"0", "a\0b", false}, {"größe", "-9223372036854775808", true}, {"", std::string("\xFF\0", 2), false}};
    record.files = {{"C:\\log\\手机.log", -1, 0}, {"x", 1LL << 40, 1700000000000}};
    const std::string bytes = pelora::EncodeContent(record);
    pelora::OutboxRecord read;
    ASSERT_TRUE(pelora::DecodeContent(bytes, read));
    EXPECT_EQ(read, record);
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_FALSE(pelora::DecodeContent(bytes.substr(0, length), read)) << length;
    EXPECT_FALSE(pelora::DecodeContent(bytes + "x", read));
    std::string huge = pelora::EncodeContent({});
    huge.replace(9, 4, "\xFF\xFF\xFF\xFF");  // the count of values
    EXPECT_FALSE(pelora::DecodeContent(huge, read));
}

}  // namespace
