// The tables of the outbox: records in the order of their sequences, one row of state, and settings.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "pelora/outbox.h"
#include "suite/sqlite/database.h"
#include "suite/telemetry/record_codec.h"

namespace pelora {

// The identifier of a record: 16 hexadecimal digits of the outbox, 16 of the sequence.
std::string OutboxIdentifier(std::uint64_t identity, std::uint64_t sequence);

// Used by one thread at a time. Operations throw SqliteError; those that change something are atomic, and on the disk
// when they return.
class OutboxTables {
public:
    // Opens the file and makes the tables. Waits `busy_wait` ms for other processes.
    OutboxTables(const std::string& utf8_path, int busy_wait);

    // What the records that come next have to know.
    struct Head {
        std::uint64_t identity = 0;
        std::uint64_t next = 1;  // sequence
        bool flush = false;
    };
    Head ReadHead();

    // Stores the whole entries that `journal` begins with and that are not stored yet, the oldest records giving way.
    // Returns the bytes behind them.
    std::string_view TakeIn(std::string_view journal);
    // Stores one record under the next sequence; false when the limit on bytes could not hold it alone.
    bool Put(const JournalEntry& entry);

    std::vector<OutboxRecord> Read(unsigned long long after, std::size_t count, std::size_t bytes);
    std::vector<OutboxRecord> ReadLast(std::size_t count);
    unsigned long long Remove(const std::vector<unsigned long long>& sequences);
    unsigned long long RemoveThrough(unsigned long long sequence);
    unsigned long long RemoveBefore(long long time);
    void TellDrops(const JournalEntry& from);
    OutboxStatus Status();
    void SetLimits(const OutboxLimits& limits);
    // Reads everything; throws for what contradicts itself.
    void CheckWhole();

private:
    struct State {
        std::uint64_t identity = 0;
        std::int64_t next = 1, records = 0, displaced = 0, removed = 0, max_records = 0, max_pages = 0;
        std::int64_t used_pages = 0;  // at most
        bool changed = false;         // whether something left
    };

    State ReadState();
    void Commit(Transaction& transaction, const State& state);
    void Store(const JournalEntry& entry, State& state);
    void MakeRoom(State& state, std::int64_t records, std::int64_t pages);
    unsigned long long Removing(Statement& statement, const std::vector<std::int64_t>& arguments);
    [[nodiscard]] std::int64_t Setting(std::string_view name);
    [[nodiscard]] std::int64_t UsedPages();

    Database database_;
    Statement read_state_, newest_, write_state_, insert_, drop_oldest_, read_, read_last_, remove_, remove_through_,
        remove_before_, setting_, set_, pages_, free_pages_;
    std::int64_t page_size_;
};

}  // namespace pelora
