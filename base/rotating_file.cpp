#include "base/rotating_file.h"

#include "base/utf.h"
#include "base/win_error.h"

namespace tandor {
namespace {

constexpr std::uint64_t kRenameRetry = 1000;  // ms
constexpr int kLockTries = 100;               // of 2 ms: a writer that hangs must not hang the others
constexpr int kFollowTries = 5;

FileHandle OpenShared(const std::filesystem::path& path, DWORD access, DWORD disposition) {
    return FileHandle(::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool SameFile(HANDLE a, HANDLE b) {
    BY_HANDLE_FILE_INFORMATION first{};
    BY_HANDLE_FILE_INFORMATION second{};
    return ::GetFileInformationByHandle(a, &first) != 0 && ::GetFileInformationByHandle(b, &second) != 0 &&
           first.nFileIndexLow == second.nFileIndexLow && first.nFileIndexHigh == second.nFileIndexHigh &&
           first.dwVolumeSerialNumber == second.dwVolumeSerialNumber;
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
    Open();
}

void RotatingFile::Open() {
    // Append access without write access makes every write land at the end, whatever other processes do meanwhile.
    FileHandle file =
        OpenShared(path_, FILE_APPEND_DATA | FILE_READ_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE, OPEN_ALWAYS);
    if (!file) throw WindowsError("cannot open " + Utf8FromWideLossy(path_.native()), ::GetLastError());
    file_ = std::move(file);
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
bool RotatingFile::LockCurrent() {
    for (int attempt = 0; attempt < kFollowTries; ++attempt) {
        const bool locked = LockOnce();
        const FileHandle current = OpenShared(path_, FILE_READ_ATTRIBUTES, OPEN_EXISTING);
        if (current && SameFile(current.Get(), file_.Get())) return locked;
        if (locked) Unlock();
        Open();
    }
    return false;
}

void RotatingFile::Unlock() noexcept {
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
    const auto oldest = RotatedName(rotated_files_);
    if (::DeleteFileW(oldest.c_str()) == 0 && ::GetLastError() != ERROR_FILE_NOT_FOUND) {
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

std::string RotatingFile::Append(std::string_view records) try {
    bool locked = writers_ == Writers::kManyProcesses && LockCurrent();
    const bool may_rename = locked || writers_ == Writers::kOneProcess;
    std::string trouble;
    const std::uint64_t size = Size();
    if (may_rename && size > 0 && size + records.size() > max_size_ && ::GetTickCount64() >= next_rename_) {
        trouble = Rotate();
        if (locked) Unlock();
        locked = false;
        if (trouble.empty()) {
            Open();
        } else {
            next_rename_ = ::GetTickCount64() + kRenameRetry;
        }
    }
    DWORD written = 0;
    if (::WriteFile(file_.Get(), records.data(), static_cast<DWORD>(records.size()), &written, nullptr) == 0 ||
        written != records.size()) {
        trouble = InWords("cannot write", path_, ::GetLastError());
    }
    if (locked) Unlock();
    return trouble;
} catch (const std::system_error& error) {
    return error.what();
}

}  // namespace tandor
