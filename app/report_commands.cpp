#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <memory>

#include "app/commands.h"
#include "app/sent_records.h"
#include "base/decimal.h"
#include "tandor/data_report.h"
#include "tandor/event_reporter.h"
#include "telemetry/report_table.h"

namespace tandor::app {
namespace {

void List(const Context& context) {
    std::vector<std::vector<std::string>> rows{{"NUMBER", "EVENT", "FUNCTION"}};
    Json document = Json::array();
    for (const ReportFunction& function : kReportFunctions) {
        const std::string event = std::to_string(606000000LL + function.type);
        rows.push_back({std::to_string(function.type), event, std::string(function.name)});
        document.push_back(
            {{"number", static_cast<int>(function.type)}, {"event", event}, {"function", function.name}});
    }
    context.json ? PrintJson(document) : PrintTable(rows);
}

// The number that an argument means: a number, or the name of a report function.
int NumberFrom(const std::string& argument) {
    if (const auto number = ParseDecimal<int>(argument)) return *number;
    const auto* const named = std::find_if(std::begin(kReportFunctions), std::end(kReportFunctions),
                                           [&](const ReportFunction& function) { return function.name == argument; });
    if (named == std::end(kReportFunctions)) {
        throw CommandError("'" + argument + "'", "it is neither a 32-bit number nor a report function",
                           "see 'tandorctl report list'");
    }
    return named->type;
}

void Show(const Context& context, const pelora::OutboxRecord& record) {
    if (context.json) return PrintJson(JsonOf(record));
    PrintLine(fmt::format("event {}, record {} ({}): {}", record.event, record.sequence, record.identifier,
                          ValuesLine(record)));
    for (const pelora::OutboxFile& file : record.files) {
        PrintLine(fmt::format("  {:>12}  {}", file.size < 0 ? "not there" : std::to_string(file.size), file.path));
    }
}

void Send(const Context& context, const std::string& type, const std::vector<std::string>& values) {
    const int number = NumberFrom(type);
    const SentRecords sent;
    (void)TandorDataReportClass::GetInstance()->Report(static_cast<TandorReportTypeEnum>(number), values);
    Show(context, sent.Last());  // its failure says more than the call's false
}

struct Steps {
    std::string type;
    int tags = 0;
    std::vector<int> recorded;
    std::string trace;
    bool has_trace = false;
};

void Timed(const Context& context, const Steps& steps) {
    const int number = NumberFrom(steps.type);
    for (const int step : steps.recorded) {
        if (step >= 0 && step < steps.tags) continue;
        throw CLI::ValidationError("--record",
                                   fmt::format("there is no step {} among {}, numbered from 0", step, steps.tags));
    }
    if (steps.recorded.empty() && steps.tags > 0) {
        throw CommandError("the steps", "none of them is recorded, so there is nothing to commit",
                           "name the recorded ones with --record");
    }
    const SentRecords sent;
    const auto reporter = Tandor::ReporterFactory::GetInstance().CreateReporter(number, steps.tags);
    for (const int tag : steps.recorded) reporter->RecordTimeStamp(tag);
    if (steps.has_trace) reporter->SetTraceID(steps.trace);
    reporter->Commit();
    Show(context, sent.Last());
}

struct Fault {
    int event = 0;
    std::vector<std::string> texts, numbers, times, files;
    bool logs = false;
};

std::pair<std::string, std::string> KeyAndValue(const std::string& argument) {
    const std::size_t sign = argument.find('=');
    if (sign == std::string::npos || sign == 0) {
        throw CommandError("'" + argument + "'", "it is not KEY=VALUE", "write for example reason=timeout");
    }
    return {argument.substr(0, sign), argument.substr(sign + 1)};
}

void ReportFault(const Context& context, const Fault& fault) {
    if (fault.texts.empty() && fault.numbers.empty() && fault.times.empty()) {
        throw CommandError("the fault", "it has no key, so there is nothing to report",
                           "give it one with --text, --number or --time");
    }
    const SentRecords sent;
    const auto reporter = Tandor::KoEventReporterFactory::GetInstance().CreateKoEventReporter(fault.event);
    for (const std::string& argument : fault.texts) {
        const auto [key, value] = KeyAndValue(argument);
        reporter->KoEventPutString(key, value);
    }
    for (const std::string& argument : fault.numbers) {
        const auto [key, value] = KeyAndValue(argument);
        const auto number = ParseDecimal<long long>(value);
        if (!number) throw CommandError("'" + argument + "'", "the value is not a 64-bit number", "use --text for it");
        reporter->KoEventPutLong(key, *number);
    }
    for (const std::string& key : fault.times) reporter->KoEventPutTimeStamp(key);
    for (const std::string& file : fault.files) reporter->KoEventAddFilePath(file);
    if (fault.logs) reporter->KoEventReportLog();
    reporter->KoEventReport();
    Show(context, sent.Last());
}

// Commits until nothing more fits: what is pending ends with the process.
void Assistant(const Context& context, int report, const std::vector<std::string>& values) {
    auto& assistant = Tandor::DataProcessReport::GetInstance();
    for (const std::string& value : values) assistant.AddPendingValue(report, value);
    std::size_t messages = 0;
    std::size_t pending = values.size();
    for (std::size_t before = 0; messages == 0 || (pending > 0 && pending < before); ++messages) {
        before = pending;
        assistant.Commit(report);
        pending = assistant.GetPendingValues(report).size();
    }
    if (pending > 0) {
        throw CommandError(fmt::format("{} of {} values", pending, values.size()), "too long for a message",
                           "keep each below 1,021 bytes");
    }
    if (context.json) return PrintJson({{"report", report}, {"values", values.size()}, {"messages", messages}});
    PrintLine(
        fmt::format("{} values posted in {} message(s) to \\\\.\\Pipe\\iPaviloAssistant; without a server there "
                    "they are dropped",
                    values.size(), messages));
}

}  // namespace

void AddReportCommands(CLI::App& app, Context& context) {
    CLI::App* const report = app.add_subcommand("report", "Report business statistics and faults");
    report->require_subcommand(1);
    report->footer(
        "Records go into the outbox; see 'tandorctl outbox'. Examples:\n"
        "  tandorctl report send ReportTandorReport80MyalbumPhotoCountId 120\n"
        "  tandorctl report timed 9101 --tags 4 --record 0 1 3 --trace pairing-7\n"
        "  tandorctl report fault 992614416 --text reason=timeout --number mode=2 --logs");

    CLI::App* const list = report->add_subcommand("list", "List the report functions with their numbers");
    list->footer("Example:\n  tandorctl report list --json");
    list->callback([&] { List(context); });

    struct Options {
        std::string type;
        std::vector<std::string> values;
        int report = 0;
        Steps steps;
        Fault fault;
    };
    const auto options = std::make_shared<Options>();

    CLI::App* const send = report->add_subcommand("send", "Send one statistic with its values");
    send->add_option("TYPE", options->type, "Its number, or the name of its report function")->required();
    send->add_option("VALUE", options->values, "The values in their order");
    send->footer("Example:\n  tandorctl report send ReportTandorReport80MyalbumPhotoCountId 120");
    send->callback([options, &context] { Send(context, options->type, options->values); });

    CLI::App* const timed = report->add_subcommand("timed", "Put time stamps under numbered steps and commit them");
    timed->add_option("TYPE", options->steps.type, "Its number, or the name of its report function")->required();
    timed->add_option("--tags", options->steps.tags, "How many steps the record has, numbered from 0")
        ->required()
        ->check(CLI::Range(0, 10'000));
    timed->add_option("--record", options->steps.recorded, "The steps to record; a missing one is sent as 0");
    CLI::Option* const trace = timed->add_option("--trace", options->steps.trace, "Trace identifier behind the steps");
    timed->footer("Example:\n  tandorctl report timed 9101 --tags 4 --record 0 1 3 --trace pairing-7");
    timed->callback([options, trace, &context] {
        options->steps.has_trace = trace->count() > 0;
        Timed(context, options->steps);
    });

    CLI::App* const fault = report->add_subcommand("fault", "Report a fault with named keys and files");
    fault->add_option("EVENT", options->fault.event, "Identifier of the fault event")->required();
    fault->add_option("--text", options->fault.texts, "A key with text, any number of times")->type_name("KEY=VALUE");
    fault->add_option("--number", options->fault.numbers, "A key with a whole number, any number of times")
        ->type_name("KEY=NUMBER");
    fault->add_option("--time", options->fault.times, "A key with the present time in milliseconds")->type_name("KEY");
    fault->add_option("--file", options->fault.files, "A file that belongs to the fault, any number of times")
        ->type_name("FILE");
    fault->add_flag("--logs", options->fault.logs, "Attach the feature's ten diagnostic log files");
    fault->footer("Example:\n  tandorctl report fault 992614416 --text reason=timeout --number mode=2 --logs");
    fault->callback([options, &context] { ReportFault(context, options->fault); });

    CLI::App* const assistant = report->add_subcommand("assistant", "Post values to the assistant service");
    assistant->add_option("REPORT", options->report, "Identifier of the report")->required();
    assistant->add_option("VALUE", options->values, "The values in their order");
    assistant->footer("Example:\n  tandorctl report assistant 9101 paired 3");
    assistant->callback([options, &context] { Assistant(context, options->report, options->values); });
}

}  // namespace tandor::app
