#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <fstream>

#include "app/commands.h"
#include "app/outbox_export.h"
#include "app/outbox_send.h"
#include "app/store_look.h"
#include "base/decimal.h"

namespace tandor::app {
namespace {

using pelora::Outbox, pelora::OutboxRecord;
constexpr std::size_t kPage = 500;  // records read at once
constexpr std::size_t kPageBytes = 4 * 1024 * 1024;

struct Options {
    std::string file, record, output, older_than, flush;
    std::vector<std::string> records;
    std::size_t count = 20;
    bool all = false, otlp = false;
    unsigned long long max_records = 0, max_bytes = 0;
    SendOptions send;
    long timeout = 30, backoff = 1000;
};

void Check(const std::string& trouble) {
    if (!trouble.empty()) {
        throw CommandError("outbox", trouble,
                           "check that its folder can be written and that no program holds the file");
    }
}

// The outbox that --file names, which must be there, or the common one.
class Opened {
public:
    explicit Opened(const Options& options) {
        if (options.file.empty()) return;
        if (!std::filesystem::is_regular_file(PathFrom(options.file))) {
            throw CommandError(options.file, "there is no such file", "leave --file out for the machine's own outbox");
        }
        // The outbox sets what is damaged aside and begins anew: not with a file that was never one.
        const std::string foreign = WhyForeign(PathFrom(options.file), "records");
        if (!foreign.empty()) {
            throw CommandError(options.file, "it is no outbox: " + foreign,
                               "leave --file out for the machine's own outbox");
        }
        own_ = std::make_unique<Outbox>(options.file);
    }
    Outbox& operator*() const { return own_ ? *own_ : Outbox::GetInstance(); }
    Outbox* operator->() const { return &**this; }

private:
    std::unique_ptr<Outbox> own_;
};

OutboxRecord Find(const Opened& outbox, const std::string& name) {
    // By sequence, or by identifier, whose last 16 digits are the sequence.
    const auto decimal = ParseDecimal<unsigned long long>(name);
    unsigned long long sequence = 0;
    if (name.size() == 32) {
        const auto [stop, error] = std::from_chars(name.data() + 16, name.data() + 32, sequence, 16);
        if (error != std::errc{} || stop != name.data() + 32) sequence = 0;
    } else {
        sequence = decimal.value_or(0);
    }
    std::vector<OutboxRecord> records;
    if (sequence > 0) Check(outbox->Read(sequence - 1, 1, 1, records));
    const bool found =
        !records.empty() && records[0].sequence == sequence && (name.size() != 32 || records[0].identifier == name);
    if (!found) {
        throw CommandError("record '" + name + "'", "the outbox has no such record",
                           "'tandorctl outbox list' shows sequences and identifiers");
    }
    return records[0];
}

const char* FlushWord(const pelora::OutboxLimits& limits) { return limits.flush ? "always" : "second"; }

void Status(const Context& context, const Options& options) {
    pelora::OutboxStatus status;
    Check(Opened(options)->Status(status));
    if (context.json) {
        return PrintJson({{"file", status.file},
                          {"records", status.records},
                          {"bytes", status.bytes},
                          {"max_records", status.limits.records},
                          {"max_bytes", status.limits.bytes},
                          {"flush", FlushWord(status.limits)},
                          {"put", status.put},
                          {"displaced", status.displaced},
                          {"removed", status.removed},
                          {"oldest", status.records == 0 ? Json(nullptr) : Json(TimeText(status.oldest))},
                          {"newest", status.records == 0 ? Json(nullptr) : Json(TimeText(status.newest))}});
    }
    PrintTable({{"file", status.file},
                {"records", fmt::format("{} of at most {}", status.records, status.limits.records)},
                {"bytes", fmt::format("{} of at most {}", status.bytes, status.limits.bytes)},
                {"on the disk", status.limits.flush ? "each record before its report returns" : "within a second"},
                {"put ever", std::to_string(status.put)},
                {"dropped for want of room", std::to_string(status.displaced)},
                {"sent or dropped by command", std::to_string(status.removed)},
                {"oldest", status.records == 0 ? "none" : TimeText(status.oldest)},
                {"newest", status.records == 0 ? "none" : TimeText(status.newest)}});
}

std::string Summary(const OutboxRecord& record) {
    std::string text;
    for (const auto& value : record.values) {
        text += (text.empty() ? "" : " ") + value.key + "=" + value.text;
    }
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20; }, ' ');
    return text.size() <= 60 ? text : fmt::format("{} values, {} files", record.values.size(), record.files.size());
}

void List(const Context& context, const Options& options) {
    std::vector<OutboxRecord> records;
    Check(Opened(options)->ReadLast(options.count, records));
    std::vector<std::vector<std::string>> rows{{"SEQUENCE", "TIME", "PROCESS", "KIND", "EVENT", "VALUES"}};
    Json document = Json::array();
    for (const OutboxRecord& record : records) {
        rows.push_back({std::to_string(record.sequence), TimeText(record.time), std::to_string(record.process),
                        KindName(record.kind), record.event, Summary(record)});
        document.push_back(JsonOfRecord(record));
    }
    context.json ? PrintJson({{"records", document}}) : PrintTable(rows);
}

void Show(const Context& context, const Options& options) {
    const OutboxRecord record = Find(Opened(options), options.record);
    if (context.json) return PrintJson(JsonOfRecord(record));
    PrintTable({{"sequence", std::to_string(record.sequence)},
                {"identifier", record.identifier},
                {"time", TimeText(record.time)},
                {"process", std::to_string(record.process)},
                {"kind", KindName(record.kind)},
                {"event", record.event},
                {"extra", record.extra}});
    for (const auto& value : record.values) PrintLine("value " + value.key + " = " + value.text);
    for (const auto& file : record.files) {
        PrintLine(
            "file " + file.path +
            (file.size < 0 ? ", was not there" : fmt::format(", {} bytes, {}", file.size, TimeText(file.modified))));
    }
}

// The moment before which records are old: so many days or hours ago, or the beginning of a day (UTC).
long long MomentFrom(const std::string& text) {
    using namespace std::chrono;
    if (text.size() == 10 && text[4] == '-' && text[7] == '-') {
        const std::string_view digits = text;
        const auto part = [&](std::size_t at, std::size_t size) {
            return ParseDecimal<unsigned>(digits.substr(at, size));
        };
        const auto y = part(0, 4), m = part(5, 2), d = part(8, 2);
        if (y && m && d) {
            const year_month_day date{year(static_cast<int>(*y)), month(*m), day(*d)};
            if (date.ok()) return duration_cast<milliseconds>(sys_days(date).time_since_epoch()).count();
        }
    }
    const char unit = text.empty() ? ' ' : text.back();
    const auto count = ParseDecimal<unsigned>(std::string_view(text).substr(0, text.size() - (text.empty() ? 0 : 1)));
    if (!count || (unit != 'd' && unit != 'h')) {
        throw CLI::ValidationError("--older-than",
                                   "'" + text + "' is neither a number of days or hours, as 7d or 12h, nor a date");
    }
    const auto age = hours(std::int64_t{*count} * (unit == 'd' ? 24 : 1));
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch() - age).count();
}

void Drop(const Context& context, const Options& options) {
    const int ways = (options.all ? 1 : 0) + (options.records.empty() ? 0 : 1) + (options.older_than.empty() ? 0 : 1);
    if (ways != 1) {
        throw CLI::RequiredError(ways > 1 ? "either records, --older-than or --all, not more of them,"
                                          : "a RECORD, --older-than or --all");
    }
    const Opened outbox(options);
    unsigned long long removed = 0;
    if (options.all) {
        Check(outbox->RemoveThrough(~0ULL, removed));
    } else if (!options.older_than.empty()) {
        Check(outbox->RemoveBefore(MomentFrom(options.older_than), removed));
    } else {
        std::vector<unsigned long long> sequences;
        for (const std::string& name : options.records) sequences.push_back(Find(outbox, name).sequence);
        Check(outbox->Remove(sequences, removed));
    }
    context.json ? PrintJson({{"dropped", removed}}) : PrintLine(fmt::format("{} records dropped", removed));
}

void Export(const Options& options) {
    const Opened outbox(options);
    std::ofstream file;
    if (!options.output.empty()) {
        file.open(PathFrom(options.output), std::ios::binary | std::ios::trunc);
        if (!file)
            throw CommandError(options.output, "cannot be written", "name a file in a folder that you may write to");
    }
    Check(outbox->TellDrops());
    std::vector<OutboxRecord> records;
    std::string text;
    for (unsigned long long after = 0;; after = records.back().sequence) {
        Check(outbox->Read(after, kPage, kPageBytes, records));
        if (records.empty()) break;
        text.clear();
        if (options.otlp) {
            AppendOtlp(records, text);
            text += '\n';
        } else {
            for (const OutboxRecord& record : records) {
                AppendJson(record, text);
                text += '\n';
            }
        }
        options.output.empty() ? Print(text) : void(file << text);
    }
    file.flush();
    if (!options.output.empty() && !file)
        throw CommandError(options.output, "writing failed", "free some space on the disk");
}

void Limit(Context& context, const Options& options) {
    if (options.max_records == 0 && options.max_bytes == 0 && options.flush.empty())
        throw CLI::RequiredError("--records, --bytes or --flush");
    const Opened outbox(options);
    pelora::OutboxStatus status;
    Check(outbox->Status(status));
    if (options.max_records > 0) status.limits.records = options.max_records;
    if (options.max_bytes > 0) status.limits.bytes = options.max_bytes;
    if (!options.flush.empty()) status.limits.flush = options.flush == "always";
    Check(outbox->SetLimits(status.limits));
    Status(context, options);
}

void Send(Context& context, Options& options) {
    options.send.http.timeout = std::chrono::seconds(options.timeout);
    options.send.backoff = std::chrono::milliseconds(options.backoff);
    const Opened outbox(options);
    Progress progress("sending");
    const SendResult result =
        SendOutbox(*outbox, options.send, [&](auto done, auto total) { progress.Show(done, total); });
    if (!result.gave_up.empty() || result.refused > 0) context.exit_code = 1;
    if (context.json) {
        return PrintJson({{"sent", result.sent},
                          {"refused", result.refused},
                          {"refusal", result.refusal},
                          {"warning", result.warning},
                          {"gave_up", result.gave_up}});
    }
    PrintLine(fmt::format("{} records sent", result.sent));
    if (!result.warning.empty()) PrintLine("the collector took them with a warning: " + result.warning);
    if (result.refused > 0) {
        PrintLine(
            fmt::format("{} records refused ({}); they stay; --batch 1 finds the one at fault, 'outbox drop' "
                        "takes it out",
                        result.refused, result.refusal));
    }
    if (!result.gave_up.empty()) {
        PrintLine(fmt::format("gave up: {}; the rest stays; check the address and send again", result.gave_up));
    }
}

void AddDrop(CLI::App& outbox, const std::shared_ptr<Options>& options, Context& context) {
    CLI::App* const drop = outbox.add_subcommand("drop", "Take records out for good");
    drop->add_option("RECORD", options->records, "Sequences or identifiers");
    drop->add_option("--older-than", options->older_than,
                     "Records of more days or hours ago, or of before a date (UTC)")
        ->type_name("7d|12h|YYYY-MM-DD");
    drop->add_flag("--all", options->all, "Every record");
    drop->footer("Example:\n  tandorctl outbox drop 7 8\n  tandorctl outbox drop --older-than 30d");
    drop->callback([options, &context] { Drop(context, *options); });
}

void AddExport(CLI::App& outbox, const std::shared_ptr<Options>& options) {
    CLI::App* const take = outbox.add_subcommand("export", "Write all records out; they stay in the outbox");
    take->add_flag("--otlp", options->otlp, "OTLP/JSON requests, a line each, instead of a record a line");
    take->add_option("-o,--output", options->output, "A file instead of standard output")->type_name("FILE");
    take->footer("Example:\n  tandorctl outbox export --otlp --output records.json");
    take->callback([options] { Export(*options); });
}

void AddLimit(CLI::App& outbox, const std::shared_ptr<Options>& options, Context& context) {
    CLI::App* const limit = outbox.add_subcommand("limit", "Set how much it holds, and when records reach the disk");
    limit->add_option("--records", options->max_records, "Records, at least 1 (default 100,000)")->check(AtLeast(1));
    limit->add_option("--bytes", options->max_bytes, "Bytes of the file, at least 65,536 (default 64 MiB)")
        ->check(AtLeast(65'536));
    limit->add_option("--flush", options->flush, "always: before each report returns; second: after a second (default)")
        ->check(OneOf({"always", "second"}));
    limit->footer("Example:\n  tandorctl outbox limit --records 50000");
    limit->callback([options, &context] { Limit(context, *options); });
}

void AddSend(CLI::App& outbox, const std::shared_ptr<Options>& options, Context& context) {
    CLI::App* const send = outbox.add_subcommand("send", "Send the records to an OTLP/HTTP collector");
    send->add_option("URL", options->send.http.url, "Address, as https://collector.example:4318/v1/logs")
        ->required()
        ->check(WebAddress());
    send->add_option("--header", options->send.http.headers, "A header of each request, any number of times")
        ->type_name("\"NAME: VALUE\"");
    send->add_option("--ca", options->send.http.certificates, "Trusted certificates (PEM) instead of the system's")
        ->type_name("FILE")
        ->check(FileThatIsThere());
    send->add_option("--batch", options->send.batch, "Records in one request, at most (default 100)")
        ->check(CLI::Range(1, 10'000));
    send->add_option("--attempts", options->send.attempts, "Attempts for one batch (default 8)")
        ->check(CLI::Range(1, 1000));
    send->add_option("--timeout", options->timeout, "Seconds for one request (default 30)")->check(CLI::Range(1, 3600));
    send->add_option("--backoff", options->backoff,
                     "Milliseconds before the second attempt, doubled up to 30 s (default 1000)")
        ->check(CLI::Range(1, 30'000));
    send->footer(
        "A record leaves the outbox after the collector acknowledged it. Exit code 1 when some stay.\n"
        "Example:\n  tandorctl outbox send http://localhost:4318/v1/logs --header \"X-Key: 7\"");
    send->callback([options, &context] { Send(context, *options); });
}

}  // namespace

void AddOutboxCommands(CLI::App& app, Context& context) {
    CLI::App* const outbox =
        app.add_subcommand("outbox", "Recorded statistics and faults: looking, exporting, sending");
    outbox->require_subcommand(1);
    outbox->footer(
        "Example:\n  tandorctl outbox list --count 5\n  tandorctl outbox send http://localhost:4318/v1/logs");
    const auto options = std::make_shared<Options>();
    outbox->add_option("--file", options->file, "Another outbox file than the machine's own")->type_name("FILE");
    outbox->fallthrough();

    CLI::App* const status = outbox->add_subcommand("status", "How much is in it, and how much was dropped");
    status->footer("Example:\n  tandorctl outbox status --json");
    status->callback([options, &context] { Status(context, *options); });
    CLI::App* const list = outbox->add_subcommand("list", "List the last records");
    list->add_option("-n,--count", options->count, "How many (default 20)")->check(AtLeast(0));
    list->footer("Example:\n  tandorctl outbox list --count 5");
    list->callback([options, &context] { List(context, *options); });

    CLI::App* const show = outbox->add_subcommand("show", "Show one record in full");
    show->add_option("RECORD", options->record, "Its sequence or identifier")->required();
    show->footer("Example:\n  tandorctl outbox show 7");
    show->callback([options, &context] { Show(context, *options); });

    AddDrop(*outbox, options, context);
    AddExport(*outbox, options);
    AddLimit(*outbox, options, context);
    AddSend(*outbox, options, context);
}

}  // namespace tandor::app
