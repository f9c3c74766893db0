#include "app/store_look.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <memory>

#include "app/command.h"

namespace tandor::app {
namespace {

struct CloseDatabase {
    void operator()(sqlite3* database) const noexcept { ::sqlite3_close(database); }
};
using DatabasePointer = std::unique_ptr<sqlite3, CloseDatabase>;

// Where a journal lies beside the file somebody has it open, or was killed with it: reading must take part in their
// locks. Without one the file alone holds everything, and nothing at all is made beside it.
DatabasePointer OpenForReading(const std::filesystem::path& file) {
    std::filesystem::path journal = file;
    journal += "-wal";
    std::error_code ignored;
    std::string uri = "file:///";
    for (const char letter : TextOf(std::filesystem::absolute(file))) {
        const bool plain = std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == ':' || letter == '.';
        letter == '\\' ? uri += '/'
        : plain        ? uri += letter
                       : uri += fmt::format("%{:02X}", static_cast<unsigned char>(letter));
    }
    uri += std::filesystem::exists(journal, ignored) ? "?mode=ro" : "?mode=ro&immutable=1";
    sqlite3* database = nullptr;
    ::sqlite3_open_v2(uri.c_str(), &database, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
    if (database == nullptr) throw std::bad_alloc();
    ::sqlite3_busy_timeout(database, 2000);
    return DatabasePointer(database);
}

// The first value of the first row as text; the code says whether there was one.
int FirstValue(sqlite3* database, const std::string& sql, std::string& value) {
    sqlite3_stmt* statement = nullptr;
    int code = ::sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr);
    if (code == SQLITE_OK) code = ::sqlite3_step(statement);
    if (code == SQLITE_ROW) value = reinterpret_cast<const char*>(::sqlite3_column_text(statement, 0));
    ::sqlite3_finalize(statement);
    return code;
}

// A statement that names the table fails as a whole when there is none.
std::string ForeignTrouble(sqlite3* database, const std::string& table) {
    std::string ignored;
    switch (FirstValue(database, "SELECT 1 FROM " + table + " LIMIT 1", ignored)) {
        case SQLITE_NOTADB:
            return "it is not a database";
        case SQLITE_ERROR:
            return ::sqlite3_errmsg(database);
        default:
            return {};
    }
}

}  // namespace

std::string WhyForeign(const std::filesystem::path& file, const std::string& table) {
    return ForeignTrouble(OpenForReading(file).get(), table);
}

StoreLook LookAtStore(const std::filesystem::path& file, const std::string& table) {
    using State = StoreLook::State;
    StoreLook look;
    std::error_code error;
    look.bytes = std::filesystem::file_size(file, error);
    if (error) return std::filesystem::exists(file, error) ? StoreLook{State::kUnreadable, "it is not a file"} : look;
    const DatabasePointer database = OpenForReading(file);
    const auto state = [&](State kind, const std::string& trouble) {
        look.state = kind;
        look.trouble = trouble;
        return look;
    };
    const std::string foreign = ForeignTrouble(database.get(), table);
    if (!foreign.empty()) return state(State::kForeign, foreign);
    std::string value;
    int code = FirstValue(database.get(), "PRAGMA quick_check(1)", value);
    if (code == SQLITE_CORRUPT) return state(State::kDamaged, ::sqlite3_errmsg(database.get()));
    if (code != SQLITE_ROW) return state(State::kUnreadable, ::sqlite3_errmsg(database.get()));
    if (value != "ok") return state(State::kDamaged, value);
    code = FirstValue(database.get(), "SELECT count(*) FROM " + table, value);
    if (code != SQLITE_ROW) return state(State::kUnreadable, ::sqlite3_errmsg(database.get()));
    look.rows = std::stoll(value);
    return state(State::kWhole, "");
}

}  // namespace tandor::app
