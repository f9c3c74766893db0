#include "suite/sqlite/database.h"

#include <sqlite3.h>

#include <algorithm>
#include <new>
#include <thread>

namespace pelora {
namespace {

static_assert(kDamagedCode == SQLITE_CORRUPT);

[[noreturn]] void Fail(int code, sqlite3* database) {
    if ((code & 0xFF) == SQLITE_NOMEM) throw std::bad_alloc();
    throw SqliteError(code, ::sqlite3_errmsg(database));
}

void Check(int code, sqlite3* database) {
    if (code != SQLITE_OK) Fail(code, database);
}

}  // namespace

int MillisecondsUntil(Deadline deadline) {
    using std::chrono::milliseconds;
    const auto left = std::chrono::duration_cast<milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::max<milliseconds::rep>(left.count(), 0));
}

bool SqliteError::Busy() const noexcept { return code_ == SQLITE_BUSY || code_ == SQLITE_LOCKED; }

// SQLITE_ERROR comes from preparing our own, constant statements: the tables are not what they should be.
bool SqliteError::Damaged() const noexcept {
    return code_ == SQLITE_CORRUPT || code_ == SQLITE_NOTADB || code_ == SQLITE_ERROR;
}

bool SqliteError::Full() const noexcept { return code_ == SQLITE_FULL; }

Rows::~Rows() {
    if (statement_ == nullptr) return;
    ::sqlite3_reset(statement_);
    ::sqlite3_clear_bindings(statement_);
}

bool Rows::Next() {
    const int code = ::sqlite3_step(statement_);
    if (code == SQLITE_ROW) return true;
    if (code == SQLITE_DONE) return false;
    Fail(code, ::sqlite3_db_handle(statement_));
}

std::string_view Rows::Bytes(int column) const {
    const void* const data = ::sqlite3_column_blob(statement_, column);
    return {static_cast<const char*>(data), static_cast<std::size_t>(::sqlite3_column_bytes(statement_, column))};
}

std::int64_t Rows::Integer(int column) const { return ::sqlite3_column_int64(statement_, column); }

bool Rows::IsNull(int column) const { return ::sqlite3_column_type(statement_, column) == SQLITE_NULL; }

Statement::Statement(sqlite3* database, const char* sql) {
    sqlite3_stmt* statement = nullptr;
    const int code = ::sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    statement_.reset(statement);
    Check(code, database);
}

void Statement::Finalize::operator()(sqlite3_stmt* statement) const noexcept { ::sqlite3_finalize(statement); }

void Statement::Bind(int index, std::int64_t value) {
    Check(::sqlite3_bind_int64(statement_.get(), index, value), ::sqlite3_db_handle(statement_.get()));
}

void Statement::Bind(int index, std::string_view bytes) {
    const char* const data = bytes.empty() ? "" : bytes.data();  // a null pointer would bind NULL
    Check(::sqlite3_bind_blob64(statement_.get(), index, data, bytes.size(), SQLITE_TRANSIENT),
          ::sqlite3_db_handle(statement_.get()));
}

Database::Connection Database::Opened(const std::string& utf8_path) {
    sqlite3* database = nullptr;
    const int code = ::sqlite3_open_v2(utf8_path.c_str(), &database,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    Connection connection(database);
    if (database == nullptr) throw std::bad_alloc();
    Check(code, database);
    return connection;
}

Database::Database(const std::string& utf8_path, int busy_wait)
    : database_(Opened(utf8_path)),
      begin_(Prepare("BEGIN IMMEDIATE")),
      commit_(Prepare("COMMIT")),
      roll_back_(Prepare("ROLLBACK")) {
    UseWriteAheadLog(std::chrono::steady_clock::now() + std::chrono::milliseconds(busy_wait));
    BusyTimeout(busy_wait);
    Execute("PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON");
}

void Database::WaitUntil(Deadline deadline) { BusyTimeout(MillisecondsUntil(deadline)); }

void Database::BusyTimeout(int milliseconds) {
    Check(::sqlite3_busy_timeout(database_.get(), milliseconds), database_.get());
}

// The change to this mode, and the recovery of a log that a killed process left, can report "busy" without asking the
// busy handler: that is waited for here, and by the handler not at all.
void Database::UseWriteAheadLog(Deadline deadline) {
    for (;;) {
        try {
            Statement mode = Prepare("PRAGMA journal_mode=WAL");
            Rows rows = mode.Query();
            if (rows.Next() && rows.Bytes(0) == "wal") return;
            throw SqliteError(SQLITE_CANTOPEN, "the file system does not serve a write-ahead log");
        } catch (const SqliteError& error) {
            if (!error.Busy() || std::chrono::steady_clock::now() >= deadline) throw;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void Database::Execute(const char* sql) {
    Check(::sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr), database_.get());
}

std::int64_t Database::First(Statement statement) {
    Rows rows = statement.Query();
    return rows.Next() ? rows.Integer(0) : 0;
}

void Database::CheckWhole() {
    Statement check = Prepare("PRAGMA integrity_check(1)");
    Rows rows = check.Query();
    if (rows.Next() && rows.Bytes(0) != "ok") throw SqliteError(SQLITE_CORRUPT, std::string(rows.Bytes(0)));
}

// As SQLite's documentation of the switch describes it: the schema is asked for first, and that this fails is no
// matter.
void Database::Empty(const std::string& utf8_path, int busy_wait) {
    const Connection connection = Opened(utf8_path);
    sqlite3* const database = connection.get();
    Check(::sqlite3_busy_timeout(database, busy_wait), database);
    ::sqlite3_exec(database, "PRAGMA application_id", nullptr, nullptr, nullptr);
    Check(::sqlite3_db_config(database, SQLITE_DBCONFIG_RESET_DATABASE, 1, nullptr), database);
    Check(::sqlite3_exec(database, "VACUUM", nullptr, nullptr, nullptr), database);
    Check(::sqlite3_db_config(database, SQLITE_DBCONFIG_RESET_DATABASE, 0, nullptr), database);
}

bool Database::ReadOnly() const noexcept { return ::sqlite3_db_readonly(database_.get(), "main") == 1; }

int Database::Changes() const noexcept { return ::sqlite3_changes(database_.get()); }

void Database::Close::operator()(sqlite3* database) const noexcept { ::sqlite3_close_v2(database); }

Transaction::~Transaction() {
    if (!open_) return;
    try {
        database_.roll_back_.Run();
    } catch (const std::exception&) {  // it was rolled back with the failure that led here
    }
}

void Transaction::Commit() {
    database_.commit_.Run();
    open_ = false;
}

}  // namespace pelora
