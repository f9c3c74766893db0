// SQLite for the suite's stores: databases that several processes write, as values and exceptions.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace pelora {

// How long a call waits at most for other processes.
inline constexpr int kBusyWait = 10'000;  // ms

// When a call has waited long enough for others.
using Deadline = std::chrono::steady_clock::time_point;
int MillisecondsUntil(Deadline deadline);  // 0 when it is past

// For contents that contradict themselves where SQLite cannot see it.
inline constexpr int kDamagedCode = 11;  // SQLITE_CORRUPT

class SqliteError : public std::runtime_error {
public:
    SqliteError(int code, const std::string& what) : std::runtime_error(what), code_(code & 0xFF) {}
    [[nodiscard]] bool Busy() const noexcept;
    // The file is not a database, its pages contradict one another, or tables are missing.
    [[nodiscard]] bool Damaged() const noexcept;
    // The disk has no room for it.
    [[nodiscard]] bool Full() const noexcept;

private:
    int code_;
};

// The rows of a statement under way. The statement is free again at the end.
class Rows {
public:
    explicit Rows(sqlite3_stmt* statement) noexcept : statement_(statement) {}
    Rows(Rows&& other) noexcept : statement_(other.statement_) { other.statement_ = nullptr; }
    Rows& operator=(Rows&&) = delete;
    ~Rows();

    bool Next();
    // Valid until the next call of Next.
    [[nodiscard]] std::string_view Bytes(int column) const;
    [[nodiscard]] std::int64_t Integer(int column) const;
    [[nodiscard]] bool IsNull(int column) const;

private:
    sqlite3_stmt* statement_;
};

// A prepared statement, used again and again by one thread at a time.
class Statement {
public:
    Statement(sqlite3* database, const char* sql);

    // Binds the arguments, whole numbers and bytes, to ?1, ?2 and so on.
    template <class... Arguments>
    Rows Query(const Arguments&... arguments) {
        Rows rows(statement_.get());
        int index = 0;
        (Bind(++index, arguments), ...);
        return rows;
    }
    // For statements that give no rows.
    template <class... Arguments>
    void Run(const Arguments&... arguments) {
        Query(arguments...).Next();
    }

private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const noexcept;
    };
    void Bind(int index, std::int64_t value);
    void Bind(int index, std::string_view bytes);

    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// One connection, in WAL mode; used by one thread at a time.
class Database {
public:
    // Opens or creates the file. Here and in each operation it waits for other processes for at most `busy_wait`
    // milliseconds. Throws SqliteError.
    explicit Database(const std::string& utf8_path, int busy_wait = kBusyWait);

    // Makes a database without tables of one that may be damaged, while other connections have it open. Throws
    // SqliteError.
    static void Empty(const std::string& utf8_path, int busy_wait);

    // How long the operations from here on wait.
    void WaitUntil(Deadline deadline);
    void Execute(const char* sql);
    Statement Prepare(const char* sql) { return {database_.get(), sql}; }
    [[nodiscard]] std::int64_t Number(const char* sql) { return First(Prepare(sql)); }
    // Reads all pages; throws SqliteError for what contradicts itself.
    void CheckWhole();
    // The file could not be opened for writing.
    [[nodiscard]] bool ReadOnly() const noexcept;
    // Rows that the last statement changed.
    [[nodiscard]] int Changes() const noexcept;

private:
    struct Close {
        void operator()(sqlite3* database) const noexcept;
    };
    friend class Transaction;
    using Connection = std::unique_ptr<sqlite3, Close>;
    static Connection Opened(const std::string& utf8_path);
    static std::int64_t First(Statement statement);
    void UseWriteAheadLog(Deadline deadline);
    void BusyTimeout(int milliseconds);

    Connection database_;
    Statement begin_, commit_, roll_back_;
};

// Everything until Commit happens as a whole or not at all. Holds the store against other writers.
class Transaction {
public:
    explicit Transaction(Database& database) : database_(database) { database_.begin_.Run(); }
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();

private:
    Database& database_;
    bool open_ = true;
};

}  // namespace pelora
