#include "pelora/outbox.h"

#include <windows.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

#include "base/send_interval.h"
#include "base/utf.h"
#include "base/wall_clock.h"
#include "pelora/file_info.h"
#include "pelora/log_service.h"
#include "suite/sqlite/damaged_file.h"
#include "suite/telemetry/outbox_journal.h"
#include "suite/telemetry/outbox_tables.h"

namespace pelora {
namespace {

using namespace std::chrono_literals;
constexpr int kSqliteWait = 1000;                     // ms, for programs that write the file without a turn
constexpr auto kThreadsWait = 2000ms;                 // for the own process's other threads
constexpr std::uint64_t kFlushInterval = 1000;        // ms
constexpr unsigned long long kTellInterval = 60'000;  // ms
constexpr std::size_t kLargestRecord = 4 * 1024 * 1024;
constexpr std::uint64_t kMinBytes = 64 * 1024;
constexpr const char* kNoMemory = "out of memory";
constexpr const char* kNoTurn = "other processes held it too long";

std::int64_t Now() { return static_cast<std::int64_t>(tandor::WallClockMilliseconds()); }

// `more` lines like it were not written.
void WriteHostLog(const std::string& line, unsigned more = 0) noexcept {
    try {
        std::wstringstream message;
        message << L"[Outbox]" << tandor::WideFromUtf8Lossy(line);
        if (more > 0) message << L" (and " << more << L" more records were refused since the last line)";
        VxLogger::GetInstance().Log(LOG_MESSAGE_ERROR, message);
    } catch (const std::exception&) {  // no memory to say it with
    }
}

}  // namespace

class Outbox::Impl {
public:
    explicit Impl(const std::string& file)
        : file_(tandor::WideFromUtf8Lossy(file)), utf8_(tandor::Utf8FromWideLossy(file_.native())) {}

    std::string Put(OutboxRecord& record) noexcept {
        std::string trouble;
        try {
            const std::string content = EncodeContent(record);
            if (content.size() > kLargestRecord) {
                trouble = "a record of " + std::to_string(content.size()) +
                          " bytes is beyond the largest, 4 MiB; report less at once";
            } else {
                trouble = InTurn([&] { return Store(record, content); });
                if (trouble.empty()) journal_->Flush(journal_->Words().flush_all != 0 ? 0 : kFlushInterval);
            }
        } catch (const std::system_error& error) {
            trouble = error.what();
        } catch (const std::exception&) {
            trouble = kNoMemory;
        }
        if (!trouble.empty()) Tell(trouble);
        return trouble;
    }

    // An operation on the tables, which hold all records then.
    template <class Operation>
    std::string Run(Operation operation) noexcept {
        return InTurn([&]() -> std::string {
            TakeIn();
            operation(*tables_);
            Publish(*tables_);
            return {};
        });
    }

    OutboxStatus Status(OutboxTables& tables) {
        OutboxStatus status = tables.Status();
        status.file = utf8_;
        return status;
    }

private:
    // Runs the operation, whose result is what went wrong, as the only thread of all processes, on an outbox that is
    // open.
    template <class Operation>
    std::string InTurn(Operation operation) noexcept {
        std::string trouble, set_aside;
        try {
            if (!mutex_.try_lock() && !mutex_.try_lock_for(kThreadsWait))
                return utf8_ + ": other threads held it too long";
            const std::lock_guard held(mutex_, std::adopt_lock);
            trouble = Attempt(operation);
            set_aside.swap(set_aside_);
        } catch (const std::exception&) {
            return kNoMemory;
        }
        // Under no lock: whoever observes the log may report.
        if (!set_aside.empty()) WriteHostLog(utf8_ + ": " + set_aside);
        return trouble.empty() ? trouble : utf8_ + ": " + trouble;
    }

    template <class Operation>
    std::string Attempt(Operation operation) {
        try {
            if (!journal_) {
                std::error_code ignored;  // the open below fails with the cause that matters
                std::filesystem::create_directories(file_.parent_path(), ignored);
                journal_ = std::make_unique<OutboxJournal>(file_);
            }
            const OutboxJournal::Turn turn(*journal_);
            return turn.Held() ? Repaired(operation) : kNoTurn;
        } catch (const std::bad_alloc&) {
            return kNoMemory;
        } catch (const SqliteError& error) {
            if (error.Busy()) return kNoTurn;
            tables_.reset();
            return error.what();
        } catch (const std::system_error& error) {
            return error.what();
        }
    }

    // A damaged file is set aside, and the operation done with a new one.
    template <class Operation>
    std::string Repaired(Operation operation) {
        try {
            Open();
            return operation();
        } catch (const SqliteError& error) {
            if (!error.Damaged()) throw;
            tables_.reset();
            auto [done, text] =
                damaged_.SetAside(error.what(), [this] { OutboxTables(utf8_, kSqliteWait).CheckWhole(); });
            if (!done) return text;
            set_aside_ = std::move(text);
        }
        Open();
        return operation();
    }

    // Only the journal's own bytes say what lies in it when this process comes first: the shared words may be those of
    // a time before the power failed.
    void Open() {
        if (tables_) return;
        auto tables = std::make_unique<OutboxTables>(utf8_, kSqliteWait);
        tables->TakeIn(journal_->Read());
        Publish(*tables);
        journal_->Clear();
        tables_ = std::move(tables);
    }

    void TakeIn() {
        const std::size_t size = journal_->Size();
        if (size == 0) return;
        const std::string bytes = journal_->Read();
        const std::string_view entries = std::string_view(bytes).substr(0, size);
        const std::size_t rest = tables_->TakeIn(entries).size() + (size - entries.size());
        if (rest > 0) set_aside_ = std::to_string(rest) + " bytes of new records were damaged and are lost";
        Publish(*tables_);
        journal_->Clear();
    }

    void Publish(OutboxTables& tables) {
        const OutboxTables::Head head = tables.ReadHead();
        journal_->Words().identity = head.identity;
        journal_->Words().next = head.next;
        journal_->Words().flush_all = head.flush ? 1 : 0;
    }

    std::string Store(OutboxRecord& record, const std::string& content) {
        const bool small = content.size() <= OutboxJournal::kLargestContent;
        if (!small || !journal_->HasRoomFor(kEntryHead + content.size())) TakeIn();
        OutboxJournal::Shared& words = journal_->Words();
        const JournalEntry entry{words.next, Now(), ::GetCurrentProcessId(), record.kind, content};
        if (small) {
            journal_->Append(EncodeEntry(entry));
        } else if (!tables_->Put(entry)) {
            return "the record's " + std::to_string(content.size()) +
                   " bytes do not fit the outbox's limit; raise the limit";
        }
        record.sequence = entry.sequence;
        record.identifier = OutboxIdentifier(words.identity, entry.sequence);
        record.time = entry.time;
        record.process = entry.process;
        words.next = entry.sequence + 1;
        return {};
    }

    // Troubles come with each record; one a minute is told.
    void Tell(const std::string& trouble) noexcept {
        if (tell_.Pass(::GetTickCount64())) {
            WriteHostLog(trouble, untold_.exchange(0));
        } else {
            ++untold_;
        }
    }

    const std::filesystem::path file_;
    const std::string utf8_;
    std::timed_mutex mutex_;  // of what follows; the journal stays once it is there
    DamagedFile damaged_{file_};
    std::unique_ptr<OutboxJournal> journal_;
    std::unique_ptr<OutboxTables> tables_;
    std::string set_aside_;  // what is to be told of it
    tandor::SendInterval tell_{kTellInterval};
    std::atomic<unsigned> untold_{0};
};

// The process's own outbox is not closed at unload: other threads may have been ended inside SQLite by then, and its
// locks with them. The system closes the files, and whoever opens them next goes on from the journals.
Outbox& Outbox::GetInstance() {
    static Outbox* const instance = new Outbox(FileInfo::GetPeloraCommDir() + "\\telemetry\\outbox.db");
    return *instance;
}

Outbox::Outbox(const std::string& file) : impl_(new Impl(file)) {}

Outbox::~Outbox() { delete impl_; }

std::string Outbox::Put(OutboxRecord& record) noexcept { return impl_->Put(record); }

std::string Outbox::Read(unsigned long long after, std::size_t count, std::size_t bytes,
                         std::vector<OutboxRecord>& records) noexcept {
    return impl_->Run([&](OutboxTables& tables) { records = tables.Read(after, count, bytes); });
}

std::string Outbox::ReadLast(std::size_t count, std::vector<OutboxRecord>& records) noexcept {
    return impl_->Run([&](OutboxTables& tables) { records = tables.ReadLast(count); });
}

std::string Outbox::Remove(const std::vector<unsigned long long>& sequences, unsigned long long& removed) noexcept {
    return impl_->Run([&](OutboxTables& tables) { removed = tables.Remove(sequences); });
}

std::string Outbox::RemoveThrough(unsigned long long sequence, unsigned long long& removed) noexcept {
    return impl_->Run([&](OutboxTables& tables) { removed = tables.RemoveThrough(sequence); });
}

std::string Outbox::RemoveBefore(long long time, unsigned long long& removed) noexcept {
    return impl_->Run([&](OutboxTables& tables) { removed = tables.RemoveBefore(time); });
}

std::string Outbox::TellDrops() noexcept {
    return impl_->Run([](OutboxTables& tables) {
        JournalEntry from;
        from.time = Now();
        from.process = ::GetCurrentProcessId();
        tables.TellDrops(from);
    });
}

std::string Outbox::Status(OutboxStatus& status) noexcept {
    return impl_->Run([&](OutboxTables& tables) { status = impl_->Status(tables); });
}

std::string Outbox::SetLimits(const OutboxLimits& limits) noexcept {
    if (limits.records < 1 || limits.bytes < kMinBytes || limits.records > INT64_MAX || limits.bytes > INT64_MAX) {
        return "limits: at least 1 record and 65,536 bytes";
    }
    return impl_->Run([&](OutboxTables& tables) { tables.SetLimits(limits); });
}

}  // namespace pelora
