// The tables of the outbox: records in the order of their sequences, and one row of state.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "pelora/outbox.h"
#include "suite/sqlite/database.h"

namespace pelora {

inline constexpr std::size_t kLargestRecord = 1024 * 1024;

// A record on its way into the tables.
struct PendingRecord {
    OutboxRecord* record = nullptr;
    std::string content;
    std::string trouble;  // why it was not stored; empty when it was
};

// Used by one thread at a time. Operations throw SqliteError; those that change something are atomic.
class OutboxTables {
public:
    // Opens the file and makes the tables. Waits `busy_wait` ms for other processes.
    OutboxTables(const std::string& utf8_path, int busy_wait);

    // Stores all of them in one transaction, the oldest records giving way.
    void Put(const std::vector<PendingRecord*>& batch);

    std::vector<OutboxRecord> Read(unsigned long long after, std::size_t count, std::size_t bytes);
    std::vector<OutboxRecord> ReadLast(std::size_t count);
    unsigned long long Remove(const std::vector<unsigned long long>& sequences);
    unsigned long long RemoveThrough(unsigned long long sequence);
    OutboxStatus Status();
    void SetLimits(const OutboxLimits& limits);
    void CheckWhole() { database_.CheckWhole(); }

private:
    struct State {
        std::string identity;  // 16 hexadecimal digits
        std::int64_t next = 1, records = 0, displaced = 0, removed = 0, max_records = 0, max_pages = 0;
    };

    State ReadState();
    void WriteState(const State& state);
    void Store(PendingRecord& pending, State& state);
    void MakeRoom(State& state, std::int64_t records, std::int64_t pages);
    void CountRemoved(State& state, std::int64_t count);
    [[nodiscard]] std::int64_t UsedPages();
    static OutboxRecord RecordOf(const Rows& row, const std::string& identity);

    Database database_;
    Statement read_state_, newest_, write_state_, insert_, drop_oldest_, read_, remove_, remove_through_, pages_,
        free_pages_;
    std::int64_t page_size_;
};

}  // namespace pelora
