#include "app/sent_records.h"

#include <windows.h>

namespace tandor::app {
namespace {

void Check(const std::string& trouble) {
    if (!trouble.empty()) throw CommandError("the outbox", trouble, "see 'tandorctl doctor'");
}

}  // namespace

SentRecords::SentRecords() {
    std::vector<pelora::OutboxRecord> last;
    Check(pelora::Outbox::GetInstance().ReadLast(1, last));
    if (!last.empty()) after_ = last.back().sequence;
}

std::vector<pelora::OutboxRecord> SentRecords::Take() const {
    std::vector<pelora::OutboxRecord> own;
    std::vector<pelora::OutboxRecord> some;
    for (unsigned long long after = after_;; after = some.back().sequence) {
        some.clear();
        Check(pelora::Outbox::GetInstance().Read(after, 1000, 1024 * 1024, some));
        if (some.empty()) return own;
        for (auto& record : some) {
            if (record.process == ::GetCurrentProcessId()) own.push_back(record);
        }
    }
}

pelora::OutboxRecord SentRecords::Last() const {
    const auto records = Take();
    if (records.empty()) {
        throw CommandError("the report", "it was not recorded", "try again with --follow, which shows the reason");
    }
    return records.back();
}

std::string ValuesLine(const pelora::OutboxRecord& record) {
    std::string line;
    for (const pelora::OutboxValue& value : record.values) {
        line += (line.empty() ? "" : ", ") + value.key + "=" + value.text;
    }
    return line.empty() ? "no values" : line;
}

Json JsonOf(const pelora::OutboxRecord& record) {
    const bool fault = record.kind == pelora::OutboxKind::kFault;
    Json values = fault ? Json::object() : Json::array();
    for (const pelora::OutboxValue& value : record.values) {
        Json shown = value.number ? Json(std::stoll(value.text)) : Json(value.text);
        fault ? void(values[value.key] = std::move(shown)) : values.push_back(std::move(shown));
    }
    Json document{{"kind", fault ? "fault" : "business"},
                  {"event", record.event},
                  {"sequence", record.sequence},
                  {"identifier", record.identifier},
                  {"values", values}};
    if (!fault) return document;
    document["files"] = Json::array();
    for (const pelora::OutboxFile& file : record.files) {
        document["files"].push_back({{"path", file.path}, {"size", file.size < 0 ? Json(nullptr) : Json(file.size)}});
    }
    return document;
}

}  // namespace tandor::app
