#include "pelora/event_service.h"
#include "support/sent_records.h"
#include "support/testing.h"
#include "tandor/data_report.h"
#include "tandor/event_reporter.h"

namespace {

using namespace tandor::test;

using Tandor::KoEventReporter, Tandor::KoEventReporterFactory, Tandor::Reporter, Tandor::ReporterFactory;

TEST(Reporter, SendsTagsInOrderAndNamesTheMissingOnes) {
    SentRecords sent;
    HostLog log;
    Reporter reporter(9101, 3);
    const unsigned long long before = TandorDataReportClass::GetCurrentMilliSecond();
    reporter.RecordTimeStamp(7);  // outside the count
    reporter.RecordTimeStamp(1);
    reporter.Commit();
    const unsigned long long after = TandorDataReportClass::GetCurrentMilliSecond();
    const auto records = sent.Take();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].kind, pelora::OutboxKind::kBusiness);
    EXPECT_EQ(records[0].event, "606009101");
    const auto values = ValuesOf(records[0]);
    ASSERT_THAT(values, ElementsAre("0", testing::_, "0"));
    EXPECT_GE(std::stoull(values[1]), before);
    EXPECT_LE(std::stoull(values[1]), after);
    EXPECT_THAT(log.Take(), ElementsAre(L"3 tag:0 not record,commit with default value(Tandor::Reporter::Commit)",
                                        L"3 tag:2 not record,commit with default value(Tandor::Reporter::Commit)"));
    // The values stay, and the count may grow over what was recorded.
    reporter.SetDataCount(8);
    reporter.Commit();
    const auto again = sent.Take();
    ASSERT_EQ(again.size(), 1u);
    EXPECT_EQ(ValuesOf(again[0]).size(), 8u);
    EXPECT_EQ(ValuesOf(again[0])[1], values[1]);
    EXPECT_NE(ValuesOf(again[0])[7], "0");
}

TEST(Reporter, CommitsNothingOnlyWhenTagsAreExpected) {
    SentRecords sent;
    HostLog log;
    Reporter empty(9102, 2);
    empty.SetTraceID("not enough");
    empty.Commit();
    EXPECT_THAT(log.Take(), ElementsAre(L"3 invalid commit, record is empty, id=9102(Tandor::Reporter::Commit)"));
    Reporter without_tags(9103, 0);
    without_tags.Commit();
    without_tags.SetTraceID("");
    without_tags.Commit();
    without_tags.SetTraceID("Spur-é");
    without_tags.Commit();
    EXPECT_THAT(LinesOf(sent.Take()), ElementsAre("606009103:", "606009103: 0", "606009103: Spur-é"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(ReporterFactory, OneReporterForEachEventWhateverTheCount) {
    auto& factory = ReporterFactory::GetInstance();
    const auto first = factory.CreateReporter(990001, 1);
    EXPECT_EQ(factory.CreateReporter(990001, 5), first);
    EXPECT_NE(factory.CreateReporter(990002, 1), first);
    SentRecords sent;
    first->RecordTimeStamp(0);
    first->Commit();
    EXPECT_EQ(sent.Take().at(0).values.size(), 1u);
}

TEST(KoEventReporter, TheFirstValueWinsUntilTheReport) {
    SentRecords sent;
    KoEventReporter reporter(880001);
    reporter.KoEventPutStringOnce("k", "a");
    reporter.KoEventPutStringOnce("k", "b");
    reporter.KoEventPutInt("n", -1);
    reporter.KoEventPutIntOnce("n", 2);
    reporter.KoEventPutLong("l", 1LL << 40);
    reporter.KoEventReport();
    reporter.KoEventPutStringOnce("k", "c");
    reporter.KoEventReport();
    EXPECT_THAT(LinesOf(sent.Take()),
                ElementsAre("880001: k='a', n=-1, l=1099511627776", "880001: k='c', n=-1, l=1099511627776"));
    // Resetting empties the event, but "once" still knows what was put.
    reporter.KoEventPutIntOnce("n", 3);
    reporter.KoEventReset();
    reporter.KoEventPutIntOnce("n", 4);
    reporter.KoEventPutString("other", "x");
    reporter.KoEventReport();
    EXPECT_THAT(LinesOf(sent.Take()), ElementsAre("880001: other='x'"));
}

TEST(KoEventReporter, ReportsOnlyWhatHasAKeyAndLogsIt) {
    SentRecords sent;
    HostLog log;
    KoEventReporter reporter(880002);
    reporter.KoEventAddFilePath("C:\\ficheros\\ñ.log");
    reporter.KoEventReport();
    EXPECT_THAT(sent.Take(), IsEmpty());
    EXPECT_THAT(log.Take(), IsEmpty());
    const auto before = static_cast<long long>(TandorDataReportClass::GetCurrentMilliSecond());
    reporter.KoEventPutTimeStamp("when");
    reporter.KoEventReport();
    reporter.KoEventReport();
    const auto records = sent.Take();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].kind, pelora::OutboxKind::kFault);
    ASSERT_EQ(records[0].files.size(), 1u);
    EXPECT_EQ(records[0].files[0].path, "C:\\ficheros\\ñ.log");
    EXPECT_TRUE(records[0].values.at(0).number);
    EXPECT_GE(std::stoll(records[0].values[0].text), before);
    auto lines = log.Take();
    ASSERT_FALSE(lines.empty());  // lines about the channel's creation may come first
    const std::string when = records[0].values[0].text;
    EXPECT_EQ(lines.back(), L"3 Fault report:880002 {\"when\":" + std::wstring(when.begin(), when.end()) +
                                L"} [\"C:\\\\ficheros\\\\ñ.log\"](Tandor::KoEventReporter::KoEventReport)");
}

TEST(KoEventReporter, AttachesTheTenDiagnosticLogsInOrder) {
    SentRecords sent;
    KoEventReporter reporter(880003);
    reporter.KoEventPutInt("k", 1);
    reporter.KoEventReportLog();
    reporter.KoEventReport();
    const auto records = sent.Take();
    ASSERT_EQ(records.size(), 1u);
    std::vector<std::string> paths, expected;
    for (const auto& file : records[0].files) paths.push_back(file.path);
    for (const std::string log : {"admin\\KoViewTandor", "admin\\KoViewCorelane", "admin\\KoViewConnectivity",
                                  "usr\\KoViewMirror", "admin\\KoViewAccountCred"})
        for (const char* const end : {".log", ".1.log"})
            expected.push_back("C:\\ProgramData\\Comms\\Pelora\\log\\" + log + end);
    EXPECT_EQ(paths, expected);
}

TEST(ReportersAtOnce, FactoriesHandOutOneObjectAndReportersStayWhole) {
    constexpr int kThreads = 16;
    constexpr int kRounds = 15;
    SentRecords sent;
    std::vector<std::set<const void*>> seen(kThreads);
    InThreads(kThreads, [&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            const auto reporter = ReporterFactory::GetInstance().CreateReporter(770000 + round % 2, 3);
            const auto faults = KoEventReporterFactory::GetInstance().CreateKoEventReporter(770010 + round % 2);
            seen[static_cast<std::size_t>(thread)].insert({reporter.get(), faults.get()});
            reporter->RecordTimeStamp(thread % 3);
            reporter->SetDataCount(3);
            reporter->SetTraceID("trace");
            reporter->Commit();
            faults->KoEventPutInt("thread", thread);
            faults->KoEventPutStringOnce("first", "text");
            faults->KoEventAddFilePath("C:\\a.log");
            faults->KoEventReport();
        }
    });
    for (const auto& objects : seen) EXPECT_EQ(objects, seen[0]);
    EXPECT_EQ(seen[0].size(), 4u);
    int commits = 0;
    for (const auto& record : sent.Take()) {
        if (record.kind == pelora::OutboxKind::kFault) {
            EXPECT_EQ(record.values.at(0).key, "thread");
            EXPECT_LE(record.values.size(), 2u);
            continue;
        }
        ++commits;
        EXPECT_EQ(record.values.size(), 4u);
        EXPECT_EQ(record.values.back().text, "trace");
    }
    EXPECT_EQ(commits, kThreads * kRounds);
}

TEST(KoEvent, AnyBytesBecomeOnePrintableLine) {
    using namespace std::literals;
    const std::pair<std::string, const char*> cases[] = {
        {"手机 é", "手机 é"},
        {"a\n\"\\\0"s, R"(a\u000a\"\\\u0000)"},
        {"\x7F\xC2\x85", R"(\u007f\u0085)"},
        {"\xE2\x80\xA8\xE2\x80\xA9", R"(\u2028\u2029)"},
        {"\xFFx", R"(\xffx)"},
        {"\xE6\x89", R"(\xe6\x89)"},
        {"\xED\xA0\x80", R"(\xed\xa0\x80)"},
    };
    for (const auto& [value, expected] : cases) {
        KoEvent event(7);
        event.PutString("k", value);
        EXPECT_EQ(event.Flatten(), "7 {\"k\":\"" + std::string(expected) + "\"}");
    }
}

TEST(ReportersAtOnce, AnObserverOfTheLogMayReport) {
    SentRecords sent;
    bool reported = false;
    const auto subscription = VxLogger::GetInstance().Subscribe(LOG_MESSAGE_TRACE, [&](auto, std::wstring_view line) {
        if (line.find(L"992614405") != line.npos && !std::exchange(reported, true))
            TandorDataReportClass::ReportConnectEntry(5, 6);
    });
    TandorDataReportClass::ReportModeSwitch(1, 2, 3, 4);
    VxLogger::GetInstance().Unsubscribe(subscription);
    EXPECT_THAT(LinesOf(sent.Take()),
                ElementsAre("992614412: deviceType=5, type=6", "992614405: deviceType=1, old=2, new=3, type=4"));
}

TEST(ReportersAtOnce, ModeReportsOfSeveralThreadsDoNotMixTheirValues) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 30;
    SentRecords sent;
    // Within a report the others come to wait, and take turns with whoever had it.
    const auto subscription = VxLogger::GetInstance().Subscribe(
        LOG_MESSAGE_TRACE, [](auto, auto) { std::this_thread::sleep_for(std::chrono::milliseconds(1)); });
    InThreads(kThreads, [&](int thread) {
        for (int round = 0; round < kRounds; ++round)
            TandorDataReportClass::ReportModeSwitch(thread, thread, thread, thread);
    });
    VxLogger::GetInstance().Unsubscribe(subscription);
    std::vector<int> reports(kThreads);
    for (const auto& record : sent.Take()) {
        ASSERT_EQ(record.values.size(), 4u);
        for (const auto& value : record.values) EXPECT_EQ(value.text, record.values[0].text);
        ++reports[std::stoul(record.values[0].text)];
    }
    EXPECT_THAT(reports, Each(30));
}

}  // namespace
