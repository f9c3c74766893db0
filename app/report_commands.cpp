#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <memory>

#include "app/commands.h"
#include "app/report_call.h"
#include "app/report_marks.h"
#include "app/sent_records.h"
#include "base/decimal.h"
#include "tandor/data_report.h"
#include "tandor/event_reporter.h"

namespace tandor::app {
namespace {

void List(const Context& context) {
    std::vector<std::vector<std::string>> rows{{"NUMBER", "FUNCTION", "ARGUMENTS"}};
    Json document = Json::array();
    for (const ReportFunction& function : ReportFunctions()) {
        const std::string event = std::to_string((function.keyed ? 0 : 606000000LL) + function.number);
        const std::string arguments = ArgumentsOf(function);
        rows.push_back({std::to_string(function.number), std::string(function.name), arguments});
        document.push_back({{"number", function.number},
                            {"event", event},
                            {"function", function.name},
                            {"arguments", arguments},
                            {"keyed", function.keyed}});
    }
    context.json ? PrintJson({{"reports", document}}) : PrintTable(rows);
}

// The number that an argument means: a number, or the name of a statistic's report function.
int NumberFrom(const std::string& argument) {
    if (const auto number = ParseDecimal<int>(argument)) return *number;
    const ReportFunction* const named = FindReport(argument);
    if (named == nullptr || named->keyed) {
        throw CommandError("'" + argument + "'", "it is neither a 32-bit number nor the report function of one",
                           "see 'tandorctl report list'");
    }
    return named->number;
}

void Show(const Context& context, const pelora::OutboxRecord& record) {
    if (context.json) return PrintJson(JsonOf(record));
    PrintLine(fmt::format("event {}, record {} ({}): {}", record.event, record.sequence, record.identifier,
                          ValuesLine(record)));
    for (const pelora::OutboxFile& file : record.files) {
        PrintLine(fmt::format("  {:>12}  {}", file.size < 0 ? "not there" : std::to_string(file.size), file.path));
    }
}

void Send(const Context& context, int number, const std::vector<std::string>& values) {
    const SentRecords sent;
    (void)TandorDataReportClass::GetInstance()->Report(static_cast<TandorReportTypeEnum>(number), values);
    Show(context, sent.Last());  // its failure says more than the call's false
}

void Named(const Context& context, const std::string& name, const std::vector<std::string>& arguments) {
    const ReportFunction* const function = FindReport(name);
    if (function == nullptr) {
        throw CLI::ValidationError("'" + name + "'",
                                   "there is no such report function; 'tandorctl report list' shows them");
    }
    const SentRecords sent;
    CallReport(*function, arguments);
    Show(context, sent.Last());
}

void EndAndSend(const Context& context, int number) {
    const double seconds = EndTime(number);
    const SentRecords sent;
    (void)TandorDataReportClass::GetInstance()->Report(static_cast<TandorReportTypeEnum>(number), seconds);
    Show(context, sent.Last());
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
    std::vector<std::string> keys, times, files;
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
    if (fault.keys.empty() && fault.times.empty()) {
        throw CommandError("the fault", "it has no key, so there is nothing to report",
                           "give it one with --key or --time");
    }
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const std::string& argument : fault.keys) pairs.push_back(KeyAndValue(argument));
    const SentRecords sent;
    const auto reporter = Tandor::KoEventReporterFactory::GetInstance().CreateKoEventReporter(fault.event);
    for (const auto& [key, value] : pairs) {
        const auto number = ParseDecimal<long long>(value);
        number ? reporter->KoEventPutLong(key, *number) : reporter->KoEventPutString(key, value);
    }
    for (const std::string& key : fault.times) reporter->KoEventPutTimeStamp(key);
    for (const std::string& file : fault.files) reporter->KoEventAddFilePath(file);
    if (fault.logs) reporter->KoEventReportLog();
    reporter->KoEventReport();
    Show(context, sent.Last());
}

// As many values in each message as it has room for.
void Assistant(const Context& context, int report, const std::vector<std::string>& values) {
    constexpr std::size_t kMessage = 1024, kLengthField = 4;  // bytes
    const auto too_long = [](const std::string& value) { return kLengthField + value.size() > kMessage; };
    if (const auto value = std::find_if(values.begin(), values.end(), too_long); value != values.end()) {
        throw CommandError(fmt::format("value {}", value - values.begin() + 1),
                           fmt::format("its {} bytes are too long for a message", value->size()),
                           "keep each below 1,021 bytes");
    }
    auto& assistant = Tandor::DataProcessReport::GetInstance();
    std::size_t messages = 1, size = 0;
    for (const std::string& value : values) {
        size += kLengthField + value.size();
        if (size > kMessage) {
            assistant.Commit(report);
            ++messages;
            size = kLengthField + value.size();
        }
        assistant.AddPendingValue(report, value);
    }
    assistant.Commit(report);
    if (context.json) return PrintJson({{"report", report}, {"values", values.size()}, {"messages", messages}});
    PrintLine(
        fmt::format("{} values posted in {} message(s) to \\\\.\\Pipe\\iPaviloAssistant; without a server there "
                    "they are dropped",
                    values.size(), messages));
}

struct Options {
    std::string type, name;
    int number = 0;
    std::vector<std::string> values, arguments;
    Steps steps;
    Fault fault;
};

// A report function stands where a verb could.
void AddNames(CLI::App* report, const std::shared_ptr<Options>& options, Context& context) {
    report->add_option("NAME", options->name, "A report function, see 'list'");
    report->add_option("ARG", options->arguments, "Its arguments in their order");
    // Before the verb does its work.
    report->parse_complete_callback([report, options] {
        if (!report->get_subcommands().empty() && !options->name.empty())
            throw CLI::ValidationError("'" + options->name + "'", "that is one argument too many");
    });
    report->callback([report, options, &context] {
        if (!report->get_subcommands().empty()) return;
        if (options->name.empty()) throw CLI::RequiredError::Subcommand(1);
        Named(context, options->name, options->arguments);
    });
}

void AddSend(CLI::App* report, const std::shared_ptr<Options>& options, Context& context) {
    CLI::App* const send = report->add_subcommand("send", "Send a statistic by its number, with any values");
    send->add_option("NUMBER", options->number, "Its number")->required();
    send->add_option("VALUE", options->values, "The values in their order");
    send->footer("Example:\n  tandorctl report send 8007 120");
    send->callback([options, &context] { Send(context, options->number, options->values); });
}

void AddTimed(CLI::App* report, const std::shared_ptr<Options>& options, Context& context) {
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
}

void AddTime(CLI::App* report, const std::shared_ptr<Options>& options, Context& context) {
    CLI::App* const time = report->add_subcommand("time", "Send the seconds between two calls");
    time->require_subcommand(1);
    time->footer("Example:\n  tandorctl report time begin 9101\n  tandorctl report time end 9101");
    CLI::App* const begin = time->add_subcommand("begin", "Keep the present moment, in place of an earlier one");
    CLI::App* const end = time->add_subcommand("end", "Send the seconds since then, once");
    for (CLI::App* const verb : {begin, end}) {
        verb->add_option("TYPE", options->type, "Its number, or the name of its report function")->required();
        verb->footer("Example:\n  tandorctl report time " + verb->get_name() + " 9101");
    }
    begin->callback([options] { BeginTime(NumberFrom(options->type)); });
    end->callback([options, &context] { EndAndSend(context, NumberFrom(options->type)); });
}

void AddFault(CLI::App* report, const std::shared_ptr<Options>& options, Context& context) {
    CLI::App* const fault = report->add_subcommand("fault", "Report a fault with named keys and files");
    fault->add_option("ID", options->fault.event, "Identifier of the fault event")->required();
    fault
        ->add_option("--key", options->fault.keys,
                     "A key with its value, any number of times; a whole number is sent as one")
        ->type_name("KEY=VALUE");
    fault->add_option("--time", options->fault.times, "A key with the present time in milliseconds")->type_name("KEY");
    fault->add_option("--file", options->fault.files, "A file that belongs to the fault, any number of times")
        ->type_name("FILE");
    fault->add_flag("--logs", options->fault.logs, "Attach the feature's ten diagnostic log files");
    fault->footer("Example:\n  tandorctl report fault 992614416 --key reason=timeout --key mode=2 --logs");
    fault->callback([options, &context] { ReportFault(context, options->fault); });
}

}  // namespace

void AddReportCommands(CLI::App& app, Context& context) {
    CLI::App* const report = app.add_subcommand("report", "Report business statistics and faults");
    report->footer(
        "Records go into the outbox; see 'tandorctl outbox'. Where an argument begins with -, put -- before NAME.\n"
        "Examples:\n"
        "  tandorctl report ReportTandorReport80MyalbumPhotoCountId 120\n"
        "  tandorctl report timed 9101 --tags 4 --record 0 1 3 --trace pairing-7\n"
        "  tandorctl report fault 992614416 --key reason=timeout --key mode=2 --logs");
    const auto options = std::make_shared<Options>();
    AddNames(report, options, context);

    CLI::App* const list = report->add_subcommand("list", "List the report functions with numbers and arguments");
    list->footer("Example:\n  tandorctl report list --json");
    list->callback([&] { List(context); });

    AddSend(report, options, context);
    AddTimed(report, options, context);
    AddTime(report, options, context);
    AddFault(report, options, context);

    CLI::App* const assistant = report->add_subcommand("assistant", "Post values to the assistant service");
    assistant->add_option("REPORT", options->number, "Identifier of the report")->required();
    assistant->add_option("VALUE", options->values, "The values in their order");
    assistant->footer("Example:\n  tandorctl report assistant 9101 paired 3");
    assistant->callback([options, &context] { Assistant(context, options->number, options->values); });
}

}  // namespace tandor::app
