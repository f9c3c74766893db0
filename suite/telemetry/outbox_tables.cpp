#include "suite/telemetry/outbox_tables.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <random>

#include "base/hex.h"

namespace pelora {
namespace {

constexpr std::int64_t kBasePages = 5;  // the file's head, the tables' roots, one to spare
constexpr const char* kDamagedEvent = "outbox.damaged";
constexpr const char* kDroppedEvent = "outbox.dropped";
constexpr std::size_t kDropsContent = 200;    // bytes, at most
constexpr std::string_view kFlush = "flush";  // 1: every record is flushed
constexpr std::string_view kTold = "told";    // how many displaced records TellDrops has told of

std::string Hex64(std::uint64_t value) {
    std::string bytes;
    for (int shift = 56; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
    return tandor::HexFromBytes(bytes, tandor::HexCase::kLower);
}

std::uint64_t FromHex64(std::string_view digits) {
    std::uint64_t value = 0;
    const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc{} || stop != digits.data() + digits.size())
        throw SqliteError(kDamagedCode, "its identity is damaged");
    return value;
}

std::string NewIdentity() {
    std::random_device random;
    return Hex64(std::uint64_t{random()} << 32 | random());
}

// Pages that storing so many bytes takes at most: overflow pages, and a leaf and its parents that may be split.
std::int64_t PagesFor(std::size_t bytes, std::int64_t page_size) {
    return static_cast<std::int64_t>(bytes) / (page_size - 4) + 5;
}

std::int64_t NumberOf(Rows rows) { return rows.Next() ? rows.Integer(0) : 0; }

std::int64_t Bounded(unsigned long long number) {
    return static_cast<std::int64_t>(std::min<unsigned long long>(number, INT64_MAX));
}

// A row whose content cannot be read is handed out as what it is, so that it does not hold up those behind it.
OutboxRecord RecordOf(const Rows& row, std::uint64_t identity) {
    OutboxRecord record;
    if (!DecodeContent(row.Bytes(4), record)) {
        record = {};
        record.event = kDamagedEvent;
        record.values = {{"content", std::string(row.Bytes(4)), false}};
    }
    record.sequence = static_cast<unsigned long long>(row.Integer(0));
    record.identifier = OutboxIdentifier(identity, record.sequence);
    record.time = row.Integer(1);
    record.process = static_cast<unsigned long>(row.Integer(2));
    record.kind = static_cast<OutboxKind>(std::clamp<std::int64_t>(row.Integer(3), 1, 3));
    return record;
}

Database Opened(const std::string& utf8_path, int busy_wait) {
    Database database(utf8_path, busy_wait);
    database.Execute("PRAGMA journal_size_limit=8388608; PRAGMA synchronous=FULL");
    Transaction transaction(database);
    database.Execute(
        "CREATE TABLE IF NOT EXISTS records(sequence INTEGER PRIMARY KEY, time INTEGER NOT NULL,"
        " process INTEGER NOT NULL, kind INTEGER NOT NULL, content BLOB NOT NULL);"
        "CREATE TABLE IF NOT EXISTS state(one INTEGER PRIMARY KEY CHECK(one = 1), identity BLOB NOT NULL,"
        " next INTEGER NOT NULL, displaced INTEGER NOT NULL, removed INTEGER NOT NULL,"
        " max_records INTEGER NOT NULL, max_bytes INTEGER NOT NULL);"
        "CREATE TABLE IF NOT EXISTS settings(name BLOB PRIMARY KEY, value INTEGER NOT NULL) WITHOUT ROWID");
    const OutboxLimits limits;
    database.Prepare("INSERT OR IGNORE INTO state VALUES(1, ?1, 1, 0, 0, ?2, ?3)")
        .Run(std::string_view(NewIdentity()), static_cast<std::int64_t>(limits.records),
             static_cast<std::int64_t>(limits.bytes));
    transaction.Commit();
    return database;
}

}  // namespace

std::string OutboxIdentifier(std::uint64_t identity, std::uint64_t sequence) {
    return Hex64(identity) + Hex64(sequence);
}

OutboxTables::OutboxTables(const std::string& utf8_path, int busy_wait)
    : database_(Opened(utf8_path, busy_wait)),
      read_state_(database_.Prepare("SELECT identity, next, displaced, removed, max_records, max_bytes FROM state")),
      newest_(database_.Prepare("SELECT max(sequence) FROM records")),
      write_state_(database_.Prepare("UPDATE state SET next = ?1, displaced = ?2, removed = ?3")),
      insert_(database_.Prepare("INSERT INTO records VALUES(?1, ?2, ?3, ?4, ?5)")),
      drop_oldest_(database_.Prepare("DELETE FROM records WHERE sequence = (SELECT min(sequence) FROM records)")),
      read_(database_.Prepare("SELECT sequence, time, process, kind, content FROM records WHERE sequence > ?1"
                              " ORDER BY sequence LIMIT ?2")),
      read_last_(database_.Prepare("SELECT sequence, time, process, kind, content FROM records"
                                   " ORDER BY sequence DESC LIMIT ?1")),
      remove_(database_.Prepare("DELETE FROM records WHERE sequence = ?1")),
      remove_through_(database_.Prepare("DELETE FROM records WHERE sequence <= ?1")),
      remove_before_(database_.Prepare("DELETE FROM records WHERE time < ?1")),
      setting_(database_.Prepare("SELECT value FROM settings WHERE name = ?1")),
      set_(database_.Prepare("INSERT OR REPLACE INTO settings VALUES(?1, ?2)")),
      pages_(database_.Prepare("PRAGMA page_count")),
      free_pages_(database_.Prepare("PRAGMA freelist_count")),
      page_size_(database_.Number("PRAGMA page_size")) {}

// The row of state is written only when something leaves: what has been put since then shows in the newest record.
OutboxTables::State OutboxTables::ReadState() {
    Rows row = read_state_.Query();
    if (!row.Next()) throw SqliteError(kDamagedCode, "its row of state is missing");
    State state;
    state.identity = FromHex64(row.Bytes(0));
    state.next = row.Integer(1);
    const std::int64_t newest = NumberOf(newest_.Query());
    if (state.next < 1 || newest < 0 || newest == INT64_MAX)
        throw SqliteError(kDamagedCode, "its numbering is damaged");
    state.next = std::max(state.next, newest + 1);
    state.displaced = row.Integer(2);
    state.removed = row.Integer(3);
    state.records = state.next - 1 - state.displaced - state.removed;
    state.max_records = row.Integer(4);
    state.max_pages = row.Integer(5) / page_size_;
    state.used_pages = UsedPages();
    return state;
}

void OutboxTables::Commit(Transaction& transaction, const State& state) {
    if (state.changed) write_state_.Run(state.next, state.displaced, state.removed);
    transaction.Commit();
}

std::int64_t OutboxTables::Setting(std::string_view name) { return NumberOf(setting_.Query(name)); }

std::int64_t OutboxTables::UsedPages() { return NumberOf(pages_.Query()) - NumberOf(free_pages_.Query()); }

OutboxTables::Head OutboxTables::ReadHead() {
    const State state = ReadState();
    return {state.identity, static_cast<std::uint64_t>(state.next), Setting(kFlush) != 0};
}

// Freed pages are used again before the file grows, so it never passes the limit. The pages are counted anew only when
// the bound on them, which grows with each record by the most it can take, says that there might be too many.
void OutboxTables::MakeRoom(State& state, std::int64_t records, std::int64_t pages) {
    const auto too_many_pages = [&] {
        if (state.used_pages + pages <= state.max_pages) return false;
        state.used_pages = UsedPages();
        return state.used_pages + pages > state.max_pages;
    };
    while (state.records > 0 && (state.records + records > state.max_records || too_many_pages())) {
        drop_oldest_.Run();
        if (database_.Changes() != 1) throw SqliteError(kDamagedCode, "its count of records is wrong");
        --state.records;
        ++state.displaced;
        state.changed = true;
    }
    state.used_pages += pages;
}

void OutboxTables::Store(const JournalEntry& entry, State& state) {
    MakeRoom(state, 1, PagesFor(entry.content.size(), page_size_));
    insert_.Run(state.next, entry.time, std::int64_t{entry.process}, std::int64_t{static_cast<int>(entry.kind)},
                entry.content);
    ++state.next;
    ++state.records;
}

// Entries with earlier sequences were taken in by a process that died before it emptied the journal. Later ones than
// the next are of an outbox whose file was lost: they go on in this one.
std::string_view OutboxTables::TakeIn(std::string_view journal) {
    Transaction transaction(database_);
    State state = ReadState();
    const auto taken = static_cast<std::uint64_t>(state.next);
    for (JournalEntry entry; TakeEntry(journal, entry);) {
        if (entry.sequence >= taken) Store(entry, state);
    }
    Commit(transaction, state);
    return journal;
}

bool OutboxTables::Put(const JournalEntry& entry) {
    Transaction transaction(database_);
    State state = ReadState();
    if (kBasePages + PagesFor(entry.content.size(), page_size_) > state.max_pages) return false;
    Store(entry, state);
    Commit(transaction, state);
    return true;
}

std::vector<OutboxRecord> OutboxTables::Read(unsigned long long after, std::size_t count, std::size_t bytes) {
    const std::uint64_t identity = ReadState().identity;
    std::vector<OutboxRecord> records;
    std::size_t sum = 0;
    Rows rows = read_.Query(Bounded(after), Bounded(count));
    while ((records.empty() || sum < bytes) && rows.Next()) {
        sum += rows.Bytes(4).size();
        records.push_back(RecordOf(rows, identity));
    }
    return records;
}

std::vector<OutboxRecord> OutboxTables::ReadLast(std::size_t count) {
    const std::uint64_t identity = ReadState().identity;
    std::vector<OutboxRecord> records;
    Rows rows = read_last_.Query(Bounded(count));
    while (rows.Next()) records.push_back(RecordOf(rows, identity));
    std::reverse(records.begin(), records.end());
    return records;
}

// Runs the statement with each of the arguments in one transaction.
unsigned long long OutboxTables::Removing(Statement& statement, const std::vector<std::int64_t>& arguments) {
    Transaction transaction(database_);
    State state = ReadState();
    std::int64_t count = 0;
    for (const std::int64_t argument : arguments) {
        statement.Run(argument);
        count += database_.Changes();
    }
    state.removed += count;
    state.changed = true;
    Commit(transaction, state);
    return static_cast<unsigned long long>(count);
}

unsigned long long OutboxTables::Remove(const std::vector<unsigned long long>& sequences) {
    std::vector<std::int64_t> arguments;
    arguments.reserve(sequences.size());
    for (const unsigned long long sequence : sequences) arguments.push_back(Bounded(sequence));
    return Removing(remove_, arguments);
}

unsigned long long OutboxTables::RemoveThrough(unsigned long long sequence) {
    return Removing(remove_through_, {Bounded(sequence)});
}

unsigned long long OutboxTables::RemoveBefore(long long time) { return Removing(remove_before_, {time}); }

// What gives way for this record itself is among them.
void OutboxTables::TellDrops(const JournalEntry& from) {
    Transaction transaction(database_);
    State state = ReadState();
    const std::int64_t told = Setting(kTold);
    if (state.displaced == told) return;
    MakeRoom(state, 1, PagesFor(kDropsContent, page_size_));
    const std::int64_t dropped = state.displaced - told;
    set_.Run(kTold, state.displaced);
    OutboxRecord record;
    record.event = kDroppedEvent;
    record.values = {{"dropped", std::to_string(dropped), true}, {"ever", std::to_string(state.displaced), true}};
    JournalEntry entry = from;
    const std::string content = EncodeContent(record);
    entry.kind = OutboxKind::kDropped;
    entry.content = content;
    Store(entry, state);
    Commit(transaction, state);
}

void OutboxTables::CheckWhole() {
    database_.CheckWhole();
    if (database_.Number("SELECT count(*) FROM records") != ReadState().records)
        throw SqliteError(kDamagedCode, "its count of records is wrong");
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
    status.limits = {number(0), number(1), Setting(kFlush) != 0};
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
        set_.Run(kFlush, std::int64_t{limits.flush});
        State state = ReadState();
        MakeRoom(state, 0, 0);
        Commit(transaction, state);
    }
    if (database_.Number("PRAGMA freelist_count") == 0) return;
    database_.Execute("VACUUM");
    database_.Execute("PRAGMA wal_checkpoint(TRUNCATE)");
}

}  // namespace pelora
