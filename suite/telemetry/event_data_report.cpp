#include "pelora/data_report_service.h"
#include "pelora/outbox.h"

EventDataReport& EventDataReport::Instance() {
    static EventDataReport instance;
    return instance;
}

LogInfo EventDataReport::GetMsg(const std::string& eventId, const std::string& extra) { return {eventId, extra, {}}; }

bool EventDataReport::SendMsg(LogInfo& info) noexcept {
    try {
        pelora::OutboxRecord record;
        record.event = info.eventId;
        record.extra = info.extra;
        record.values.reserve(info.values.size());
        for (const auto& [index, value] : info.values) record.values.push_back({std::to_string(index), value, false});
        return pelora::Outbox::GetInstance().Put(record).empty();
    } catch (const std::exception&) {
        return false;
    }
}
