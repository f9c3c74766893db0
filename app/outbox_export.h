// Records of the outbox for other programs.
#pragma once

#include <span>
#include <string>

#include "app/command.h"
#include "pelora/outbox.h"

namespace tandor::app {

// One record as an object: sequence, identifier, time, process, kind, event, extra, values, files. Here and below,
// bytes that are not UTF-8 become U+FFFD.
Json JsonOfRecord(const pelora::OutboxRecord& record);

// The same as text, behind what is there. Exports write many: without a document they take a fraction of the time.
void AppendJson(const pelora::OutboxRecord& record, std::string& out);

// The records as an OTLP/JSON request of logs (https://opentelemetry.io/docs/specs/otlp/#otlphttp): one log record
// each, the identifier as the attribute "log.record.uid".
void AppendOtlp(std::span<const pelora::OutboxRecord> records, std::string& out);

// A time in milliseconds since 1970-01-01 UTC as "2026-01-31T09:05:07.042Z".
std::string TimeText(long long milliseconds);

const char* KindName(pelora::OutboxKind kind);

}  // namespace tandor::app
