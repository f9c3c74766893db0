#include "base/rotating_file.h"

#include "base/utf.h"
#include "base/win_error.h"

namespace tandor {
namespace {

constexpr std::uint64_t kRenameRetry = 1000;  // ms

std::string InWords(const char* action, const std::filesystem::path& path, DWORD code) {
    return std::string(action) + " " + Utf8FromWideLossy(path.native()) + ": " + WindowsErrorText(code);
}

bool Exists(const std::filesystem::path& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES || ::GetLastError() != ERROR_FILE_NOT_FOUND;
}

// The system's reason, as when somebody holds the file open; 0 when it can move, or is not there.
DWORD KeptFromMoving(const std::filesystem::path& path) {
    const FileHandle file(::CreateFileW(path.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    const DWORD error = ::GetLastError();
    return file || error == ERROR_FILE_NOT_FOUND ? 0 : error;
}

std::filesystem::path WithEnd(std::filesystem::path path, const wchar_t* end) {
    path += end;
    return path;
}

}  // namespace

// Held while one append looks at the shared words, the files and their names.
class RotatingFile::Turn {
public:
    explicit Turn(RotatingFile& file) : file_(file) {
        if (file_.turn_) taken_ = file_.turn_->Take();
        // Whoever died may have been renaming: everybody opens the file by its name again.
        if (taken_ == SharedTurn::Taken::kFromTheDead) file_.words_->generation.fetch_add(1);
    }
    ~Turn() {
        if (file_.turn_ && Held()) file_.turn_->Give();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    [[nodiscard]] bool Held() const { return taken_ != SharedTurn::Taken::kNo; }

private:
    RotatingFile& file_;
    SharedTurn::Taken taken_ = SharedTurn::Taken::kYes;
};

RotatingFile::RotatingFile(std::filesystem::path path, std::uint64_t max_size, unsigned rotated_files, Writers writers)
    : path_(std::move(path)), max_size_(max_size), rotated_files_(rotated_files) {
    std::error_code ignored;  // the open below fails with the cause that matters
    std::filesystem::create_directories(path_.parent_path(), ignored);
    if (writers == Writers::kManyProcesses) words_ = &turn_.emplace(WithEnd(path_, L".turn")).Shared();
    const Turn turn(*this);
    if (!Open(turn)) throw WindowsError("cannot open " + Utf8FromWideLossy(path_.native()), ::GetLastError());
}

// What was open stays open when this fails: a record must have somewhere to go.
bool RotatingFile::Open(const Turn& turn) noexcept {
    // Append access without write access makes every write land at the end; where the system does not do that in one
    // step, the turn does.
    FileHandle file(::CreateFileW(path_.c_str(), FILE_APPEND_DATA | FILE_READ_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (!file || ::GetFileSizeEx(file.Get(), &size) == 0) return false;
    file_ = std::move(file);
    // Without the turn, others may be adding to it.
    if (turn.Held()) words_->size = static_cast<std::uint64_t>(size.QuadPart);
    generation_ = words_->generation;
    return true;
}

std::filesystem::path RotatingFile::RotatedName(unsigned number) const {
    if (number == 0) return path_;
    return path_.parent_path() /
           (path_.stem().wstring() + L"." + std::to_wstring(number) + path_.extension().wstring());
}

// The bytes in the file are counted, not asked for; before a rename they are asked for.
bool RotatingFile::Full(std::size_t more) noexcept {
    const auto full = [&] { return words_->size > 0 && words_->size + more > max_size_; };
    if (!full()) return false;
    LARGE_INTEGER size{};
    if (::GetFileSizeEx(file_.Get(), &size) != 0) words_->size = static_cast<std::uint64_t>(size.QuadPart);
    return full();
}

// The files move up to the first free name; only when there is none does the oldest go, and not before the newest can
// move. So a rotation that stopped half way, because somebody held a file open or the process died, drops nothing when
// it is taken up again.
std::string RotatingFile::Rotate() {
    if (const DWORD error = KeptFromMoving(path_); error != 0) return InWords("cannot rename", path_, error);
    unsigned last = 1;
    while (last < rotated_files_ && Exists(RotatedName(last))) ++last;
    const auto oldest = RotatedName(last);
    if (Exists(oldest)) {
        // Renamed before it is deleted: a deleted file keeps its name as long as a process that fell behind has it
        // open.
        const auto dropped = WithEnd(oldest, L".dropped");
        if (::MoveFileExW(oldest.c_str(), dropped.c_str(), MOVEFILE_REPLACE_EXISTING) == 0)
            return InWords("cannot drop", oldest, ::GetLastError());
        ::DeleteFileW(dropped.c_str());
    }
    for (unsigned number = last; number > 0; --number) {
        const auto from = RotatedName(number - 1);
        if (::MoveFileExW(from.c_str(), RotatedName(number).c_str(), 0) == 0 &&
            ::GetLastError() != ERROR_FILE_NOT_FOUND) {
            return InWords("cannot rename", from, ::GetLastError());
        }
    }
    words_->generation.fetch_add(1);
    return {};
}

// A record of which only a part could be written, as on a full disk, is ended before the next one.
void RotatingFile::EndTornRecord() noexcept {
    constexpr std::string_view kLineEnd = "\r\n";
    DWORD written = 0;
    if (::WriteFile(file_.Get(), kLineEnd.data(), static_cast<DWORD>(kLineEnd.size()), &written, nullptr) != 0 &&
        written == kLineEnd.size()) {
        words_->torn = 0;
        words_->size += written;
    }
}

RotatingFile::Outcome RotatingFile::Write(std::string_view records) {
    DWORD written = 0;
    const bool done =
        ::WriteFile(file_.Get(), records.data(), static_cast<DWORD>(records.size()), &written, nullptr) != 0;
    const DWORD error = ::GetLastError();
    words_->size += written;
    if (written == records.size()) return {true, {}};
    if (written != 0) words_->torn = 1;
    return {false, InWords("cannot write", path_, done ? ERROR_DISK_FULL : error)};
}

RotatingFile::Outcome RotatingFile::Append(std::string_view records) {
    const Turn turn(*this);
    std::string trouble;
    if (generation_ != words_->generation) (void)Open(turn);  // tried again with each record
    if (words_->torn != 0) EndTornRecord();
    if (turn.Held() && Full(records.size()) && ::GetTickCount64() >= next_rename_) {
        trouble = Rotate();
        if (trouble.empty() && !Open(turn)) trouble = InWords("cannot open", path_, ::GetLastError());
        if (!trouble.empty()) next_rename_ = ::GetTickCount64() + kRenameRetry;
    }
    Outcome outcome = Write(records);
    if (outcome.written) outcome.trouble = std::move(trouble);
    return outcome;
}

}  // namespace tandor
