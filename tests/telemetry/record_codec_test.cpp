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

TEST(RecordCodec, EntriesEndAtTheFirstThatIsNotWhole) {
    const pelora::JournalEntry first{1ULL << 40, -1, 7, pelora::OutboxKind::kFault, "one"};
    const pelora::JournalEntry second{2, 3, 4, pelora::OutboxKind::kBusiness, ""};
    const std::string bytes = pelora::EncodeEntry(first) + pelora::EncodeEntry(second);
    EXPECT_EQ(bytes.size(), 2 * pelora::kEntryHead + 3);
    const auto count = [](std::string_view rest) {
        int entries = 0;
        for (pelora::JournalEntry entry; pelora::TakeEntry(rest, entry);) ++entries;
        return std::pair(entries, rest.size());
    };
    std::string_view rest = bytes;
    pelora::JournalEntry read;
    ASSERT_TRUE(pelora::TakeEntry(rest, read));
    EXPECT_EQ(std::tie(read.sequence, read.time, read.process, read.kind, read.content),
              std::tie(first.sequence, first.time, first.process, first.kind, first.content));
    EXPECT_EQ(count(bytes + "rest"), std::pair(2, std::size_t{4}));
    const std::size_t length = bytes.size() - rest.size();
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        std::string broken = bytes;
        broken[at] = static_cast<char>(broken[at] ^ 1);
        const int whole = at < length ? 0 : 1;
        EXPECT_EQ(count(broken).first, whole) << at;
        EXPECT_EQ(count(bytes.substr(0, at)).first, whole) << at;
    }
}

}  // namespace
