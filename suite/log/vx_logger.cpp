#include <windows.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/lock.h"
#include "base/rotating_file.h"
#include "base/utf.h"
#include "pelora/file_info.h"
#include "pelora/log_service.h"

namespace {

constexpr std::uint64_t kMaxSize = 2 * 1024 * 1024;
constexpr std::size_t kFilesKept = 64;
constexpr std::uint64_t kOpenRetry = 10'000;     // ms between attempts to open a log that could not be opened
constexpr std::size_t kMostWaiting = 10'000;     // messages for observers that are slower than the process logs
constexpr std::size_t kLargestKept = 64 * 1024;  // bytes of a line's memory

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

// A file that somebody has open stays: its process may be alive and silent for long.
void RemoveUnused(const std::filesystem::path& path) {
    const tandor::FileHandle file(
        ::CreateFileW(path.c_str(), DELETE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
}

// Processes come and go, and each leaves a file: the oldest beyond the limit go.
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
    for (const auto& [age, path] : by_age) RemoveUnused(path);
}

void AppendNumber(unsigned long value, int digits, char end, std::string& line) {
    char text[12];
    char* at = text + sizeof(text);
    for (*--at = end; digits > 0 || value != 0; --digits, value /= 10) *--at = static_cast<char>('0' + value % 10);
    line.append(at, text + sizeof(text));
}

// "2026-01-31 09:05:07.042 [1234:5678] I text"
void FormLine(LOG_MESSAGE_LEVEL level, std::wstring_view message, std::string& line) {
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    line.clear();
    AppendNumber(now.wYear, 4, '-', line);
    AppendNumber(now.wMonth, 2, '-', line);
    AppendNumber(now.wDay, 2, ' ', line);
    AppendNumber(now.wHour, 2, ':', line);
    AppendNumber(now.wMinute, 2, ':', line);
    AppendNumber(now.wSecond, 2, '.', line);
    AppendNumber(now.wMilliseconds, 3, ' ', line);
    line += '[';
    AppendNumber(::GetCurrentProcessId(), 1, ':', line);
    AppendNumber(::GetCurrentThreadId(), 1, ']', line);
    line += ' ';
    line += level >= 0 && level <= 6 ? "TDDIECO"[level] : '?';
    line += ' ';
    const std::size_t begin = line.size();
    tandor::AppendUtf8Lossy(message, line);
    std::replace_if(
        line.begin() + static_cast<std::ptrdiff_t>(begin), line.end(), [](char c) { return c == '\r' || c == '\n'; },
        ' ');
    line += "\r\n";
}

}  // namespace

// Observers are called outside the lock by one thread at a time, the one that found nobody calling: it also delivers
// what other threads log meanwhile. So all messages arrive in order, and no thread waits for another one's observer.
class VxLogger::Impl {
public:
    void Log(LOG_MESSAGE_LEVEL level, std::wstring_view message) {
        std::unique_lock lock(lock_);
        try {
            Write(level, message);
        } catch (...) {  // no memory
            ++lost_;
            throw;
        }
        const DWORD self = ::GetCurrentThreadId();
        if (observers_.empty() || deliverer_ == self || waiting_.size() >= kMostWaiting) return;
        waiting_.push_back({logged_ + 1, level, std::wstring(message)});
        ++logged_;
        if (deliverer_ != 0) return;
        const Delivering delivering(*this);
        while (!waiting_.empty()) {
            const Message next = std::move(waiting_.front());
            waiting_.pop_front();
            Deliver(next, lock);
        }
    }

    std::uint64_t Subscribe(LOG_MESSAGE_LEVEL lowest, Observer observer) {
        const std::lock_guard lock(lock_);
        observers_.emplace(++last_, std::make_shared<Subscriber>(Subscriber{lowest, std::move(observer)}));
        return last_;
    }

    void Unsubscribe(std::uint64_t subscription) {
        std::unique_lock lock(lock_);
        const std::uint64_t last = logged_;
        const auto elsewhere = [&] { return deliverer_ != 0 && deliverer_ != ::GetCurrentThreadId(); };
        while (elsewhere() && delivered_ < last) progress_.Wait(lock_);
        observers_.erase(subscription);
        // The message on its way now may still be handed to the one that leaves.
        for (const std::uint64_t now = delivered_; elsewhere() && delivered_ == now;) progress_.Wait(lock_);
    }

    [[nodiscard]] std::uint64_t Lost() const { return lost_; }

private:
    struct Message {
        std::uint64_t number;
        LOG_MESSAGE_LEVEL level;
        std::wstring text;
    };
    struct Subscriber {
        LOG_MESSAGE_LEVEL lowest;
        Observer observer;
    };

    class Delivering {
    public:
        explicit Delivering(Impl& log) : log_(log) { log_.deliverer_ = ::GetCurrentThreadId(); }
        ~Delivering() {
            log_.deliverer_ = 0;
            log_.progress_.WakeAll();
        }
        Delivering(const Delivering&) = delete;
        Delivering& operator=(const Delivering&) = delete;

    private:
        Impl& log_;
    };

    void Deliver(const Message& message, std::unique_lock<tandor::Lock>& lock) {
        std::vector<std::shared_ptr<const Subscriber>> subscribers;
        for (const auto& [number, subscriber] : observers_) {
            if (message.level >= subscriber->lowest) subscribers.push_back(subscriber);
        }
        lock.unlock();
        for (const auto& subscriber : subscribers) {
            try {
                subscriber->observer(message.level, message.text);
            } catch (...) {  // promised in the header: an observer cannot harm whoever logs
            }
        }
        lock.lock();
        delivered_ = message.number;
        progress_.WakeAll();
    }

    void Write(LOG_MESSAGE_LEVEL level, std::wstring_view message) {
        tandor::RotatingFile::Outcome outcome{};
        if (file_ || Open()) {
            FormLine(level, message, line_);
            outcome = file_->Append(line_);
            if (line_.size() > kLargestKept) line_ = {};
            if (!outcome.trouble.empty()) ::OutputDebugStringA(outcome.trouble.c_str());
        }
        if (!outcome.written) ++lost_;
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

    tandor::Lock lock_;  // of everything below
    std::unique_ptr<tandor::RotatingFile> file_;
    std::string line_;
    std::uint64_t next_open_ = 0;
    std::atomic<std::uint64_t> lost_{0};
    std::map<std::uint64_t, std::shared_ptr<const Subscriber>> observers_;
    std::uint64_t last_ = 0;
    std::deque<Message> waiting_;
    std::uint64_t logged_ = 0;     // the number of the last message for observers
    std::uint64_t delivered_ = 0;  // and of the last that they have seen
    DWORD deliverer_ = 0;          // the thread that calls them
    tandor::Condition progress_;
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
    } catch (const std::exception& error) {  // no memory: for the line, which is counted, or for the observers
        ::OutputDebugStringA(error.what());
    }
}

std::uint64_t VxLogger::Subscribe(LOG_MESSAGE_LEVEL lowest, Observer observer) {
    return unloading ? 0 : impl_->Subscribe(lowest, std::move(observer));
}

void VxLogger::Unsubscribe(std::uint64_t subscription) noexcept {
    if (!unloading) impl_->Unsubscribe(subscription);
}

std::uint64_t VxLogger::Lost() const noexcept { return unloading ? 0 : impl_->Lost(); }
