#include "suite/telemetry/outbox_tables.h"

#include <algorithm>
#include <chrono>
#include <random>

#include "base/hex.h"
#include "suite/telemetry/record_codec.h"

namespace pelora {
namespace {

constexpr std::int64_t kBasePages = 4;  // the file's head, both tables' roots, one to spare

std::string Hex64(std::uint64_t value) {
    std::string bytes;
    for (int shift = 56; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
    return tandor::HexFromBytes(bytes, tandor::HexCase::kLower);
}

std::string NewIdentity() {
    std::random_device random;
    return Hex64(std::uint64_t{random()} << 32 | random());
}

std::int64_t NowInMilliseconds() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// Pages that storing so many bytes takes at most: overflow pages, and a leaf and its parents that may be split.
std::int64_t PagesFor(std::size_t bytes, std::int64_t page_size) {
    return static_cast<std::int64_t>(bytes) / (page_size - 4) + 5;
}

std::int64_t NumberOf(Statement& statement) {
    Rows rows = statement.Query();
    return rows.Next() ? rows.Integer(0) : 0;
}

Database Opened(const std::string& utf8_path, int busy_wait) {
    Database database(utf8_path, busy_wait);
    database.Execute("PRAGMA journal_size_limit=8388608");
    Transaction transaction(database);
    database.Execute(
        "CREATE TABLE IF NOT EXISTS records(sequence INTEGER PRIMARY KEY, time INTEGER NOT NULL,"
        " process INTEGER NOT NULL, kind INTEGER NOT NULL, content BLOB NOT NULL);"
        "CREATE TABLE IF NOT EXISTS state(one INTEGER PRIMARY KEY CHECK(one = 1), identity BLOB NOT NULL,"
        " next INTEGER NOT NULL, displaced INTEGER NOT NULL, removed INTEGER NOT NULL,"
        " max_records INTEGER NOT NULL, max_bytes INTEGER NOT NULL)");
    const OutboxLimits limits;
    database.Prepare("INSERT OR IGNORE INTO state VALUES(1, ?1, 1, 0, 0, ?2, ?3)")
        .Run(std::string_view(NewIdentity()), static_cast<std::int64_t>(limits.records),
             static_cast<std::int64_t>(limits.bytes));
    transaction.Commit();
    return database;
}

}  // namespace

OutboxTables::OutboxTables(const std::string& utf8_path, int busy_wait)
    : database_(Opened(utf8_path, busy_wait)),
      read_state_(database_.Prepare("SELECT identity, next, displaced, removed, max_records, max_bytes FROM state")),
      newest_(database_.Prepare("SELECT max(sequence) FROM records")),
      write_state_(database_.Prepare("UPDATE state SET next = ?1, displaced = ?2, removed = ?3")),
      insert_(database_.Prepare("INSERT INTO records VALUES(?1, ?2, ?3, ?4, ?5)")),
      drop_oldest_(database_.Prepare("DELETE FROM records WHERE sequence = (SELECT min(sequence) FROM records)")),
      read_(database_.Prepare("SELECT sequence, time, process, kind, content FROM records WHERE sequence > ?1"
                              " ORDER BY sequence LIMIT ?2")),
      remove_(database_.Prepare("DELETE FROM records WHERE sequence = ?1")),
      remove_through_(database_.Prepare("DELETE FROM records WHERE sequence <= ?1")),
      pages_(database_.Prepare("PRAGMA page_count")),
      free_pages_(database_.Prepare("PRAGMA freelist_count")),
      page_size_(database_.Number("PRAGMA page_size")) {}

// The row of state is written only when something leaves: what has been put since then shows in the newest record.
OutboxTables::State OutboxTables::ReadState() {
    Rows row = read_state_.Query();
    if (!row.Next()) throw SqliteError(kDamagedCode, "its row of state is missing");
    State state;
    state.identity = row.Bytes(0);
    state.next = std::max(row.Integer(1), NumberOf(newest_) + 1);
    state.displaced = row.Integer(2);
    state.removed = row.Integer(3);
    state.records = state.next - 1 - state.displaced - state.removed;
    state.max_records = row.Integer(4);
    state.max_pages = row.Integer(5) / page_size_;
    return state;
}

void OutboxTables::WriteState(const State& state) { write_state_.Run(state.next, state.displaced, state.removed); }

std::int64_t OutboxTables::UsedPages() { return NumberOf(pages_) - NumberOf(free_pages_); }

// Freed pages are used again before the file grows, so it never passes the limit.
void OutboxTables::MakeRoom(State& state, std::int64_t records, std::int64_t pages) {
    while (state.records > 0 &&
           (state.records + records > state.max_records || UsedPages() + pages > state.max_pages)) {
        drop_oldest_.Run();
        if (database_.Changes() != 1) throw SqliteError(kDamagedCode, "its count of records is wrong");
        --state.records;
        ++state.displaced;
    }
}

void OutboxTables::Store(PendingRecord& pending, State& state) {
    OutboxRecord& record = *pending.record;
    const std::int64_t pages = PagesFor(pending.content.size(), page_size_);
    if (kBasePages + pages > state.max_pages) {
        pending.trouble = "the record's " + std::to_string(pending.content.size()) +
                          " bytes do not fit the outbox's limit; raise the limit";
        return;
    }
    MakeRoom(state, 1, pages);
    record.sequence = static_cast<unsigned long long>(state.next);
    record.identifier = state.identity + Hex64(record.sequence);
    record.time = NowInMilliseconds();
    insert_.Run(state.next, std::int64_t{record.time}, std::int64_t{record.process},
                std::int64_t{static_cast<int>(record.kind)}, std::string_view(pending.content));
    ++state.next;
    ++state.records;
}

void OutboxTables::Put(const std::vector<PendingRecord*>& batch) {
    Transaction transaction(database_);
    State state = ReadState();
    const std::int64_t displaced = state.displaced;
    for (PendingRecord* const pending : batch) Store(*pending, state);
    if (state.displaced != displaced) WriteState(state);
    transaction.Commit();
}

OutboxRecord OutboxTables::RecordOf(const Rows& row, const std::string& identity) {
    OutboxRecord record;
    record.sequence = static_cast<unsigned long long>(row.Integer(0));
    record.identifier = identity + Hex64(record.sequence);
    record.time = row.Integer(1);
    record.process = static_cast<unsigned long>(row.Integer(2));
    record.kind = row.Integer(3) == static_cast<int>(OutboxKind::kFault) ? OutboxKind::kFault : OutboxKind::kBusiness;
    if (!DecodeContent(row.Bytes(4), record)) {
        throw SqliteError(kDamagedCode, "record " + std::to_string(record.sequence) + " is damaged");
    }
    return record;
}

std::vector<OutboxRecord> OutboxTables::Read(unsigned long long after, std::size_t count, std::size_t bytes) {
    const std::string identity = ReadState().identity;
    std::vector<OutboxRecord> records;
    std::size_t sum = 0;
    const auto largest = static_cast<unsigned long long>(INT64_MAX);
    Rows rows = read_.Query(static_cast<std::int64_t>(std::min(after, largest)),
                            static_cast<std::int64_t>(std::min<unsigned long long>(count, largest)));
    while ((records.empty() || sum < bytes) && rows.Next()) {
        sum += rows.Bytes(4).size();
        records.push_back(RecordOf(rows, identity));
    }
    return records;
}

std::vector<OutboxRecord> OutboxTables::ReadLast(std::size_t count) {
    const std::string identity = ReadState().identity;
    Statement last = database_.Prepare(
        "SELECT sequence, time, process, kind, content FROM records"
        " ORDER BY sequence DESC LIMIT ?1");
    std::vector<OutboxRecord> records;
    Rows rows = last.Query(static_cast<std::int64_t>(std::min<unsigned long long>(count, INT64_MAX)));
    while (rows.Next()) records.push_back(RecordOf(rows, identity));
    std::reverse(records.begin(), records.end());
    return records;
}

void OutboxTables::CountRemoved(State& state, std::int64_t count) {
    state.records -= count;
    state.removed += count;
    WriteState(state);
}

unsigned long long OutboxTables::Remove(const std::vector<unsigned long long>& sequences) {
    Transaction transaction(database_);
    State state = ReadState();
    std::int64_t count = 0;
    for (const unsigned long long sequence : sequences) {
        remove_.Run(static_cast<std::int64_t>(sequence));
        count += database_.Changes();
    }
    CountRemoved(state, count);
    transaction.Commit();
    return static_cast<unsigned long long>(count);
}

unsigned long long OutboxTables::RemoveThrough(unsigned long long sequence) {
    Transaction transaction(database_);
    State state = ReadState();
    remove_through_.Run(static_cast<std::int64_t>(std::min<unsigned long long>(sequence, INT64_MAX)));
    const int count = database_.Changes();
    CountRemoved(state, count);
    transaction.Commit();
    return static_cast<unsigned long long>(count);
}

OutboxStatus OutboxTables::Status() {
    Statement query = database_.Prepare(
        "SELECT max_records, max_bytes, max(next - 1, (SELECT ifnull(max(sequence), 0) FROM records)), displaced,"
        " removed, page_count, (SELECT time FROM records ORDER BY sequence LIMIT 1),"
        " (SELECT time FROM records ORDER BY sequence DESC LIMIT 1) FROM state, pragma_page_count");
    Rows row = query.Query();
    if (!row.Next()) throw SqliteError(kDamagedCode, "its row of state is missing");
    const auto number = [&row](int column) { return static_cast<unsigned long long>(row.Integer(column)); };
    OutboxStatus status;
    status.limits = {number(0), number(1)};
    status.put = number(2);
    status.displaced = number(3);
    status.removed = number(4);
    status.records = status.put - status.displaced - status.removed;
    status.bytes = number(5) * static_cast<unsigned long long>(page_size_);
    status.oldest = row.Integer(6);
    status.newest = row.Integer(7);
    return status;
}

void OutboxTables::SetLimits(const OutboxLimits& limits) {
    {
        Transaction transaction(database_);
        database_.Prepare("UPDATE state SET max_records = ?1, max_bytes = ?2")
            .Run(static_cast<std::int64_t>(limits.records), static_cast<std::int64_t>(limits.bytes));
        State state = ReadState();
        MakeRoom(state, 0, 0);
        WriteState(state);
        transaction.Commit();
    }
    if (database_.Number("PRAGMA freelist_count") == 0) return;
    database_.Execute("VACUUM");
    database_.Execute("PRAGMA wal_checkpoint(TRUNCATE)");
}

}  // namespace pelora
