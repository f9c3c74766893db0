// The outbox beside one plain SQLite transaction for each record, as a program without it would write them.
#include <windows.h>

#include <sqlite3.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>

#include "base/utf.h"
#include "base/win_error.h"
#include "base/win_process.h"
#include "benchmarks/ratio.h"
#include "benchmarks/telemetry/ten_values.h"

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
    for (const wchar_t* const part : {L"", L"-wal", L"-shm"}) std::filesystem::remove(file.native() + part);
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

double FromProcesses(const std::filesystem::path& file) {
    constexpr const wchar_t* kStart = L"tandor-outbox-benchmark-start";
    const KernelHandle start(::CreateEventW(nullptr, TRUE, FALSE, kStart));
    ::ResetEvent(start.Get());
    const KernelHandle writers[] = {Writer(file, kRecords / 4, kStart), Writer(file, kRecords / 4, kStart),
                                    Writer(file, kRecords / 4, kStart), Writer(file, kRecords / 4, kStart)};
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

double PlainTransactions(const std::filesystem::path& file) {
    sqlite3* database = nullptr;
    ::sqlite3_open(Utf8FromWide(file.native()).c_str(), &database);
    ::sqlite3_exec(database,
                   "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
                   "CREATE TABLE records(id INTEGER PRIMARY KEY, event TEXT, content TEXT)",
                   nullptr, nullptr, nullptr);
    sqlite3_stmt* insert = nullptr;
    ::sqlite3_prepare_v2(database, "INSERT INTO records(event, content) VALUES(?1, ?2)", -1, &insert, nullptr);
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < kRecords; ++i) {
        std::string content;
        for (const auto& value : TenValues().values) content += value.text + ",";
        ::sqlite3_bind_text(insert, 1, "606009101", -1, SQLITE_STATIC);
        ::sqlite3_bind_text(insert, 2, content.data(), static_cast<int>(content.size()), SQLITE_STATIC);
        if (::sqlite3_step(insert) != SQLITE_DONE) throw std::runtime_error(::sqlite3_errmsg(database));
        ::sqlite3_reset(insert);
    }
    const double seconds = Seconds(begin);
    ::sqlite3_finalize(insert);
    ::sqlite3_close(database);
    return seconds;
}

}  // namespace

void AddTelemetry() {
    const Body plain = [](benchmark::State& state) { Measure(state, PlainTransactions); };
    // 5,000 and 3,000 records a second are 800 and 1,333 ms.
    Compare(
        "outbox, 4,000 records of ten values from four threads", "4,000 plain SQLite transactions", AtMostTimes(1.0),
        [](benchmark::State& state) { Measure(state, [](const auto& file) { return FromThreads(file, 4); }); }, plain,
        true);
    Compare(
        "outbox, 4,000 records of ten values from four processes", "4,000 plain SQLite transactions", AtMostTimes(2.0),
        [](benchmark::State& state) { Measure(state, FromProcesses); }, plain, true);
}

}  // namespace tandor::bench
