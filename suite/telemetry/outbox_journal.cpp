#include "suite/telemetry/outbox_journal.h"

#include "base/utf.h"
#include "base/win_error.h"

namespace pelora {
namespace {

std::filesystem::path Beside(std::filesystem::path database, const wchar_t* end) {
    database += end;
    return database;
}

}  // namespace

OutboxJournal::OutboxJournal(const std::filesystem::path& database)
    : turn_(Beside(database, L"-turn")),
      words_(turn_.Shared()),
      shared_(*static_cast<Shared*>(turn_.Room())),
      path_(Beside(database, L"-new")),
      file_(::CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE,
                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL, nullptr)) {
    if (!file_) throw Failure("cannot open ");
}

std::system_error OutboxJournal::Failure(const char* what, DWORD code) const {
    return tandor::WindowsError(what + tandor::Utf8FromWideLossy(path_.native()), code);
}

// The entry counts with the size, which is set last: what a failure or a death leaves behind it is written over.
void OutboxJournal::Append(std::string_view entry) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(words_.size);
    DWORD written = 0;
    if (::WriteFile(file_.Get(), entry.data(), static_cast<DWORD>(entry.size()), &written, &place) == 0)
        throw Failure("cannot write ");
    if (written != entry.size()) throw Failure("cannot write ", ERROR_DISK_FULL);
    words_.size += written;
    ++appends_;
}

std::string OutboxJournal::Read() const {
    LARGE_INTEGER size{};
    if (::GetFileSizeEx(file_.Get(), &size) == 0) throw Failure("cannot read ");
    std::string bytes(static_cast<std::size_t>(std::min<LONGLONG>(size.QuadPart, kLargest)), '\0');
    OVERLAPPED beginning{};
    DWORD read = 0;
    if (!bytes.empty() &&
        ::ReadFile(file_.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, &beginning) == 0) {
        throw Failure("cannot read ");
    }
    bytes.resize(read);
    return bytes;
}

// A file that cannot be cut keeps entries that lie in the tables; they are known by their sequences.
void OutboxJournal::Clear() noexcept {
    words_.size = 0;
    const LARGE_INTEGER beginning{};
    if (::SetFilePointerEx(file_.Get(), beginning, nullptr, FILE_BEGIN) != 0) ::SetEndOfFile(file_.Get());
}

void OutboxJournal::Flush(std::uint64_t interval) {
    const std::uint64_t wanted = appends_;
    if (::GetTickCount64() - shared_.flushed < interval) return;
    const std::lock_guard lock(flushing_);
    const std::uint64_t now = ::GetTickCount64();
    if (flushed_appends_ >= wanted || now - shared_.flushed < interval) return;
    shared_.flushed = now;
    const std::uint64_t appends = appends_;
    if (::FlushFileBuffers(file_.Get()) == 0) throw Failure("cannot flush ");
    flushed_appends_ = appends;
}

}  // namespace pelora
