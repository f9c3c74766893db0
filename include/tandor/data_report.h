/// @file
/// Business statistics: what the user did, how long a step took, how a connection ended.
#pragma once

#include <charconv>
#include <concepts>
#include <map>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

#include "tandor/api.h"
#include "tandor/data_report_types.h"

// Rows of the catalogue as declarations. The texts go with the functions into the reference.
#define TANDOR_DECLARE_REPORT(number, type, function, parameters, sent) \
    static void function parameters; /**< Sends number with its arguments. */
#define TANDOR_DECLARE_KEYED_REPORT(event, function, parameters, sent, keys) \
    static void function parameters; /**< Sends the fault event with its arguments under their keys. */

/// The one place through which statistics leave. A statistic is a number (TandorReportTypeEnum) with an ordered list of
/// values; it becomes a record of the suite's data-report service under the event 606000000 + number. A few statistics
/// about the device's modes go out as fault events with named keys instead (tandor/event_reporter.h).
///
/// Threads: every operation may run on any thread at any time. A report waits for the data-report service, which is
/// bounded there, and locks nothing of this class; the named-key reports of a process go out one after the other.
///
/// Throws std::bad_alloc for want of memory, std::system_error when a mutex fails, and otherwise nothing but what an
/// operation states. A report that could not be recorded is told to the host log by the data-report service.
///
/// The report functions and their parameters stand in tandor/data_report_types.h, in the order of their numbers. Each
/// sends its arguments in their order; a structure's members in theirs. Durations are milliseconds, sizes bytes. An int
/// without an enumeration of its own (device type, reason, error code) is sent as the caller gives it. Those that take
/// a wide string throw std::range_error("bad conversion"), and send nothing, for an unpaired surrogate.
class TANDOR_API TandorDataReportClass {
public:
    /// Characters that GetSystemTime has room for, the ending zero included.
    static constexpr std::size_t MAX_TIME_LEN = 128;

    /// The process-wide instance; it lives until the library is unloaded.
    static TandorDataReportClass* GetInstance();

    /// Sends one record; value i of the list is the record's value i. False: it was not recorded. Any number may be
    /// sent, also one without a name of its own.
    bool Report(TandorReportTypeEnum type, const std::vector<std::string>& values);

    /// The same with the values as arguments: integers and enumerations in decimal, bool as 1 or 0, floating-point
    /// numbers with six significant digits as a stream writes them, narrow strings as they are.
    template <class... Args>
    bool Report(TandorReportTypeEnum type, const Args&... args) {
        std::vector<std::string> values;
        values.reserve(sizeof...(args));
        ExpandArgs(values, args...);
        return Report(type, values);
    }

    /// Marks the beginning of a step, in place of an earlier mark of this type. Always true.
    bool RecordBegin(TandorReportTypeEnum type);
    /// Sends the seconds since the mark, as one value, and removes the mark, also when sending fails. False: no mark,
    /// or not recorded.
    bool RecordEnd(TandorReportTypeEnum type);

    /// Milliseconds since 1970-01-01 UTC.
    static unsigned long long GetCurrentMilliSecond();
    /// The local time as "20260131-235959-007". Unchanged on failure, which the host log tells.
    static void GetSystemTime(std::string& out);

    /// A decoder failed: number 13000 with the values 1 and the reason, at most once in 300,000 ms for the process.
    /// What comes earlier is dropped silently; a clock that was set back lets the next one through.
    static void DecordFailDataReport(std::string reason);
    /// A renderer failed: number 13000 with the values 2 and the text, each time.
    static void ReportRenderFailDataReport(const std::string& text);

    /// Sharing of files: 4525 to 4528. `path` is the folder for received files.
    /// @{
    TANDOR_REPORTS_SHARING(TANDOR_DECLARE_REPORT)
    /// @}

    /// Pairing with a phone: 8000 to 8002. `phoneVersion` is dotted, `retries` the attempts after the first, `traceId`
    /// what both sides write into their logs.
    /// @{
    TANDOR_REPORTS_PAIRING(TANDOR_DECLARE_REPORT)
    /// @}

    /// The phone's pictures: 8003 to 8022. Numbers of pictures: `count` asked for, then done, failed, and left out as
    /// they were there already. `enabled`: 1 the automatic backup was switched on, 0 off. `path` is the folder for
    /// backups.
    /// @{
    TANDOR_REPORTS_ALBUM(TANDOR_DECLARE_REPORT)
    /// @}

    /// The phone's music: 8200 to 8213. Counts, results and `path` as for the pictures.
    /// @{
    TANDOR_REPORTS_MUSIC(TANDOR_DECLARE_REPORT)
    /// @}

    /// The phone's videos: 8300 to 8316. Counts, results and `path` as for the pictures.
    /// @{
    TANDOR_REPORTS_VIDEO(TANDOR_DECLARE_REPORT)
    /// @}

    /// The short view of a phone: 8400 and 8401. `item` is what was clicked.
    /// @{
    TANDOR_REPORTS_BRIEF(TANDOR_DECLARE_REPORT)
    /// @}

    /// Connections and transfers: 9100 to 9201.
    /// @{
    TANDOR_REPORTS_TRANSFER(TANDOR_DECLARE_REPORT)
    /// @}

    /// Casting the screen: 10000 to 11017. `sinceStart` is milliseconds since the casting began, `maximized` and
    /// `minimized` how often that was done; `extension` is a file's, `application` the program that opens it. The Wi-Fi
    /// connection's values go to the host log as well.
    /// @{
    TANDOR_REPORTS_CASTING(TANDOR_DECLARE_REPORT)
    /// @}

    /// Windows of the phone's applications: 12000 to 14002. `windowCount` is how many are open afterwards; `fault` 1 is
    /// a decoder's, 2 a renderer's.
    /// @{
    TANDOR_REPORTS_WINDOWS(TANDOR_DECLARE_REPORT)
    /// @}

    /// The named-key reports: fault events 992614403, 992614405, 992614412 and 992614414 to 992614417, in this order.
    /// Each puts its keys into the process's reporter of its event and sends it; the keys have the arguments' names,
    /// but that `oldValue` and `newValue` are "old" and "new". `duration` is text with its unit, as the caller writes
    /// it.
    /// @{
    TANDOR_KEYED_REPORTS(TANDOR_DECLARE_KEYED_REPORT)
    /// @}

    TandorDataReportClass(const TandorDataReportClass&) = delete;
    TandorDataReportClass& operator=(const TandorDataReportClass&) = delete;

private:
    TandorDataReportClass();
    ~TandorDataReportClass();

    bool GetReportTypeDeltaTime(TandorReportTypeEnum type, double& seconds);

    static void ExpandArgs(std::vector<std::string>&) {}
    template <class First, class... Rest>
    static void ExpandArgs(std::vector<std::string>& values, const First& first, const Rest&... rest) {
        values.push_back(ToText(first));
        ExpandArgs(values, rest...);
    }

    template <class Value>
    static std::string ToText(const Value& value) {
        if constexpr (std::is_convertible_v<const Value&, std::string>) {
            return value;
        } else if constexpr (std::is_enum_v<Value>) {
            return ToText(static_cast<std::underlying_type_t<Value>>(value));
        } else if constexpr (std::is_same_v<Value, bool>) {
            return value ? "1" : "0";
        } else {
            static_assert(std::is_arithmetic_v<Value>,
                          "a value is a number, an enumeration, a bool or a narrow string");
            char text[32];
            if constexpr (std::is_floating_point_v<Value>) {
                return {text, std::to_chars(text, text + sizeof(text), static_cast<double>(value),
                                            std::chars_format::general, 6)
                                  .ptr};
            } else if constexpr (std::is_signed_v<Value>) {
                return {text, std::to_chars(text, text + sizeof(text), static_cast<long long>(value)).ptr};
            } else {
                return {text, std::to_chars(text, text + sizeof(text), static_cast<unsigned long long>(value)).ptr};
            }
        }
    }

    std::recursive_mutex lock_;
    std::map<int, long long> start_marks_;  // report type to performance counter
};

#undef TANDOR_DECLARE_REPORT
#undef TANDOR_DECLARE_KEYED_REPORT

/// The transfers of this process, as the transfer module counts them; the library itself does nothing with them.
///
/// Threads: GetInstance may be called from any thread. The record is not locked: whoever counts from several threads
/// locks, and hands out copies.
class TANDOR_API TransferDataReportClass {
public:
    /// The process-wide instance; it lives until the library is unloaded.
    static TransferDataReportClass* GetInstance();

    /// An own record, for a caller that counts apart from the process's.
    /// @{
    TransferDataReportClass();
    TransferDataReportClass(const TransferDataReportClass&);
    TransferDataReportClass& operator=(const TransferDataReportClass&);
    /// @}
    ~TransferDataReportClass();

    HandoffReportData::TransferRecord record;  ///< what was counted so far
};
