#include "app/outbox_export.h"

#include <fmt/format.h>

#include <chrono>

#include "base/decimal.h"

namespace tandor::app {
namespace {

using pelora::OutboxKind, pelora::OutboxRecord, pelora::OutboxValue;

Json StringAttribute(const std::string& key, const std::string& value) {
    return {{"key", key}, {"value", {{"stringValue", value}}}};
}

// OTLP/JSON writes 64-bit integers as strings.
Json IntegerAttribute(const std::string& key, const std::string& decimal) {
    return {{"key", key}, {"value", {{"intValue", decimal}}}};
}

Json Attributes(const OutboxRecord& record) {
    Json attributes =
        Json::array({StringAttribute("log.record.uid", record.identifier), StringAttribute("event.name", record.event),
                     StringAttribute("pelora.kind", KindName(record.kind)),
                     IntegerAttribute("pelora.sequence", std::to_string(record.sequence)),
                     IntegerAttribute("process.pid", std::to_string(record.process))});
    if (!record.extra.empty()) attributes.push_back(StringAttribute("pelora.extra", record.extra));
    for (const OutboxValue& value : record.values) {
        const std::string key = "value." + value.key;
        attributes.push_back(value.number ? IntegerAttribute(key, value.text) : StringAttribute(key, value.text));
    }
    if (record.files.empty()) return attributes;
    Json paths = Json::array();
    for (const auto& file : record.files) paths.push_back({{"stringValue", file.path}});
    attributes.push_back({{"key", "pelora.files"}, {"value", {{"arrayValue", {{"values", paths}}}}}});
    return attributes;
}

Json LogRecord(const OutboxRecord& record) {
    const bool fault = record.kind == OutboxKind::kFault;
    const std::string nanoseconds = std::to_string(record.time) + "000000";
    return {{"timeUnixNano", nanoseconds},
            {"observedTimeUnixNano", nanoseconds},
            {"severityNumber", fault ? 17 : 9},
            {"severityText", fault ? "ERROR" : "INFO"},
            {"body", {{"stringValue", std::string(KindName(record.kind)) + " " + record.event}}},
            {"attributes", Attributes(record)}};
}

}  // namespace

const char* KindName(OutboxKind kind) { return kind == OutboxKind::kFault ? "fault" : "business"; }

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

Json JsonOfRecord(const OutboxRecord& record) {
    Json values = Json::array(), files = Json::array();
    for (const OutboxValue& value : record.values) {
        const auto number = value.number ? ParseDecimal<long long>(value.text) : std::nullopt;
        values.push_back({{"key", value.key}, {"value", number ? Json(*number) : Json(value.text)}});
    }
    for (const auto& file : record.files) {
        const bool there = file.size >= 0;
        files.push_back({{"path", file.path},
                         {"size", there ? Json(file.size) : Json(nullptr)},
                         {"modified", there ? Json(TimeText(file.modified)) : Json(nullptr)}});
    }
    return {{"sequence", record.sequence},
            {"identifier", record.identifier},
            {"time", TimeText(record.time)},
            {"process", record.process},
            {"kind", KindName(record.kind)},
            {"event", record.event},
            {"extra", record.extra},
            {"values", values},
            {"files", files}};
}

Json OtlpOfRecords(const std::vector<OutboxRecord>& records) {
    Json logs = Json::array();
    for (const OutboxRecord& record : records) logs.push_back(LogRecord(record));
    Json resource = Json::object();
    resource["attributes"] =
        Json::array({StringAttribute("service.name", "tandor"), StringAttribute("service.version", TANDOR_VERSION)});
    Json scope_logs = Json::object();
    scope_logs["scope"]["name"] = "pelora.outbox";
    scope_logs["logRecords"] = std::move(logs);
    Json resource_logs = Json::object();
    resource_logs["resource"] = std::move(resource);
    resource_logs["scopeLogs"] = Json::array({std::move(scope_logs)});
    Json request = Json::object();
    request["resourceLogs"] = Json::array({std::move(resource_logs)});
    return request;
}

}  // namespace tandor::app
