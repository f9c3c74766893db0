// The outbox beside one plain SQLite transaction for each record, as a program without it would write them.
#include <windows.h>

#include <sqlite3.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <unordered_map>
#include <vector>

#include "base/utf.h"
#include "base/win_error.h"
#include "base/win_process.h"
#include "benchmarks/ratio.h"
#include "benchmarks/telemetry/ten_values.h"
#include "tandor/data_report.h"
#include "tandor/event_reporter.h"

namespace tandor::bench {
namespace {

constexpr int kRecords = 4000;  // of one measurement, in all

std::filesystem::path NewFile() {
    static int number = 0;
    const auto folder = std::filesystem::temp_directory_path() / L"tandor-outbox-benchmark";
    std::filesystem::create_directories(folder);
    const auto file = folder / (std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++number) + L".db");
    return file;
}

void Remove(const std::filesystem::path& file) {
    for (const wchar_t* const part : {L"", L"-wal", L"-shm", L"-new", L"-turn"})
        std::filesystem::remove(file.native() + part);
}

// The time of all records: the benchmark goes on until the measured times are long enough together.
template <class Work>
void Measure(benchmark::State& state, Work work) {
    for (auto _ : state) {
        const std::filesystem::path file = NewFile();
        state.SetIterationTime(work(file));
        Remove(file);
    }
}

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

double FromThreads(const std::filesystem::path& file, int threads) {
    pelora::Outbox outbox(Utf8FromWide(file.native()));
    pelora::OutboxStatus status;
    if (!outbox.Status(status).empty()) throw std::runtime_error("the outbox does not open");
    const auto begin = std::chrono::steady_clock::now();
    if (!PutRecords(outbox, threads, kRecords / threads)) throw std::runtime_error("a record was refused");
    return Seconds(begin);
}

KernelHandle Writer(const std::filesystem::path& file, int count, const wchar_t* event) {
    const std::wstring command =
        L"outbox_writer.exe \"" + file.native() + L"\" 1 " + std::to_wstring(count) + L" " + event;
    StartedProcess writer = StartProcess(nullptr, command);
    if (!writer.handle) throw WindowsError("outbox_writer.exe did not start", ::GetLastError());
    return std::move(writer.handle);
}

double FromProcesses(const std::filesystem::path& file, int processes) {
    constexpr const wchar_t* kStart = L"tandor-outbox-benchmark-start";
    const KernelHandle start(::CreateEventW(nullptr, TRUE, FALSE, kStart));
    ::ResetEvent(start.Get());
    std::vector<KernelHandle> writers;
    for (int i = 0; i < processes; ++i) writers.push_back(Writer(file, kRecords / processes, kStart));
    ::Sleep(500);  // they have opened the file by then; one that has not only makes the figure worse
    const auto begin = std::chrono::steady_clock::now();
    ::SetEvent(start.Get());
    for (const KernelHandle& writer : writers) {
        DWORD code = 0;
        ::WaitForSingleObject(writer.Get(), 60'000);
        ::GetExitCodeProcess(writer.Get(), &code);
        if (code != 0) throw std::runtime_error("a record was refused");
    }
    return Seconds(begin);
}

// A database as everybody sets one up, with a prepared statement that inserts a record.
class PlainTable {
public:
    PlainTable(const std::filesystem::path& file, const char* synchronous) {
        ::sqlite3_open(Utf8FromWide(file.native()).c_str(), &database_);
        const std::string set_up =
            std::string("PRAGMA journal_mode=WAL; PRAGMA synchronous=") + synchronous +
            "; CREATE TABLE IF NOT EXISTS records(id INTEGER PRIMARY KEY, event TEXT, content TEXT)";
        ::sqlite3_exec(database_, set_up.c_str(), nullptr, nullptr, nullptr);
        ::sqlite3_prepare_v2(database_, "INSERT INTO records(event, content) VALUES(?1, ?2)", -1, &insert_, nullptr);
    }
    ~PlainTable() {
        ::sqlite3_finalize(insert_);
        ::sqlite3_close(database_);
    }
    PlainTable(const PlainTable&) = delete;
    PlainTable& operator=(const PlainTable&) = delete;

    void Insert(const std::string& content) {
        ::sqlite3_bind_text(insert_, 1, "606009101", -1, SQLITE_STATIC);
        ::sqlite3_bind_text(insert_, 2, content.data(), static_cast<int>(content.size()), SQLITE_STATIC);
        if (::sqlite3_step(insert_) != SQLITE_DONE) throw std::runtime_error(::sqlite3_errmsg(database_));
        ::sqlite3_reset(insert_);
    }

private:
    sqlite3* database_ = nullptr;
    sqlite3_stmt* insert_ = nullptr;
};

double PlainTransactions(const std::filesystem::path& file, const char* synchronous, int records) {
    PlainTable table(file, synchronous);
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < records; ++i) {
        std::string content;
        for (const auto& value : TenValues().values) content += value.text + ",";
        table.Insert(content);
    }
    return Seconds(begin);
}

// ---- Reporters

struct PlainReporter {
    void RecordTimeStamp(int tag) {
        using namespace std::chrono;
        const std::lock_guard lock(mutex);
        records[tag] = std::to_string(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
    }
    std::mutex mutex;
    std::unordered_map<int, std::string> records;
};

template <class Reporter>
Body TimeStamps(std::shared_ptr<Reporter> reporter) {
    return [reporter](benchmark::State& state) {
        int tag = 0;
        for (auto _ : state) reporter->RecordTimeStamp(tag++ & 7);
    };
}

void ReportOfNineValues(benchmark::State& state) {
    const std::string model = "Phone 12", version = "12.0.0.231", trace = "5d3f1c20";
    int number = 0;
    for (auto _ : state) {
        TandorDataReportClass::ReportTandorReport80PhonePairId(MyPhoneDataReportCode::RESULT_SUCCESS, 0, 2, model,
                                                               version, ++number, 1, 7, trace);
    }
}

void PlainReportOfNineValues(benchmark::State& state) {
    const std::filesystem::path file = NewFile();
    {
        PlainTable table(file, "NORMAL");
        int number = 0;
        for (auto _ : state) {
            const nlohmann::json document{{"result", 0},         {"errorCode", 0},          {"pairType", 2},
                                          {"model", "Phone 12"}, {"version", "12.0.0.231"}, {"duration", ++number},
                                          {"retries", 1},        {"deviceType", 7},         {"trace", "5d3f1c20"}};
            table.Insert(document.dump());
        }
    }
    Remove(file);
}

// ---- Export

constexpr int kExported = 100'000;

// Filled once; both sides write all of it into a file.
const std::filesystem::path& ExportedOutbox() {
    static const std::filesystem::path file = [] {
        const std::filesystem::path made = NewFile();
        pelora::Outbox outbox(Utf8FromWide(made.native()));
        std::vector<pelora::OutboxRecord> last;
        if (!PutRecords(outbox, 1, kExported) || !outbox.ReadLast(1, last).empty())
            throw std::runtime_error("the outbox cannot be filled");
        return made;
    }();
    return file;
}

double Export(const std::filesystem::path& to) {
    const std::filesystem::path& file = ExportedOutbox();
    const auto begin = std::chrono::steady_clock::now();
    const StartedProcess run = StartProcess(
        nullptr, L"tandorctl.exe outbox --file \"" + file.native() + L"\" export --output \"" + to.native() + L"\"");
    if (WaitForExit(run, 120'000) != DWORD{0}) throw std::runtime_error("the export failed");
    return Seconds(begin);
}

// As SQLite's own shell writes a table as JSON: each row an object of its columns, each character looked at.
double PlainDump(const std::filesystem::path& to) {
    const std::filesystem::path& file = ExportedOutbox();
    const auto begin = std::chrono::steady_clock::now();
    sqlite3* database = nullptr;
    sqlite3_stmt* select = nullptr;
    ::sqlite3_open(Utf8FromWide(file.native()).c_str(), &database);
    ::sqlite3_prepare_v2(database, "SELECT * FROM records", -1, &select, nullptr);
    std::FILE* const out = ::_wfopen(to.c_str(), L"wb");
    while (::sqlite3_step(select) == SQLITE_ROW) {
        for (int column = 0; column < ::sqlite3_column_count(select); ++column) {
            std::fprintf(out, "%s\"%s\":", column == 0 ? "{" : ",", ::sqlite3_column_name(select, column));
            if (::sqlite3_column_type(select, column) == SQLITE_INTEGER) {
                std::fputs(reinterpret_cast<const char*>(::sqlite3_column_text(select, column)), out);
                continue;
            }
            const auto* const bytes = static_cast<const unsigned char*>(::sqlite3_column_blob(select, column));
            std::fputc('"', out);
            for (int i = 0; i < ::sqlite3_column_bytes(select, column); ++i) {
                const unsigned char byte = bytes[i];
                if (byte == '"' || byte == '\\') {
                    std::fputc('\\', out);
                    std::fputc(byte, out);
                } else if (byte < 0x20 || byte > 0x7E) {
                    std::fprintf(out, "\\u%04x", byte);
                } else {
                    std::fputc(byte, out);
                }
            }
            std::fputc('"', out);
        }
        std::fputs("},\n", out);
    }
    std::fclose(out);
    ::sqlite3_finalize(select);
    ::sqlite3_close(database);
    return Seconds(begin);
}

Body Timed(std::function<double(const std::filesystem::path&)> work) {
    return [work](benchmark::State& state) { Measure(state, work); };
}

}  // namespace

void AddTelemetry() {
    const auto plain = [](const auto& file) { return PlainTransactions(file, "NORMAL", kRecords); };
    const auto from_one = [](const auto& file) { return FromThreads(file, 1); };
    Compare("RecordTimeStamp", "chrono, to_string and unordered_map under std::mutex", AtMostTimes(0.7),
            TimeStamps(Tandor::ReporterFactory::GetInstance().CreateReporter(9101, 8)),
            TimeStamps(std::make_shared<PlainReporter>()));
    Compare("report of nine values into the outbox", "nlohmann object and prepared SQLite insert", AtMostTimes(0.8),
            ReportOfNineValues, PlainReportOfNineValues);
    Compare("outbox, 4,000 records of ten values from one thread", "4,000 plain SQLite transactions", AtMostTimes(1.3),
            Timed(from_one), Timed(plain), true);
    Compare("outbox, 4,000 records of ten values from four threads", "4,000 plain SQLite transactions",
            AtMostTimes(1.0), Timed([](const auto& file) { return FromThreads(file, 4); }), Timed(plain), true);
    Compare("outbox, 4,000 records of ten values from four processes", "the same from one process", AtMostTimes(1.0),
            Timed([](const auto& file) { return FromProcesses(file, 4); }),
            Timed([](const auto& file) { return FromProcesses(file, 1); }), true);
    // A tenth as many of the slow ones.
    Compare("outbox, 4,000 records of ten values from one thread", "4,000 SQLite transactions that are flushed each",
            AtLeastAsFast(5), Timed(from_one),
            Timed([](const auto& file) { return 10 * PlainTransactions(file, "FULL", kRecords / 10); }), true);
    Compare("outbox export of 100,000 records, a program's start included",
            "the table as JSON, written as SQLite's shell does", AtMostTimes(1.5), Timed(Export), Timed(PlainDump),
            true);
}

}  // namespace tandor::bench
