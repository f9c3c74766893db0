// What needs the system: the clocks, the channels' files, the outbox seen by a second process.
#include <regex>

#include "support/sent_records.h"
#include "support/testing.h"
#include "tandor/data_report.h"
#include "tandor/event_reporter.h"
#include "tandor/logging.h"

namespace {

using namespace tandor::test;

constexpr auto kStep = static_cast<TandorReportTypeEnum>(77);
constexpr auto kOtherStep = static_cast<TandorReportTypeEnum>(78);
const std::filesystem::path kFaultLog = L"C:\\ProgramData\\Comms\\Pelora\\log\\admin\\KoViewTandor.log";

TEST(RecordMarks, AreConsumedByOneEndAndReplacedByALaterBegin) {
    SentRecords sent;
    TandorDataReportClass* const reports = TandorDataReportClass::GetInstance();
    EXPECT_FALSE(reports->RecordEnd(kStep));
    EXPECT_TRUE(reports->RecordBegin(kStep));
    ::Sleep(700);
    EXPECT_TRUE(reports->RecordBegin(kOtherStep));
    const ULONGLONG second = ::GetTickCount64();
    EXPECT_TRUE(reports->RecordBegin(kStep));
    ::Sleep(60);
    EXPECT_TRUE(reports->RecordEnd(kStep));
    const double at_most = static_cast<double>(::GetTickCount64() - second + 20) / 1000;
    EXPECT_FALSE(reports->RecordEnd(kStep));
    const auto records = sent.Take();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].event, "606000077");
    const double seconds = std::stod(ValuesOf(records[0]).at(0));
    EXPECT_GE(seconds, 0.045);
    EXPECT_LE(seconds, at_most);
    EXPECT_TRUE(reports->RecordEnd(kOtherStep));
}

TEST(DataReport, TheLocalTimeHasItsFixedForm) {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    std::string time;
    TandorDataReportClass::GetSystemTime(time);
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(time, parts, std::regex(R"((\d{4})(\d\d)(\d\d)-(\d\d)(\d\d)(\d\d)-(\d{3}))"))) << time;
    const auto minutes = [](int hour, int minute) { return hour * 60 + minute; };
    const int apart = minutes(std::stoi(parts[4]), std::stoi(parts[5])) - minutes(now.wHour, now.wMinute);
    EXPECT_LE((apart + 1441) % 1440, 2) << time;  // a minute, also over midnight
}

unsigned ahead = 0;  // s

void WINAPI TellLaterTime(FILETIME* time) {
    ::GetSystemTimePreciseAsFileTime(time);
    const ULONGLONG later = (ULONGLONG{time->dwHighDateTime} << 32 | time->dwLowDateTime) + ahead * 10'000'000ULL;
    *time = {static_cast<DWORD>(later), static_cast<DWORD>(later >> 32)};
}

TEST(DataReport, AFailedDecoderIsReportedAgainAfterFiveMinutes) {
    const ImportPatch clock(L"TandorUtil.dll", "GetSystemTimePreciseAsFileTime", &TellLaterTime);
    SentRecords sent;
    for (const auto& [seconds, text] : {std::pair{3600u, "first"}, {3890u, "too early"}, {3901u, "again"}}) {
        ahead = seconds;
        TandorDataReportClass::DecordFailDataReport(text);
    }
    EXPECT_THAT(LinesOf(sent.Take()), ElementsAre("606013000: 1, first", "606013000: 1, again"));
}

TEST(KoEventReporter, TheAttachedLogsHoldThisProcessesLinesAndTheFaultItself) {
    const std::string marker = "gathered-" + std::to_string(::GetTickCount64());
    const Logger channel("KoViewTandor");
    for (int i = 0; i < 3; ++i) {
        std::wstringstream line;
        line << marker.c_str() << L" " << i;
        channel.Log(static_cast<LOG_MESSAGE_LEVEL>(3), line);
    }
    SentRecords sent;
    Tandor::KoEventReporter reporter(660001);
    reporter.KoEventPutString("marker", marker);
    reporter.KoEventReportLog();
    EXPECT_THAT(ReadAll(kFaultLog), HasSubstr(marker + " 2\r\n"));
    reporter.KoEventReport();
    EXPECT_THAT(ReadAll(kFaultLog), HasSubstr("- Fault report:660001 {\"marker\":\"" + marker + "\"} [\"C:"));
    const auto records = sent.Take();
    ASSERT_EQ(records.size(), 1u);
    ASSERT_EQ(records[0].files.size(), 10u);
    EXPECT_EQ(records[0].files[0].size, static_cast<long long>(std::filesystem::file_size(kFaultLog)));
}

// Main leaves while eight threads report: the process ends, and what they were told was recorded is there.
TEST(Telemetry, AProcessThatEndsWhileItsThreadsReportLosesNothing) {
    const TemporaryFolder folder;
    SentRecords sent;
    const auto exits = Amount("TANDOR_OUTBOX_EXITS", 4);
    std::size_t acknowledged = 0;
    for (unsigned long long i = 0; i < exits; ++i) {
        const auto file = folder.path / std::to_wstring(i);
        Child child(std::wstring(L"report-and-exit ") + (i % 2 == 0 ? L"return" : L"ExitProcess") + L" \"" +
                    file.native() + L"\"");
        ASSERT_EQ(child.Wait(), 7) << "process " << i;
        std::set<std::string> stored;
        for (const auto& record : sent.Take()) {
            if (record.event == "606000081") stored.insert(record.values.at(0).text);
        }
        for (const std::string& line : LinesIn(ReadAll(file))) {
            ++acknowledged;
            EXPECT_TRUE(stored.contains(line)) << line;
        }
    }
    EXPECT_GT(acknowledged, 0u);
    RecordProperty("figures", std::to_string(acknowledged) + " acknowledged");
}

TEST(Telemetry, SeveralProcessesReportIntoOneOutbox) {
    SentRecords sent;
    RunChildren({L"commit-reports one 25", L"commit-reports two 25"});
    std::map<std::string, int> commits;
    for (const auto& record : sent.Take()) {
        const auto values = ValuesOf(record);
        ASSERT_EQ(values.size(), 11u);
        EXPECT_NE(values[9], "0");
        ++commits[record.event + " " + values[10]];
    }
    EXPECT_EQ(commits, (std::map<std::string, int>{{"606000079 one", 25}, {"606000079 two", 25}}));
}

}  // namespace
