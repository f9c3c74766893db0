// Records of the outbox for other programs.
#pragma once

#include <string>
#include <vector>

#include "app/command.h"
#include "pelora/outbox.h"

namespace tandor::app {

// One record as an object: sequence, identifier, time, process, kind, event, extra, values, files.
Json JsonOfRecord(const pelora::OutboxRecord& record);

// The records as an OTLP/JSON request of logs (https://opentelemetry.io/docs/specs/otlp/#otlphttp): one log record
// each, the identifier as the attribute "log.record.uid". Bytes that are not UTF-8 become U+FFFD.
Json OtlpOfRecords(const std::vector<pelora::OutboxRecord>& records);

// A time in milliseconds since 1970-01-01 UTC as "2026-01-31T09:05:07.042Z".
std::string TimeText(long long milliseconds);

const char* KindName(pelora::OutboxKind kind);

}  // namespace tandor::app
