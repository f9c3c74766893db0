/// @file
/// The outbox: the records of the event service and the data-report service, until they have been fetched.
#pragma once

#include <string>
#include <vector>

#include "pelora/api.h"

/// The records of both services and where they wait.
namespace pelora {

/// Which service a record came through.
enum class OutboxKind : int {
    kBusiness = 1,  ///< the data-report service
    kFault = 2,     ///< the event service
    kDropped = 3,   ///< the outbox's own: records that gave way (Outbox::TellDrops)
};

/// A value with its name: a fault's key, or the decimal index of a business value.
struct OutboxValue {
    std::string key;      ///< UTF-8
    std::string text;     ///< as it was put; a number in decimal
    bool number = false;  ///< put as a number, which fits a signed 64-bit one

    /// Whether all members are equal.
    bool operator==(const OutboxValue&) const = default;
};

/// A file that belongs to a record, as it was when the record was put.
struct OutboxFile {
    std::string path;        ///< UTF-8
    long long size = -1;     ///< bytes; -1: it was not there
    long long modified = 0;  ///< milliseconds since 1970-01-01 UTC

    /// Whether all members are equal.
    bool operator==(const OutboxFile&) const = default;
};

/// One record as it is put and read.
struct OutboxRecord {
    OutboxKind kind = OutboxKind::kBusiness;  ///< decides which members count
    std::string event;                ///< the event identifier in decimal; "outbox.dropped", and "outbox.damaged"
                                      ///< for a record whose content is not readable any more
    std::string extra;                ///< business records alone
    std::vector<OutboxValue> values;  ///< in their order
    std::vector<OutboxFile> files;    ///< faults alone
    unsigned long long sequence = 0;  ///< from here on set by Put: 1, 2, 3 …, never given twice in one outbox
    std::string identifier;           ///< 32 hexadecimal digits: the outbox's own random 16, then the sequence
    long long time = 0;               ///< milliseconds since 1970-01-01 UTC
    unsigned long process = 0;        ///< identifier of the process that put it

    /// Whether all members are equal.
    bool operator==(const OutboxRecord&) const = default;
};

/// How much may wait.
struct OutboxLimits {
    unsigned long long records = 100'000;            ///< at least 1
    unsigned long long bytes = 64ULL * 1024 * 1024;  ///< of the file without its journals; at least 65,536
    bool flush = false;                              ///< whether every Put reaches the disk before it returns
};

/// What an outbox holds and has seen.
struct OutboxStatus {
    std::string file;                  ///< UTF-8
    OutboxLimits limits;               ///< as they are set now
    unsigned long long records = 0;    ///< in it now
    unsigned long long bytes = 0;      ///< of the file now, without its journals
    unsigned long long put = 0;        ///< ever
    unsigned long long displaced = 0;  ///< dropped, the oldest first, because the limits were reached
    unsigned long long removed = 0;    ///< taken out by the Remove operations
    long long oldest = 0;              ///< time of the first record, 0 when there is none
    long long newest = 0;              ///< time of the last record, 0 when there is none
};

/// One file for all processes: "telemetry\outbox.db" under the suite's common directory (SQLite with a write-ahead
/// log).
///
/// What a call has reported as done survives the death of every process at any moment. A power failure never takes the
/// file. Of the records it may take those of less than a second: a Put that comes a second or more after the last flush
/// of any process has everything reach the disk before it returns; with `flush` in the limits every Put has. Records
/// that have been read once, and removals, are on the disk. A damaged file is renamed to "outbox.damaged-<time>.db"
/// beside it, never deleted. The limits lie in the file and hold for all processes from the moment they are set.
///
/// New records wait in "outbox.db-new" beside it, at most 256 KiB, until it is full or any other operation is called:
/// then they go into the file together. "outbox.db-turn" holds the processes' agreement.
///
/// Operations return what went wrong as text, empty when they did their work; out-parameters are changed only then.
/// They wait at most 5 s for other processes. Nothing throws.
///
/// Threads and processes: every operation may be called from any thread of any process at any time; each is atomic.
class PELORA_API Outbox {
public:
    /// The outbox of the common directory.
    static Outbox& GetInstance();

    /// An outbox elsewhere (UTF-8 path). The file is opened, and made, with the first operation.
    explicit Outbox(const std::string& file);
    /// Closes the file; the records stay. No operation may be under way.
    ~Outbox();
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;

    /// Stores the record and sets its sequence, identifier, time and process. A record beyond 4 MiB, or one that the
    /// limits could not hold alone, is refused. The host log says why a record was not stored, in one line a minute at
    /// most, which counts those that were not told.
    [[nodiscard]] std::string Put(OutboxRecord& record) noexcept;

    /// Up to `count` records with sequences above `after`, ascending; and no more than makes about `bytes` of content,
    /// but always one.
    [[nodiscard]] std::string Read(unsigned long long after, std::size_t count, std::size_t bytes,
                                   std::vector<OutboxRecord>& records) noexcept;
    /// The last `count` records, ascending.
    [[nodiscard]] std::string ReadLast(std::size_t count, std::vector<OutboxRecord>& records) noexcept;

    /// Takes records out; a sequence that is not there is passed over. `removed` becomes how many there were.
    [[nodiscard]] std::string Remove(const std::vector<unsigned long long>& sequences,
                                     unsigned long long& removed) noexcept;
    /// Takes out every record up to and including this sequence.
    [[nodiscard]] std::string RemoveThrough(unsigned long long sequence, unsigned long long& removed) noexcept;
    /// Takes out every record whose time (milliseconds since 1970-01-01 UTC) is earlier.
    [[nodiscard]] std::string RemoveBefore(long long time, unsigned long long& removed) noexcept;

    /// For whoever is about to export the records: when some gave way since the last call, puts a record of the kind
    /// kDropped with the event "outbox.dropped" and the numbers "dropped", how many, and "ever", how many in all.
    [[nodiscard]] std::string TellDrops() noexcept;

    /// Fills `status` with the outbox's figures of one moment.
    [[nodiscard]] std::string Status(OutboxStatus& status) noexcept;
    /// Sets the limits; what is beyond them is dropped at once, and the file made smaller.
    [[nodiscard]] std::string SetLimits(const OutboxLimits& limits) noexcept;

private:
    class Impl;
    Impl* impl_;
};

}  // namespace pelora
