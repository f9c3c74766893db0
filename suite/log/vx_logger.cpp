#include <windows.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/rotating_file.h"
#include "base/utf.h"
#include "pelora/file_info.h"
#include "pelora/log_service.h"

namespace {

constexpr std::uint64_t kMaxSize = 2 * 1024 * 1024;
constexpr std::size_t kFilesKept = 64;
constexpr std::uint64_t kOpenRetry = 10'000;  // ms between attempts to open a log that could not be opened

std::atomic<bool> unloading{false};

std::filesystem::path Directory() {
    return std::filesystem::path(tandor::WideFromUtf8(FileInfo::GetPeloraCommDir())) / L"log" / L"host";
}

std::filesystem::path LogPath() {
    std::wstring program(32768, L'\0');
    program.resize(::GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    return Directory() / (std::filesystem::path(program).stem().wstring() + L"-" +
                          std::to_wstring(::GetCurrentProcessId()) + L".log");
}

// "<program>-<process id>.log" or the older "<program>-<process id>.1.log".
bool IsHostLog(const std::filesystem::directory_entry& entry) {
    std::error_code error;
    if (entry.is_symlink(error) || !entry.is_regular_file(error)) return false;
    const std::filesystem::path file = entry.path().filename();
    std::wstring_view name(file.native());
    const auto drop = [&name](std::wstring_view end) {
        const bool there = name.ends_with(end);
        if (there) name.remove_suffix(end.size());
        return there;
    };
    if (!drop(L".log")) return false;
    drop(L".1");
    const std::size_t digits = name.find_last_not_of(L"0123456789") + 1;
    return digits > 1 && digits < name.size() && name[digits - 1] == L'-';
}

// Processes come and go, and each leaves a file: the oldest beyond the limit go. Those of living processes are in use.
// Nothing but host logs is touched: the folder's name may have been made to lead somewhere else.
void RemoveOldFiles() {
    std::error_code error;
    std::vector<std::filesystem::directory_entry> files;
    for (std::filesystem::directory_iterator entry(Directory(), error), end; !error && entry != end;
         entry.increment(error)) {
        if (IsHostLog(*entry)) files.push_back(*entry);
    }
    if (files.size() <= kFilesKept) return;
    std::vector<std::pair<std::filesystem::file_time_type, std::filesystem::path>> by_age;
    by_age.reserve(files.size());
    for (const auto& file : files) by_age.emplace_back(file.last_write_time(error), file.path());
    std::sort(by_age.begin(), by_age.end());
    by_age.resize(files.size() - kFilesKept);
    for (const auto& [age, path] : by_age) std::filesystem::remove(path, error);
}

// "2026-01-31 09:05:07.042 [1234:5678] I text"
void AppendLine(LOG_MESSAGE_LEVEL level, std::wstring_view message, std::string& line) {
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    char head[80];
    const char letter = level >= 0 && level <= 6 ? "TDDIECO"[level] : '?';
    const int length = std::snprintf(head, sizeof(head), "%04u-%02u-%02u %02u:%02u:%02u.%03u [%lu:%lu] %c ", now.wYear,
                                     now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds,
                                     ::GetCurrentProcessId(), ::GetCurrentThreadId(), letter);
    line.assign(head, static_cast<std::size_t>(length));
    const std::size_t begin = line.size();
    tandor::AppendUtf8Lossy(message, line);
    std::replace_if(
        line.begin() + static_cast<std::ptrdiff_t>(begin), line.end(), [](char c) { return c == '\r' || c == '\n'; },
        ' ');
    line += "\r\n";
}

}  // namespace

class VxLogger::Impl {
public:
    void Log(LOG_MESSAGE_LEVEL level, std::wstring_view message) {
        const std::lock_guard lock(mutex_);
        Write(level, message);
        if (observing_) return;
        observing_ = true;
        for (const auto& [number, observer] : observers_) {
            try {
                observer(level, message);
            } catch (...) {  // promised in the header: an observer cannot harm whoever logs
            }
        }
        observing_ = false;
    }

    std::uint64_t Subscribe(Observer observer) {
        const std::lock_guard lock(mutex_);
        observers_.emplace(++last_, std::move(observer));
        return last_;
    }

    void Unsubscribe(std::uint64_t subscription) {
        const std::lock_guard lock(mutex_);
        observers_.erase(subscription);
    }

private:
    void Write(LOG_MESSAGE_LEVEL level, std::wstring_view message) {
        if (!file_ && !Open()) return;
        AppendLine(level, message, line_);
        const std::string trouble = file_->Append(line_);
        if (!trouble.empty()) ::OutputDebugStringA(trouble.c_str());
    }

    bool Open() {
        if (::GetTickCount64() < next_open_) return false;
        next_open_ = ::GetTickCount64() + kOpenRetry;
        try {
            RemoveOldFiles();
            file_ = std::make_unique<tandor::RotatingFile>(LogPath(), kMaxSize, 1,
                                                           tandor::RotatingFile::Writers::kOneProcess);
        } catch (const std::exception& error) {
            ::OutputDebugStringA(error.what());  // there is no other place left to say it
        }
        return file_ != nullptr;
    }

    std::recursive_mutex mutex_;  // an observer may log
    std::unique_ptr<tandor::RotatingFile> file_;
    std::string line_;
    std::uint64_t next_open_ = 0;
    std::map<std::uint64_t, Observer> observers_;
    std::uint64_t last_ = 0;
    bool observing_ = false;
};

VxLogger::VxLogger() : impl_(new Impl) {}

VxLogger::~VxLogger() {
    unloading = true;
    delete impl_;
}

VxLogger& VxLogger::GetInstance() {
    static VxLogger instance;
    return instance;
}

void VxLogger::Log(LOG_MESSAGE_LEVEL level, std::wstringstream& message) noexcept {
    if (unloading) return;
    try {
        impl_->Log(level, message.view());
    } catch (const std::exception& error) {
        ::OutputDebugStringA(error.what());
    }
}

std::uint64_t VxLogger::Subscribe(Observer observer) { return unloading ? 0 : impl_->Subscribe(std::move(observer)); }

void VxLogger::Unsubscribe(std::uint64_t subscription) noexcept {
    if (!unloading) impl_->Unsubscribe(subscription);
}
