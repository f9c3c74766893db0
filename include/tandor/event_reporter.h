/// @file
/// Reporters: the numbered steps of a business event, fault events with named keys, and values for the assistant
/// service.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "tandor/api.h"

class IPCMessageClient;
class KoEvent;

/// Reporters. Throughout: strings are UTF-8. std::system_error leaves when a mutex fails, std::bad_alloc for want of
/// memory; nothing else throws.
namespace Tandor {

/// One business event whose steps have numbers ("tags"), most of them moments in time. Commit hands the values of the
/// tags 0 to count - 1 to TandorDataReportClass::Report.
///
/// Threads: every operation may run on any thread; the operations of one object go one after the other, Commit up to
/// the moment at which the data-report service has answered.
class TANDOR_API Reporter {
public:
    /// `eventId` is a statistic's number (TandorReportTypeEnum). ReporterFactory makes one for all; a reporter of one's
    /// own shares nothing with it.
    Reporter(int eventId, int tagCount);
    /// Sends nothing: what was not committed is gone.
    ~Reporter();
    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

    /// The milliseconds since 1970-01-01 UTC become the tag's value, in place of an earlier one. A tag outside the
    /// count is kept but not committed, unless the count grows.
    void RecordTimeStamp(int tag);
    /// How many tags, from 0, the next Commit sends. 0 sends a record without values.
    void SetDataCount(int count);
    /// From now on the trace identifier follows the tags in every record, as "0" when it is empty.
    void SetTraceID(std::string traceId);

    /// Sends one record with the tags' values in ascending order. A tag without a value is sent as "0", and the host
    /// log names it. Nothing is sent, and the host log says so, when the count is not 0 and no tag has a value. The
    /// values stay: the next Commit sends them again.
    void Commit();

private:
    int event_id_;
    std::atomic<int> tag_count_;
    std::unordered_map<int, std::string> records_;
    std::recursive_mutex lock_;
    std::string trace_id_;
    bool trace_id_set_ = false;
};

/// One reporter for each event, shared by everyone in the process, for as long as the library is loaded. Any thread.
class TANDOR_API ReporterFactory {
public:
    /// The process-wide instance; it lives until the library is unloaded.
    static ReporterFactory& GetInstance();

    /// The event's reporter, made with `tagCount` the first time; later counts are ignored. Never null.
    std::shared_ptr<Reporter> CreateReporter(int eventId, int tagCount);

    ReporterFactory(const ReporterFactory&) = delete;
    ReporterFactory& operator=(const ReporterFactory&) = delete;

private:
    ReporterFactory();
    ~ReporterFactory();

    std::map<int, std::shared_ptr<Reporter>> reporters_;
    std::recursive_mutex lock_;
};

/// One fault event with named keys and files.
///
/// Threads: every operation may run on any thread; the operations of one object go one after the other, KoEventReport
/// up to the moment at which the event service has answered. What two threads put between two reports goes out
/// together. KoEventReport writes its log line in between: an observer of the log must not use the same reporter.
class TANDOR_API KoEventReporter {
public:
    /// `eventId` is the platform's number of the fault. KoEventReporterFactory makes one for all.
    explicit KoEventReporter(int eventId);
    /// Sends nothing: what was not reported is gone.
    ~KoEventReporter();
    KoEventReporter(const KoEventReporter&) = delete;
    KoEventReporter& operator=(const KoEventReporter&) = delete;

    /// Putting a key again replaces its value.
    /// @{
    void KoEventPutString(std::string key, std::string value);
    void KoEventPutInt(std::string key, int value);
    void KoEventPutLong(std::string key, long long value);
    /// @}

    /// As above, but nothing happens when the key has been put since the last report: the first value wins.
    /// @{
    void KoEventPutStringOnce(std::string key, std::string value);
    void KoEventPutIntOnce(std::string key, int value);
    /// @}

    /// The milliseconds since 1970-01-01 UTC.
    void KoEventPutTimeStamp(std::string key);

    /// Attaches a file, which need not exist. A file alone makes no report: see KoEventReport.
    void KoEventAddFilePath(const std::string& path);
    /// Attaches the feature's ten diagnostic log files, after this process's own lines have been written to them.
    void KoEventReportLog();

    /// Writes the event as one line to the channel KoViewTandor and to the host log, and sends it. Nothing happens when
    /// no key has been put since the last report. The event keeps its keys and files: whoever reports a new fault with
    /// the same reporter calls KoEventReset first.
    void KoEventReport();
    /// Forgets the event's keys and files. Which keys have been put since the last report stays known.
    void KoEventReset();

private:
    struct Implementation;

    KoEvent* Event() const;  // null when there is none
    template <class PutValue>
    void Put(const std::string& key, bool once, const PutValue& put);

    std::unique_ptr<Implementation> implementation_;
    std::mutex lock_;
};

/// One fault reporter for each event, shared by everyone in the process, for as long as the library is loaded. Any
/// thread.
class TANDOR_API KoEventReporterFactory {
public:
    /// The process-wide instance; it lives until the library is unloaded.
    static KoEventReporterFactory& GetInstance();

    /// The event's reporter, made the first time. Never null.
    std::shared_ptr<KoEventReporter> CreateKoEventReporter(int eventId);

    KoEventReporterFactory(const KoEventReporterFactory&) = delete;
    KoEventReporterFactory& operator=(const KoEventReporterFactory&) = delete;

private:
    KoEventReporterFactory();
    ~KoEventReporterFactory();

    std::map<int, std::shared_ptr<KoEventReporter>> reporters_;
    std::recursive_mutex lock_;
};

/// Collected values for the assistant service behind the pipe "\\.\Pipe\iPaviloAssistant", and the time at which
/// pairing began.
///
/// Threads: every operation may run on any thread, and none waits for the pipe.
class TANDOR_API DataProcessReport {
public:
    /// The process-wide instance; it lives until the library is unloaded.
    static DataProcessReport& GetInstance();

    /// Appends a value to what the next Commit of this report posts.
    void AddPendingValue(int reportId, std::string value);
    /// What the next Commit of this report posts, in its order.
    std::vector<std::string> GetPendingValues(int reportId);

    /// Posts the pending values as one message (0x490085), packed into 1,024 bytes with 4 bytes before each value, also
    /// when there are none. Nothing is pending afterwards, whether or not there is a server: a value that has no room
    /// any more is left out as a whole, those behind it are tried, and the host log says how many were left out.
    void Commit(int reportId);

    /// Keeps the present time in milliseconds since 1970-01-01 UTC.
    void SetBeginPairTime();
    /// The kept time in decimal, once: a second call without a SetBeginPairTime between gives an empty string.
    std::string GetBeginPairTime();

    DataProcessReport(const DataProcessReport&) = delete;
    DataProcessReport& operator=(const DataProcessReport&) = delete;

private:
    DataProcessReport();
    ~DataProcessReport();

    unsigned long long GetCurrentMilliSecond();

    std::unique_ptr<IPCMessageClient> client_;
    std::string begin_pair_time_;
    std::map<int, std::vector<std::string>> pending_;
    std::mutex lock_;
};

}  // namespace Tandor
