#include <charconv>

#include "base/wall_clock.h"
#include "foundation/message.h"
#include "tandor/data_report.h"
#include "tandor/event_reporter.h"

namespace Tandor {
namespace {

using tandor::kInfo;
using tandor::LogMessage;

constexpr const wchar_t* kCommit = L"Tandor::Reporter::Commit";
constexpr const char* kMissing = "0";

std::vector<std::string> TagValues(const std::unordered_map<int, std::string>& records, int count) {
    std::vector<std::string> values;
    for (int tag = 0; tag < count; ++tag) {
        const auto record = records.find(tag);
        if (record == records.end()) LogMessage(kInfo, kCommit, L"tag:", tag, L" not record,commit with default value");
        values.push_back(record == records.end() ? kMissing : record->second);
    }
    return values;
}

}  // namespace

Reporter::Reporter(int eventId, int tagCount) : event_id_(eventId), tag_count_(tagCount), records_(8) {}
Reporter::~Reporter() = default;

void Reporter::RecordTimeStamp(int tag) {
    char digits[20];
    const std::lock_guard lock(lock_);
    const char* const end = std::to_chars(digits, digits + sizeof(digits), tandor::WallClockMilliseconds()).ptr;
    records_[tag].assign(digits, static_cast<std::size_t>(end - digits));  // keeps the memory of an earlier value
}

void Reporter::SetDataCount(int count) { tag_count_ = count; }

void Reporter::SetTraceID(std::string traceId) {
    const std::lock_guard lock(lock_);
    trace_id_ = std::move(traceId);
    trace_id_set_ = true;
}

void Reporter::Commit() {
    const std::lock_guard lock(lock_);
    const int count = tag_count_;
    if (count != 0 && records_.empty()) {
        return LogMessage(kInfo, kCommit, L"invalid commit, record is empty, id=", event_id_);
    }
    std::vector<std::string> values = TagValues(records_, count);
    if (trace_id_set_) values.push_back(trace_id_.empty() ? kMissing : trace_id_);
    TandorDataReportClass* const reports = TandorDataReportClass::GetInstance();
    if (reports != nullptr) reports->Report(static_cast<TandorReportTypeEnum>(event_id_), values);
}

}  // namespace Tandor
