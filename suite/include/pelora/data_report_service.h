/// @file
/// The data-report service: business statistics, kept in the outbox until somebody fetches them.
#pragma once

#include <map>
#include <string>

#include "pelora/api.h"

/// One business record on its way. Strings are UTF-8; other bytes are kept as they are.
struct LogInfo {
    std::string eventId;                ///< decimal, "606008003"
    std::string extra;                  ///< free text of the caller, often empty
    std::map<int, std::string> values;  ///< by their index, from 0; they are sent in ascending order
};

/// Hands business records to the outbox.
///
/// Threads: every operation may be called from any thread at any time. Nothing is kept between calls.
class PELORA_API EventDataReport {
public:
    /// The process-wide instance; it lives until the suite is unloaded.
    static EventDataReport& Instance();

    /// A record for the event, without values.
    LogInfo GetMsg(const std::string& eventId, const std::string& extra);

    /// Puts the record into the outbox (pelora/outbox.h). True: it survives the death of every process. False, after a
    /// bounded wait: it was not recorded, and the host log says why. `info` is not changed. Never throws.
    bool SendMsg(LogInfo& info) noexcept;

    EventDataReport(const EventDataReport&) = delete;
    EventDataReport& operator=(const EventDataReport&) = delete;

private:
    EventDataReport() = default;
    ~EventDataReport() = default;
};
