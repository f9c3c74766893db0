#include "suite/sqlite/damaged_file.h"

#include <windows.h>

#include <chrono>
#include <thread>

#include "base/utf.h"
#include "base/win_error.h"
#include "base/win_handle.h"
#include "suite/sqlite/database.h"

namespace pelora {
namespace {

constexpr int kGuardTries = 100;              // of 20 ms
constexpr int kEmptyWait = 2000;              // ms, for what other processes are doing with the file
constexpr std::uint64_t kTryInterval = 5000;  // ms

// Held by the one process that sets a damaged database aside: an open of this file that shares nothing.
tandor::FileHandle HoldGuard(const std::filesystem::path& path) {
    for (int attempt = 0; attempt < kGuardTries; ++attempt) {
        tandor::FileHandle guard(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                               FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        if (guard) return guard;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return {};
}

std::wstring NowAsName() {
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    wchar_t text[32];
    ::swprintf(text, std::size(text), L"%04u%02u%02u-%02u%02u%02u-%03u", now.wYear, now.wMonth, now.wDay, now.wHour,
               now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

const std::wstring kParts[] = {L"", L"-wal", L"-shm"};  // of a database; the last two may not be there

// Returns 0, or the system's error.
DWORD Rename(const std::filesystem::path& file, const std::filesystem::path& aside) {
    if (::MoveFileExW(file.c_str(), aside.c_str(), 0) == 0) return ::GetLastError();
    for (const std::wstring& part : {kParts[1], kParts[2]})
        ::MoveFileExW((file.native() + part).c_str(), (aside.native() + part).c_str(), 0);
    return 0;
}

DWORD CopyAndEmpty(const std::filesystem::path& file, const std::filesystem::path& aside) {
    for (const std::wstring& part : {kParts[0], kParts[1]}) {
        const DWORD error = ::CopyFileW((file.native() + part).c_str(), (aside.native() + part).c_str(), TRUE) != 0
                                ? ERROR_SUCCESS
                                : ::GetLastError();
        if (error != ERROR_SUCCESS && (part.empty() || error != ERROR_FILE_NOT_FOUND)) return error;
    }
    try {
        Database::Empty(tandor::Utf8FromWideLossy(file.native()), kEmptyWait);
    } catch (...) {
        for (const std::wstring& part : {kParts[0], kParts[1]}) ::DeleteFileW((aside.native() + part).c_str());
        throw;
    }
    return 0;
}

}  // namespace

DamagedFile::DamagedFile(const std::filesystem::path& file) : file_(file) {}

SettingAside DamagedFile::SetAside(const std::string& cause, const std::function<void()>& check) {
    if (!last_.done && ::GetTickCount64() < next_try_) return last_;
    last_ = Try(cause, check);
    next_try_ = ::GetTickCount64() + kTryInterval;
    return last_;
}

SettingAside DamagedFile::Try(const std::string& cause, const std::function<void()>& check) const {
    const tandor::FileHandle guard = HoldGuard(file_.native() + L".guard");
    if (!guard) return {false, cause + "; another process is busy with it"};
    const std::filesystem::path aside =
        file_.parent_path() / (file_.stem().native() + L".damaged-" + NowAsName() + file_.extension().native());
    try {
        check();
        return {true, {}};
    } catch (const SqliteError& error) {
        if (!error.Damaged()) return {false, error.what()};
    }
    std::string trouble;
    try {
        DWORD error = Rename(file_, aside);
        if (error == ERROR_SHARING_VIOLATION) error = CopyAndEmpty(file_, aside);
        if (error != 0) trouble = tandor::WindowsErrorText(error);
    } catch (const SqliteError& error) {
        trouble = error.what();
    }
    if (!trouble.empty()) return {false, cause + "; it could not be set aside: " + trouble};
    return {true,
            cause + "; it was set aside as " + tandor::Utf8FromWideLossy(aside.native()) + " and a new one is begun"};
}

}  // namespace pelora
