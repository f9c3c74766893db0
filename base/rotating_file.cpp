#include "base/rotating_file.h"

#include <cstring>

#include "base/utf.h"
#include "base/win_error.h"

namespace tandor {
namespace {

constexpr std::uint64_t kRenameRetry = 1000;  // ms
constexpr int kLockTries = 1000;              // of 2 ms: a writer that hangs must not hang the others
constexpr int kFollowTries = 100;             // of 1 ms and more: whoever renames may be held up
constexpr std::uint64_t kNearlyFull = RotatingFile::kLargestAppend + 2 * 1024;  // more than one append

FileHandle OpenShared(const std::filesystem::path& path, DWORD access, DWORD disposition) {
    return FileHandle(::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool SameFile(HANDLE a, HANDLE b) {
    FILE_ID_INFO first{};
    FILE_ID_INFO second{};
    return ::GetFileInformationByHandleEx(a, FileIdInfo, &first, sizeof(first)) != 0 &&
           ::GetFileInformationByHandleEx(b, FileIdInfo, &second, sizeof(second)) != 0 &&
           std::memcmp(&first, &second, sizeof(first)) == 0;
}

// Whether `path` names the open file. Equal size and time of the last write tell so at little cost; only when they
// differ, which a write in between can cause, the files' identifiers are asked for.
bool Names(const std::filesystem::path& path, HANDLE file) {
    WIN32_FILE_ATTRIBUTE_DATA named{};
    LARGE_INTEGER size{};
    FILE_BASIC_INFO times{};
    if (::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &named) == 0) return false;
    if (::GetFileSizeEx(file, &size) != 0 &&
        ::GetFileInformationByHandleEx(file, FileBasicInfo, &times, sizeof(times)) != 0 &&
        static_cast<DWORD>(size.HighPart) == named.nFileSizeHigh && size.LowPart == named.nFileSizeLow &&
        static_cast<DWORD>(times.LastWriteTime.HighPart) == named.ftLastWriteTime.dwHighDateTime &&
        times.LastWriteTime.LowPart == named.ftLastWriteTime.dwLowDateTime) {
        return true;
    }
    const FileHandle current = OpenShared(path, FILE_READ_ATTRIBUTES, OPEN_EXISTING);
    return current && SameFile(current.Get(), file);
}

// The lock lies far behind the end of the file, where it is in no reader's way.
OVERLAPPED LockPlace() {
    OVERLAPPED place{};
    place.OffsetHigh = 0x40000000;
    return place;
}

std::string InWords(const char* action, const std::filesystem::path& path, DWORD code) {
    return std::string(action) + " " + Utf8FromWideLossy(path.native()) + ": " + WindowsErrorText(code);
}

}  // namespace

RotatingFile::RotatingFile(std::filesystem::path path, std::uint64_t max_size, unsigned rotated_files, Writers writers)
    : path_(std::move(path)), max_size_(max_size), rotated_files_(rotated_files), writers_(writers) {
    std::error_code ignored;  // the open below fails with the cause that matters
    std::filesystem::create_directories(path_.parent_path(), ignored);
    if (!Open()) throw WindowsError("cannot open " + Utf8FromWideLossy(path_.native()), ::GetLastError());
}

// What was open stays open when this fails: a record must have somewhere to go.
bool RotatingFile::Open() noexcept {
    // Append access without write access makes every write land at the end; where the system does not do that in one
    // step, the lock does.
    FileHandle file =
        OpenShared(path_, FILE_APPEND_DATA | FILE_READ_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE, OPEN_ALWAYS);
    if (!file) return false;
    file_ = std::move(file);
    return true;
}

bool RotatingFile::LockOnce() noexcept {
    OVERLAPPED place = LockPlace();
    for (int attempt = 0; attempt < kLockTries; ++attempt) {
        if (::LockFileEx(file_.Get(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) != 0)
            return true;
        ::Sleep(attempt == 0 ? 0 : 2);
    }
    return false;
}

// After another process renamed the files our handle still leads to the renamed one: only when the locked file is the
// one that the path names is the lock worth anything.
bool RotatingFile::LockCurrent() noexcept {
    if (writers_ == Writers::kOneProcess) return true;
    for (int attempt = 0; attempt < kFollowTries; ++attempt) {
        const bool locked = LockOnce();
        if (!NearlyFull() || Names(path_, file_.Get())) return locked;
        if (locked) Unlock();
        if (!Open()) ::Sleep(1);  // somebody is in the middle of renaming it
    }
    return false;
}

void RotatingFile::Unlock() noexcept {
    if (writers_ == Writers::kOneProcess) return;
    OVERLAPPED place = LockPlace();
    ::UnlockFileEx(file_.Get(), 0, 1, 0, &place);
}

std::uint64_t RotatingFile::Size() const noexcept {
    LARGE_INTEGER size{};
    return ::GetFileSizeEx(file_.Get(), &size) != 0 ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

std::filesystem::path RotatingFile::RotatedName(unsigned number) const {
    if (number == 0) return path_;
    return path_.parent_path() /
           (path_.stem().wstring() + L"." + std::to_wstring(number) + path_.extension().wstring());
}

std::string RotatingFile::Rotate() {
    // Renamed before it is deleted: a deleted file keeps its name as long as a process that fell behind has it open.
    const auto oldest = RotatedName(rotated_files_);
    auto dropped = oldest;
    dropped += L".dropped-" + std::to_wstring(::GetCurrentProcessId());
    if (::MoveFileExW(oldest.c_str(), dropped.c_str(), MOVEFILE_REPLACE_EXISTING) != 0) {
        ::DeleteFileW(dropped.c_str());
    } else if (::GetLastError() != ERROR_FILE_NOT_FOUND) {
        return InWords("cannot drop", oldest, ::GetLastError());
    }
    for (unsigned number = rotated_files_; number > 0; --number) {
        const auto from = RotatedName(number - 1);
        if (::MoveFileExW(from.c_str(), RotatedName(number).c_str(), 0) == 0 &&
            ::GetLastError() != ERROR_FILE_NOT_FOUND) {
            return InWords("cannot rename", from, ::GetLastError());
        }
    }
    return {};
}

// Only a file that is nearly full can have been renamed by another process: before that nobody has to look.
bool RotatingFile::NearlyFull() const noexcept { return Size() + kNearlyFull > max_size_; }

std::string RotatingFile::Append(std::string_view records) {
    std::string trouble;
    bool locked = LockCurrent();
    const bool full = NearlyFull() && Size() > 0 && Size() + records.size() > max_size_;
    if (full && locked && ::GetTickCount64() >= next_rename_) {
        trouble = Rotate();
        Unlock();
        if (trouble.empty() && !Open()) trouble = InWords("cannot open", path_, ::GetLastError());
        if (!trouble.empty()) next_rename_ = ::GetTickCount64() + kRenameRetry;
        locked = LockCurrent();
    }
    DWORD written = 0;
    if (::WriteFile(file_.Get(), records.data(), static_cast<DWORD>(records.size()), &written, nullptr) == 0 ||
        written != records.size()) {
        trouble = InWords("cannot write", path_, ::GetLastError());
    }
    if (locked) Unlock();
    return trouble;
}

}  // namespace tandor
