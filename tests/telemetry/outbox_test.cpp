#include "pelora/data_report_service.h"
#include "pelora/event_service.h"
#include "suite/sqlite/database.h"
#include "support/outbox_questions.h"
#include "support/sent_records.h"

namespace {

using namespace tandor::test;

TEST(Outbox, GivesBackWhatWasPutInOrderAfterOpeningAnew) {
    const TemporaryFolder folder;
    const std::string file = Utf8(folder.path / L"neu" / L"手机.db");
    OutboxRecord first = Record("手机\xFF"), second = Record("b");
    second.kind = pelora::OutboxKind::kFault;
    second.files = {{"C:\\x.log", 12, 1700000000000}};
    {
        Outbox outbox(file);
        ASSERT_EQ(outbox.Put(first), "");
        ASSERT_EQ(outbox.Put(second), "");
    }
    Outbox outbox(file);
    EXPECT_EQ(All(outbox), (std::vector{first, second}));
    EXPECT_EQ(first.identifier.size(), 32u);
    EXPECT_EQ(second.sequence, first.sequence + 1);
    unsigned long long removed = 0;
    EXPECT_EQ(outbox.Remove({second.sequence, 77}, removed), "");
    EXPECT_EQ(removed, 1u);
    OutboxRecord third = Record("c");
    ASSERT_EQ(outbox.Put(third), "");
    EXPECT_EQ(third.sequence, 3u) << "a sequence is not given twice";
    const OutboxStatus status = StatusOf(outbox);
    EXPECT_EQ(std::tuple(status.records, status.put, status.removed), std::tuple(2u, 3u, 1u));
}

TEST(Outbox, NeverPassesItsLimitsAndCountsWhatGaveWay) {
    const TemporaryFolder folder;
    const auto file = folder.path / L"outbox.db";
    Outbox outbox(Utf8(file));
    constexpr unsigned long long kBytes = 128 * 1024;
    ASSERT_EQ(outbox.SetLimits({1000, kBytes}), "");
    // About ten times the bytes; sizes on both sides of a page, and beyond many.
    const std::size_t sizes[] = {10, 700, 2100, 4100, 20'000};
    unsigned long long put = 0;
    for (std::size_t sum = 0; sum < 10 * kBytes; ++put) {
        OutboxRecord record = Record(std::string(sizes[put % std::size(sizes)], 'x'));
        ASSERT_EQ(outbox.Put(record), "");
        sum += record.values[0].text.size();
        ASSERT_LE(std::filesystem::file_size(file), kBytes);
    }
    OutboxStatus status = StatusOf(outbox);
    EXPECT_LE(status.bytes, kBytes);
    EXPECT_EQ(status.put, put);
    EXPECT_EQ(status.records + status.displaced, put);
    const auto records = All(outbox);
    ASSERT_EQ(records.size(), status.records);
    EXPECT_GE(records.size(), 15u) << "most of the room is used";
    for (std::size_t i = 0; i < records.size(); ++i) EXPECT_EQ(records[i].sequence, status.displaced + 1 + i);

    ASSERT_EQ(outbox.SetLimits({3, kBytes}), "");
    status = StatusOf(outbox);
    EXPECT_EQ(std::pair(status.records, status.displaced), std::pair(3ULL, put - 3));
    EXPECT_NE(outbox.SetLimits({0, kBytes}), "");
    EXPECT_NE(outbox.SetLimits({1, 4096}), "");
    for (const std::size_t size : {200'000, 5'000'000}) {
        OutboxRecord large = Record(std::string(size, 'x'));
        EXPECT_NE(outbox.Put(large), "");
    }
    EXPECT_EQ(All(outbox).size(), 3u) << "nothing gives way for what cannot be held";
    for (int round = 0; round < 2; ++round) {  // what gave way is told once, as a record
        ASSERT_EQ(outbox.TellDrops(), "");
        const auto told = All(outbox);
        ASSERT_EQ(told.size(), 3u);
        EXPECT_EQ(told[2].kind, pelora::OutboxKind::kDropped);
        EXPECT_EQ(told[2].sequence, put + 1);
        EXPECT_EQ(LineOf(told[2]), "outbox.dropped: " + std::to_string(put - 2) + ", " + std::to_string(put - 2));
    }
    EXPECT_EQ(StatusOf(outbox).displaced, put - 2);
}

TEST(Outbox, AStoreThatCannotBeUsedFailsInTimeWithOneLine) {
    const TemporaryFolder folder;
    const auto file = folder.path / L"outbox.db";
    std::filesystem::create_directories(file);  // a folder where the file should be
    Outbox outbox(Utf8(file));
    HostLog log;
    OutboxRecord record = Record("x");
    const std::string trouble = outbox.Put(record);
    EXPECT_NE(trouble.find("outbox.db: "), std::string::npos) << trouble;
    EXPECT_EQ(outbox.Put(record), trouble);
    OutboxRecord large = Record(std::string(5'000'000, 'x'));
    EXPECT_THAT(outbox.Put(large), HasSubstr("beyond the largest"));
    EXPECT_THAT(log.Take(), ElementsAre(StartsWith(L"4 [Outbox]"))) << "one line in a minute, whatever the trouble";
    std::filesystem::remove(file);
    EXPECT_EQ(outbox.Put(record), "") << "it works again as soon as it can";
}

TEST(Outbox, ABusyStoreHoldsUpNoRecordAndIsWaitedForABoundedTime) {
    const TemporaryFolder folder;
    const std::string file = Utf8(folder.path / L"outbox.db");
    Outbox outbox(file);
    OutboxRecord record = Record("x");
    ASSERT_EQ(outbox.Put(record), "");
    pelora::Database other(file);
    {
        pelora::Transaction holder(other);
        EXPECT_EQ(outbox.Put(record), "");
        OutboxStatus status;
        EXPECT_NE(outbox.Status(status), "");  // returns at all, while the other never ends
        OutboxRecord large = Record(std::string(20'000, 'x'));
        EXPECT_NE(outbox.Put(large), "");
    }
    EXPECT_EQ(outbox.Put(record), "");
    EXPECT_EQ(All(outbox).size(), 3u);
}

std::atomic<int> flushes{0};
BOOL WINAPI CountFlush(HANDLE file) {
    ++flushes;
    return ::FlushFileBuffers(file);
}

TEST(Outbox, RecordsReachTheDiskOnceASecondOrEachBeforeItsReturn) {
    const TemporaryFolder folder;
    Outbox outbox(Utf8(folder.path / L"outbox.db"));
    OutboxRecord record = Record("x");
    ASSERT_EQ(outbox.Put(record), "");
    const ImportPatch patch(L"PeloraSuite.dll", "FlushFileBuffers", CountFlush);
    flushes = 0;
    int records = 0;
    for (const ULONGLONG begin = ::GetTickCount64(); ::GetTickCount64() - begin < 1100; ++records)
        ASSERT_EQ(outbox.Put(record), "");
    EXPECT_GE(flushes, 1);
    EXPECT_LT(flushes, records);
    pelora::OutboxLimits limits;
    limits.flush = true;
    ASSERT_EQ(outbox.SetLimits(limits), "");
    EXPECT_TRUE(StatusOf(outbox).limits.flush);
    for (int i = 0; i < 5; ++i) {
        flushes = 0;
        ASSERT_EQ(outbox.Put(record), "");
        EXPECT_EQ(flushes, 1);
    }
}

// Four processes report and are killed again and again. What each had acknowledged it appended to its own file.
TEST(Outbox, NothingAcknowledgedIsLostWhenProcessesAreKilled) {
    const TemporaryFolder folder;
    const auto file = folder.path / L"outbox.db";
    const auto command = [&](int number) {
        return L"outbox-put \"" + file.native() + L"\" \"" + (folder.path / std::to_wstring(number)).native() + L"\"";
    };
    const char* const wanted = std::getenv("TANDOR_OUTBOX_KILLS");
    const int kills = wanted == nullptr ? 16 : std::atoi(wanted);
    // A long run would drop its oldest; a short one has the writers make the file.
    if (wanted != nullptr) {
        ASSERT_EQ(Outbox(Utf8(file)).SetLimits({10'000'000, 8ULL << 30}), "");
    }
    std::vector<Child> writers;
    for (int i = 0; i < 4; ++i) writers.emplace_back(command(i));
    unsigned random = Seed(12345);
    for (int kill = 0; kill < kills; ++kill) {
        random = random * 1664525 + 1013904223;
        ::Sleep(random >> 16 & 127);
        Child& writer = writers[static_cast<std::size_t>(kill % 4)];
        ASSERT_TRUE(writer.Kill()) << "a record was refused";
        writer = Child(command(kill % 4));
    }
    writers.clear();
    Outbox outbox(Utf8(file));
    const auto records = All(outbox);
    const std::set<std::string> stored = Identifiers(records);
    EXPECT_EQ(stored.size(), records.size()) << "an identifier was given twice";
    std::size_t acknowledged = 0;
    for (int i = 0; i < 4; ++i) {
        std::istringstream lines(ReadAll(folder.path / std::to_wstring(i)));
        for (std::string line; std::getline(lines, line) && line.size() == 32; ++acknowledged)
            EXPECT_TRUE(stored.contains(line)) << line;
    }
    EXPECT_GT(acknowledged, 0u);
    EXPECT_EQ(CountAside(folder.path), 0) << "the file was taken for a damaged one";
    RecordProperty("figures",
                   std::to_string(acknowledged) + " acknowledged, " + std::to_string(records.size()) + " stored");
}

TEST(Services, RecordWhatTheyAreGiven) {
    const TemporaryFolder folder;
    const auto log = folder.path / L"KoView.log";
    WriteAll(log, "twelve bytes");
    KoEvent event(992614403);
    event.PutInt("deviceType", 7).PutString("duration", "1 s").PutLong("deviceType", -1);
    EXPECT_EQ(event.Flatten(), R"(992614403 {"deviceType":-1,"duration":"1 s"})");
    event.PutString("text", "a\n\"手机\"").AddFilePath(Utf8(log)).AddFilePath("C:\\none.log");
    const std::string flat = event.Flatten();
    EXPECT_NE(flat.find(R"("text":"a\u000a\"手机\""})"), std::string::npos) << flat;
    ASSERT_TRUE(KoView::Report(event));
    LogInfo info = EventDataReport::Instance().GetMsg("606013000", "");
    info.values = {{10, "k"}, {0, "a"}, {2, "c"}};
    ASSERT_TRUE(EventDataReport::Instance().SendMsg(info));
    std::vector<OutboxRecord> records;
    ASSERT_EQ(Outbox::GetInstance().ReadLast(2, records), "");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].event, "992614403");
    EXPECT_EQ(records[0].kind, pelora::OutboxKind::kFault);
    EXPECT_EQ(records[0].values[0], (pelora::OutboxValue{"deviceType", "-1", true}));
    ASSERT_EQ(records[0].files.size(), 2u);
    EXPECT_EQ(records[0].files[0].size, 12);
    EXPECT_GT(records[0].files[0].modified, 1'600'000'000'000);
    EXPECT_EQ(records[0].files[1], (pelora::OutboxFile{"C:\\none.log", -1, 0}));
    const std::vector<pelora::OutboxValue> values{{"0", "a"}, {"2", "c"}, {"10", "k"}};
    EXPECT_EQ(records[1].values, values);
    event.Reset();
    EXPECT_EQ(event.Flatten(), "992614403 {}");
}

}  // namespace
