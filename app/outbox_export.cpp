#include "app/outbox_export.h"

#include <fmt/format.h>

#include <charconv>
#include <chrono>

#include "base/decimal.h"
#include "base/utf_codec.h"

namespace tandor::app {
namespace {

using pelora::OutboxKind, pelora::OutboxRecord, pelora::OutboxValue;

// How a kind of record is called, and how serious it is in the protocol's numbers.
struct Form {
    const char* name;
    int severity;
    const char* severity_text;
};

const Form& FormOf(OutboxKind kind) {
    static constexpr Form kBusiness{"business", 9, "INFO"}, kFault{"fault", 17, "ERROR"},
        kDropped{"dropped", 13, "WARN"};
    return kind == OutboxKind::kFault ? kFault : kind == OutboxKind::kDropped ? kDropped : kBusiness;
}

bool IsPlain(unsigned char byte) { return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\'; }

// In quotation marks. Runs of what needs no change are copied as a whole.
void AppendString(std::string_view text, std::string& out) {
    const auto* in = reinterpret_cast<const unsigned char*>(text.data());
    const unsigned char* const end = in + text.size();
    out += '"';
    while (in != end) {
        const unsigned char* const run = in;
        while (in != end && IsPlain(*in)) ++in;
        out.append(reinterpret_cast<const char*>(run), static_cast<std::size_t>(in - run));
        if (in == end) break;
        if (*in >= 0x80) {
            const int length = utf::ReadSequence(in, end - in).length;
            if (length == 0) {
                out += "\xEF\xBF\xBD";
            } else {
                out.append(reinterpret_cast<const char*>(in), static_cast<std::size_t>(length));
            }
            in += length == 0 ? 1 : length;
        } else if (*in < 0x20) {
            fmt::format_to(std::back_inserter(out), "\\u{:04x}", *in++);
        } else {
            out += '\\';
            out += static_cast<char>(*in++);
        }
    }
    out += '"';
}

template <class Number>
void AppendNumber(Number number, std::string& out) {
    char text[24];
    out.append(text, std::to_chars(text, text + sizeof(text), number).ptr);
}

// The protocol's JSON writes 64-bit integers as strings.
void AppendAttribute(std::string_view key, const char* type, std::string_view value, std::string& out) {
    out += out.back() == '[' ? R"({"key":)" : R"(,{"key":)";
    AppendString(key, out);
    out += R"(,"value":{")";
    out += type;
    out += R"(":)";
    AppendString(value, out);
    out += "}}";
}

void AppendFiles(const std::vector<pelora::OutboxFile>& files, std::string& out) {
    out += R"(,{"key":"pelora.files","value":{"arrayValue":{"values":[)";
    for (const auto& file : files) {
        out += &file == files.data() ? R"({"stringValue":)" : R"(,{"stringValue":)";
        AppendString(file.path, out);
        out += '}';
    }
    out += "]}}}";
}

void AppendAttributes(const OutboxRecord& record, std::string& out) {
    out += '[';
    AppendAttribute("log.record.uid", "stringValue", record.identifier, out);
    AppendAttribute("event.name", "stringValue", record.event, out);
    AppendAttribute("pelora.kind", "stringValue", KindName(record.kind), out);
    AppendAttribute("pelora.sequence", "intValue", std::to_string(record.sequence), out);
    AppendAttribute("process.pid", "intValue", std::to_string(record.process), out);
    if (!record.extra.empty()) AppendAttribute("pelora.extra", "stringValue", record.extra, out);
    for (const OutboxValue& value : record.values)
        AppendAttribute("value." + value.key, value.number ? "intValue" : "stringValue", value.text, out);
    if (!record.files.empty()) AppendFiles(record.files, out);
    out += ']';
}

void AppendLogRecord(const OutboxRecord& record, std::string& out) {
    const Form& form = FormOf(record.kind);
    // 0 stands for "not known": the field has no sign, and a clock may have been set to before its epoch.
    const std::string nanoseconds = record.time <= 0 ? "0" : std::to_string(record.time) + "000000";
    fmt::format_to(std::back_inserter(out),
                   R"({{"timeUnixNano":"{0}","observedTimeUnixNano":"{0}","severityNumber":{1},"severityText":"{2}",)"
                   R"("body":{{"stringValue":)",
                   nanoseconds, form.severity, form.severity_text);
    AppendString(std::string(form.name) + " " + record.event, out);
    out += R"(},"attributes":)";
    AppendAttributes(record, out);
    out += '}';
}

void AppendValues(const std::vector<OutboxValue>& values, std::string& out) {
    for (const OutboxValue& value : values) {
        out += &value == values.data() ? R"({"key":)" : R"(,{"key":)";
        AppendString(value.key, out);
        out += R"(,"value":)";
        const bool number = value.number && ParseDecimal<long long>(value.text);
        number ? void(out += value.text) : AppendString(value.text, out);
        out += '}';
    }
}

void AppendFilesWithTimes(const std::vector<pelora::OutboxFile>& files, std::string& out) {
    for (const auto& file : files) {
        out += &file == files.data() ? R"({"path":)" : R"(,{"path":)";
        AppendString(file.path, out);
        if (file.size < 0) {
            out += R"(,"size":null,"modified":null})";
            continue;
        }
        out += R"(,"size":)";
        AppendNumber(file.size, out);
        out += R"(,"modified":)";
        AppendString(TimeText(file.modified), out);
        out += '}';
    }
}

}  // namespace

const char* KindName(OutboxKind kind) { return FormOf(kind).name; }

std::string TimeText(long long milliseconds) {
    using namespace std::chrono;
    const sys_time<std::chrono::milliseconds> time{std::chrono::milliseconds(milliseconds)};
    const auto day = floor<days>(time);
    const year_month_day date{day};
    const hh_mm_ss clock{time - day};
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", int(date.year()), unsigned(date.month()),
                       unsigned(date.day()), clock.hours().count(), clock.minutes().count(), clock.seconds().count(),
                       clock.subseconds().count());
}

void AppendJson(const OutboxRecord& record, std::string& out) {
    out += R"({"sequence":)";
    AppendNumber(record.sequence, out);
    out += R"(,"identifier":)";
    AppendString(record.identifier, out);
    out += R"(,"time":)";
    AppendString(TimeText(record.time), out);
    out += R"(,"process":)";
    AppendNumber(record.process, out);
    out += R"(,"kind":)";
    AppendString(KindName(record.kind), out);
    out += R"(,"event":)";
    AppendString(record.event, out);
    out += R"(,"extra":)";
    AppendString(record.extra, out);
    out += R"(,"values":[)";
    AppendValues(record.values, out);
    out += R"(],"files":[)";
    AppendFilesWithTimes(record.files, out);
    out += "]}";
}

Json JsonOfRecord(const OutboxRecord& record) {
    std::string text;
    AppendJson(record, text);
    return Json::parse(text);
}

void AppendOtlp(std::span<const OutboxRecord> records, std::string& out) {
    out += R"({"resourceLogs":[{"resource":{"attributes":[)";
    AppendAttribute("service.name", "stringValue", "tandor", out);
    AppendAttribute("service.version", "stringValue", TANDOR_VERSION, out);
    out += R"(]},"scopeLogs":[{"scope":{"name":"pelora.outbox"},"logRecords":[)";
    for (const OutboxRecord& record : records) {
        if (&record != records.data()) out += ',';
        AppendLogRecord(record, out);
    }
    out += "]}]}]}";
}

}  // namespace tandor::app
