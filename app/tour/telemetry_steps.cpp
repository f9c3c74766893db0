#include <fmt/format.h>
#include <windows.h>

#include <algorithm>

#include "app/sent_records.h"
#include "app/tour.h"
#include "tandor/data_report.h"
#include "tandor/event_reporter.h"

namespace tandor::app {
namespace {

std::vector<unsigned long long> sent_by_tour;

}  // namespace

void TourTimedPairing(TourReport& report) {
    const SentRecords sent;
    const auto reporter =
        Tandor::ReporterFactory::GetInstance().CreateReporter(TANDOR_REPORT_90_HANDOFF_PAIR_PERFORM_ID, 4);
    reporter->SetTraceID(fmt::format("tour-{}", ::GetCurrentProcessId()));
    for (const int tag : {0, 1, 3}) {  // found, verified, connected; the transfer of settings, 2, did not happen
        reporter->RecordTimeStamp(tag);
        ::Sleep(5);
    }
    reporter->Commit();
    const pelora::OutboxRecord record = sent.Last();
    sent_by_tour.push_back(record.sequence);
    if (record.values.size() != 5 || record.values[2].text != "0") {
        throw CommandError("the committed record", "came out wrong: " + ValuesLine(record), kToldInTheLog);
    }
    report.Result("event", record.event);
    constexpr const char* kSteps[] = {"found at", "verified at", "settings at", "connected at", "trace"};
    for (std::size_t i = 0; i < record.values.size(); ++i) {
        const std::string& value = record.values[i].text;
        report.Result(kSteps[i], value == "0" ? "0 (not recorded)" : value, value);
    }
}

void TourFault(TourReport& report) {
    const SentRecords sent;
    const auto reporter = Tandor::KoEventReporterFactory::GetInstance().CreateKoEventReporter(992614416);
    reporter->KoEventReset();
    reporter->KoEventPutStringOnce("reason", "Zeitüberschreitung");
    reporter->KoEventPutStringOnce("reason", "a later one does not count");
    reporter->KoEventPutInt("mode", 2);
    reporter->KoEventPutTimeStamp("when");
    reporter->KoEventReportLog();
    reporter->KoEventReport();
    const pelora::OutboxRecord record = sent.Last();
    sent_by_tour.push_back(record.sequence);
    const auto there =
        std::count_if(record.files.begin(), record.files.end(), [](const auto& f) { return f.size >= 0; });
    report.Result("event", record.event);
    report.Result("keys", ValuesLine(record), JsonOf(record)["values"]);
    report.Result("files", fmt::format("{} attached, {} of them there", record.files.size(), there),
                  JsonOf(record)["files"]);
    for (const pelora::OutboxFile& file : record.files) {
        if (file.size >= 0) report.Result(TextOf(PathFrom(file.path).filename()), fmt::format("{} bytes", file.size));
    }
}

std::size_t TakeBackRecords() {
    unsigned long long removed = 0;
    if (sent_by_tour.empty()) return 0;
    const std::string trouble = pelora::Outbox::GetInstance().Remove(sent_by_tour, removed);
    if (!trouble.empty()) throw CommandError("the outbox", trouble, "see 'tandorctl doctor'");
    sent_by_tour.clear();
    return removed;
}

}  // namespace tandor::app
