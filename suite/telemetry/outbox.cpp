#include "pelora/outbox.h"

#include <windows.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

#include "base/utf.h"
#include "pelora/file_info.h"
#include "pelora/log_service.h"
#include "suite/sqlite/damaged_file.h"
#include "suite/telemetry/group_commit.h"
#include "suite/telemetry/outbox_tables.h"
#include "suite/telemetry/record_codec.h"
#include "suite/telemetry/writer_turn.h"

namespace pelora {
namespace {

using namespace std::chrono_literals;
constexpr auto kTurnWait = 2000ms;    // for the other processes' turns
constexpr int kSqliteWait = 1000;     // ms, when somebody writes without a turn
constexpr auto kGatherWait = 3000ms;  // for the own process's writer, before it begins with this record
constexpr std::uint64_t kMinBytes = 64 * 1024;
constexpr const char* kNoMemory = "out of memory";

// FNV-1a, 64 bits: http://www.isthe.com/chongo/tech/comp/fnv/
std::wstring TurnName(const std::filesystem::path& file) {
    std::error_code error;
    std::wstring whole = std::filesystem::absolute(file, error).native();
    ::CharLowerBuffW(whole.data(), static_cast<DWORD>(whole.size()));
    std::uint64_t hash = 14695981039346656037ULL;
    for (const wchar_t unit : whole) hash = (hash ^ unit) * 1099511628211ULL;
    return L"PeloraOutbox-" + std::to_wstring(hash);
}

void WriteHostLog(const std::string& trouble) noexcept {
    try {
        std::wstringstream message;
        message << L"[Outbox]" << tandor::WideFromUtf8Lossy(trouble);
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
        try {
            PendingRecord pending{&record, EncodeContent(record), kNoMemory};
            if (pending.content.size() > kLargestRecord) {
                pending.trouble = "a record of " + std::to_string(pending.content.size()) +
                                  " bytes is beyond the largest, 1 MiB; report less at once";
            } else {
                record.process = ::GetCurrentProcessId();
                const auto deadline = Gathering::Clock::now() + kGatherWait;
                const bool written = gathering_.Submit(pending, deadline, [this](auto take) { Write(take); });
                if (!written) pending.trouble = "other threads held it for 3 s";
            }
            Tell(pending.trouble);
            return pending.trouble;
        } catch (const std::exception&) {
            return kNoMemory;
        }
    }

    // An operation that changes something waits for its turn; one that reads alone does not.
    template <class Operation>
    std::string Run(bool changes, Operation operation) noexcept {
        try {
            std::optional<WriterTurn::Hold> hold;
            const std::lock_guard lock(mutex_);
            if (changes) hold.emplace(Turn(), kTurnWait);
            const std::string trouble = Attempt(operation);
            return trouble.empty() ? trouble : utf8_ + ": " + trouble;
        } catch (const std::exception&) {
            return kNoMemory;
        }
    }

    OutboxStatus Status(OutboxTables& tables) {
        OutboxStatus status = tables.Status();
        status.file = utf8_;
        return status;
    }

private:
    using Gathering = GroupCommit<PendingRecord>;

    void Write(const Gathering::Take& take) noexcept {
        Gathering::Batch batch;
        try {
            const std::lock_guard lock(mutex_);
            const WriterTurn::Hold hold(Turn(), kTurnWait);
            batch = take();
            for (PendingRecord* const pending : batch) pending->trouble.clear();
            const std::string trouble = Attempt([&](OutboxTables& tables) { tables.Put(batch); });
            if (trouble.empty()) return;
            for (PendingRecord* const pending : batch) pending->trouble = utf8_ + ": " + trouble;
        } catch (const std::exception&) {
            for (PendingRecord* const pending : batch) pending->trouble.assign(kNoMemory);
        }
    }

    // A damaged file is set aside, and the operation done with a new one.
    template <class Operation>
    std::string Attempt(Operation operation) {
        try {
            try {
                operation(Opened());
            } catch (const SqliteError& error) {
                if (!error.Damaged()) throw;
                tables_.reset();
                const std::string done =
                    SetAsideDamaged(file_, error.what(), [this] { OutboxTables(utf8_, kSqliteWait).CheckWhole(); });
                if (!done.empty()) WriteHostLog(utf8_ + ": " + done);
                operation(Opened());
            }
            return {};
        } catch (const std::bad_alloc&) {
            return kNoMemory;
        } catch (const SqliteError& error) {
            if (error.Busy()) return "other processes held it too long";
            tables_.reset();
            return error.what();
        }
    }

    OutboxTables& Opened() {
        if (tables_) return *tables_;
        std::error_code ignored;  // the open below fails with the cause that matters
        std::filesystem::create_directories(file_.parent_path(), ignored);
        tables_ = std::make_unique<OutboxTables>(utf8_, kSqliteWait);
        return *tables_;
    }

    const WriterTurn& Turn() {
        if (!turn_) turn_.emplace(TurnName(file_));
        return *turn_;
    }

    // A trouble that stays is told once, until a record is stored again.
    void Tell(const std::string& trouble) {
        {
            const std::lock_guard lock(told_mutex_);
            if (trouble == told_) return;
            told_ = trouble;
        }
        if (!trouble.empty()) WriteHostLog(trouble);
    }

    const std::filesystem::path file_;
    const std::string utf8_;
    Gathering gathering_;
    std::mutex mutex_;  // of what follows
    std::optional<WriterTurn> turn_;
    std::unique_ptr<OutboxTables> tables_;
    std::mutex told_mutex_;
    std::string told_;
};

// The process's own outbox is not closed at unload: other threads may have been ended inside SQLite by then, and its
// locks with them. The system closes the files, and whoever opens them next goes on from the journal.
Outbox& Outbox::GetInstance() {
    static Outbox* const instance = new Outbox(FileInfo::GetPeloraCommDir() + "\\telemetry\\outbox.db");
    return *instance;
}

Outbox::Outbox(const std::string& file) : impl_(new Impl(file)) {}

Outbox::~Outbox() { delete impl_; }

std::string Outbox::Put(OutboxRecord& record) noexcept { return impl_->Put(record); }

std::string Outbox::Read(unsigned long long after, std::size_t count, std::size_t bytes,
                         std::vector<OutboxRecord>& records) noexcept {
    return impl_->Run(false, [&](OutboxTables& tables) { records = tables.Read(after, count, bytes); });
}

std::string Outbox::ReadLast(std::size_t count, std::vector<OutboxRecord>& records) noexcept {
    return impl_->Run(false, [&](OutboxTables& tables) { records = tables.ReadLast(count); });
}

std::string Outbox::Remove(const std::vector<unsigned long long>& sequences, unsigned long long& removed) noexcept {
    return impl_->Run(true, [&](OutboxTables& tables) { removed = tables.Remove(sequences); });
}

std::string Outbox::RemoveThrough(unsigned long long sequence, unsigned long long& removed) noexcept {
    return impl_->Run(true, [&](OutboxTables& tables) { removed = tables.RemoveThrough(sequence); });
}

std::string Outbox::Status(OutboxStatus& status) noexcept {
    return impl_->Run(false, [&](OutboxTables& tables) { status = impl_->Status(tables); });
}

std::string Outbox::SetLimits(const OutboxLimits& limits) noexcept {
    if (limits.records < 1 || limits.bytes < kMinBytes || limits.records > INT64_MAX || limits.bytes > INT64_MAX) {
        return "limits: at least 1 record and 65,536 bytes";
    }
    return impl_->Run(true, [&](OutboxTables& tables) { tables.SetLimits(limits); });
}

}  // namespace pelora
