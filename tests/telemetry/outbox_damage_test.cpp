// The outbox over files that are damaged, and over a disk that fails.
#include "suite/sqlite/database.h"
#include "support/outbox_questions.h"
#include "support/sent_records.h"

namespace {

using namespace tandor::test;

TEST(Outbox, ARecordThatIsDamagedIsHandedOutAndHoldsNothingUp) {
    const TemporaryFolder folder;
    const std::string file = Utf8(folder.path / L"outbox.db");
    Outbox outbox(file);
    std::vector<OutboxRecord> put{Record("a"), Record("b"), Record("c")};
    for (OutboxRecord& record : put) ASSERT_EQ(outbox.Put(record), "");
    EXPECT_EQ(All(outbox), put);
    pelora::Database(file).Execute("UPDATE records SET content = x'00' WHERE sequence = 2");
    const auto records = All(outbox);
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[1].event, "outbox.damaged");
    EXPECT_EQ(records[1].identifier, put[1].identifier);
    EXPECT_EQ(records[1].values.at(0).text, std::string(1, '\0'));
    EXPECT_EQ(records[2], put[2]);
    unsigned long long removed = 0;
    EXPECT_EQ(outbox.RemoveBefore(put[0].time, removed), "");
    EXPECT_EQ(removed, 0u);
    EXPECT_EQ(outbox.RemoveBefore(put[2].time + 1, removed), "");
    EXPECT_EQ(removed, 3u);
}

// Bytes of the journal that are no whole entry: changed ones, and the half of one that a process left which died.
TEST(Outbox, OfADamagedJournalTheRecordsBeforeTheDamageAreKept) {
    const TemporaryFolder folder;
    const auto journal = folder.path / L"outbox.db-new";
    const std::string file = Utf8(folder.path / L"outbox.db");
    OutboxRecord first = Record("first"), second = Record("second"), third = Record("third");
    {
        Outbox outbox(file);
        for (OutboxRecord* const record : {&first, &second}) ASSERT_EQ(outbox.Put(*record), "");
        std::string bytes = ReadAll(journal);
        bytes[bytes.size() - 2] ^= 1;
        WriteAll(journal, bytes);
        HostLog log;
        EXPECT_EQ(All(outbox), std::vector{first});
        EXPECT_THAT(log.Take(), ElementsAre(HasSubstr(L"bytes of new records were damaged and are lost")));
        ASSERT_EQ(outbox.Put(third), "");
        EXPECT_EQ(third.sequence, 2u) << "the lost one was never seen";
    }
    WriteAll(journal, ReadAll(journal) + ReadAll(journal).substr(0, 40));
    Outbox outbox(file);
    EXPECT_EQ(All(outbox), (std::vector{first, third}));
}

// The line about it comes under no lock: whoever observes it may report.
TEST(Outbox, ADamagedFileIsSetAsideAndTheRecordsKept) {
    const TemporaryFolder folder;
    WriteAll(folder.path / L"outbox.db", std::string(10'000, '?'));
    Outbox outbox(Utf8(folder.path / L"outbox.db"));
    OutboxRecord record = Record("x"), observed = Record("y");
    std::string trouble = "nothing was observed";
    const auto subscription = VxLogger::GetInstance().Subscribe(LOG_MESSAGE_ERROR, [&](auto, auto) {
        trouble = outbox.Put(observed);
        StatusOf(outbox);
    });
    EXPECT_EQ(outbox.Put(record), "");
    VxLogger::GetInstance().Unsubscribe(subscription);
    EXPECT_EQ(trouble, "");
    EXPECT_EQ(All(outbox), (std::vector{record, observed}));
    EXPECT_EQ(CountAside(folder.path), 1);
}

// Other processes have it open, or one of them is busy with it.
TEST(Outbox, ADamagedFileThatCannotBeRenamedIsBegunAnewInItsPlaceOrRefusedWithOneLine) {
    const TemporaryFolder folder;
    const auto file = folder.path / L"outbox.db";
    WriteAll(file, std::string(10'000, '?'));
    Outbox outbox(Utf8(file));
    OutboxRecord record = Record("x");
    {
        const tandor::FileHandle busy(::CreateFileW((file.native() + L".guard").c_str(), GENERIC_WRITE, 0, nullptr,
                                                    OPEN_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        HostLog log;
        for (int i = 0; i < 5; ++i) EXPECT_THAT(outbox.Put(record), HasSubstr("outbox.db: "));
        EXPECT_EQ(log.Take().size(), 1u);
    }
    const tandor::FileHandle open(::CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                OPEN_EXISTING, 0, nullptr));
    Outbox another(Utf8(file));
    EXPECT_EQ(another.Put(record), "");
    EXPECT_EQ(All(another), std::vector{record});
    EXPECT_EQ(CountAside(folder.path), 1);
}

// Which calls of WriteFile fail: each n-th, or all. Each second one that fails writes the half.
std::atomic<int> fail_each{0}, writes{0};
BOOL WINAPI FailingWrite(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED place) {
    const int number = ++writes;
    if (number % fail_each != 0) return ::WriteFile(file, data, size, written, place);
    if (fail_each > 1 && number / fail_each % 2 == 0) return ::WriteFile(file, data, size / 2, written, place);
    ::SetLastError(fail_each == 1 ? ERROR_DISK_FULL : ERROR_IO_DEVICE);
    return FALSE;
}

TEST(Outbox, WhatItAcknowledgedIsThereWhicheverWriteFails) {
    const auto most = Amount("TANDOR_OUTBOX_ERRORS", 12);
    std::size_t acknowledged = 0, refused = 0;
    for (unsigned long long n = 1; n <= most; ++n) {
        SCOPED_TRACE(n);
        const TemporaryFolder folder;
        const std::string file = Utf8(folder.path / L"outbox.db");
        std::set<std::string> identifiers;
        {
            Outbox outbox(file);
            OutboxRecord before = Record("before");
            ASSERT_EQ(outbox.Put(before), "");
            HostLog log;
            fail_each = static_cast<int>(n);
            const ImportPatch patch(L"PeloraSuite.dll", "WriteFile", FailingWrite);
            for (int i = 0; i < 60; ++i) {
                OutboxRecord record = Record(std::string(i % 7 == 0 ? 20'000U : 100U, 'x'));
                outbox.Put(record).empty() ? void(identifiers.insert(record.identifier)) : void(++refused);
                OutboxStatus status;
                if (i % 5 == 0) (void)outbox.Status(status);
            }
            EXPECT_LE(log.Take().size(), 1u);
        }
        acknowledged += identifiers.size();
        if (n == 1) {
            EXPECT_TRUE(identifiers.empty()) << "the disk was full";
        }
        Outbox outbox(file);
        OutboxRecord after = Record("after");
        EXPECT_EQ(outbox.Put(after), "");
        const auto stored = Identifiers(All(outbox));
        for (const std::string& identifier : identifiers) EXPECT_TRUE(stored.contains(identifier)) << identifier;
        EXPECT_EQ(CountAside(folder.path), 0);
    }
    EXPECT_GT(refused, 0u);
    RecordProperty("figures", std::to_string(acknowledged) + " acknowledged, " + std::to_string(refused) + " refused");
}

// Damage in the tables' order can put the new record among the old ones, and damage that is met only in reading sets
// the file aside: that is told.
TEST(Outbox, PagesOverwrittenAtRandomCostNoNewRecordUntold) {
    unsigned random = 7;
    const auto next = [&random] { return (random = random * 1664525 + 1013904223) >> 8; };
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        const TemporaryFolder folder;
        const std::string file = Utf8(folder.path / L"outbox.db");
        {
            Outbox outbox(file);
            for (int i = 0; i < 100; ++i) {
                OutboxRecord record = Record(std::string(200, 'x'));
                ASSERT_EQ(outbox.Put(record), "");
            }
            ASSERT_EQ(All(outbox).size(), 100u);
        }
        std::string bytes = ReadAll(folder.path / L"outbox.db");
        ASSERT_GT(bytes.size(), 20'000u);
        for (int i = 0; i < 3; ++i) {
            const std::size_t place = next() % (bytes.size() - 600);
            for (std::size_t at = place; at < place + 600; ++at) bytes[at] = static_cast<char>(next());
        }
        WriteAll(folder.path / L"outbox.db", bytes);
        Outbox outbox(file);
        OutboxRecord record = Record("after");
        ASSERT_EQ(outbox.Put(record), "");
        HostLog log;
        std::vector<OutboxRecord> last;
        ASSERT_EQ(outbox.ReadLast(1000, last), "");
        EXPECT_TRUE(Identifiers(last).contains(record.identifier) || !log.Take().empty());
    }
}

}  // namespace
