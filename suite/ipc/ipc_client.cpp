#include <windows.h>

#include <deque>
#include <memory>
#include <mutex>

#include "base/win_handle.h"
#include "pelora/ipc_messages.h"
#include "suite/ipc/ipc_frame.h"

namespace {

constexpr std::size_t kMostFrames = 256;
constexpr std::size_t kMostBytes = 1024 * 1024;

// A frame on its way into the pipe. It stays where it is while the system writes it.
struct Posted {
    std::string frame;
    tandor::KernelHandle event;
    OVERLAPPED overlapped{};
    bool under_way = false;
};

}  // namespace

// Writes that are under way at the same time reach the pipe in the order in which they were begun, so the queue needs
// no thread: each post begins its own write and looks after those that ended.
class IPCMessageClient::Impl {
public:
    Impl(int client, bool reconnect, bool wait_for_server, std::wstring pipe_name)
        : client_(client), reconnect_(reconnect), wait_(wait_for_server), name_(std::move(pipe_name)) {}
    ~Impl() { Withdraw(); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    bool Post(const TagIPCMessageItem& item) {
        auto frame = pelora::BuildFrame(client_, item);
        if (!frame) return false;
        const std::lock_guard lock(mutex_);
        DropWritten();
        if (queue_.size() >= kMostFrames || bytes_ + frame->size() > kMostBytes) return false;
        auto posted = std::make_unique<Posted>();
        posted->frame = std::move(*frame);
        posted->event.Reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
        if (!posted->event) return false;
        bytes_ += posted->frame.size();
        queue_.push_back(std::move(posted));
        // A server that ended and came back is met with the first post to its new pipe.
        if (BeginWrites() || BeginWrites() || wait_) return true;
        bytes_ -= queue_.back()->frame.size();
        queue_.pop_back();
        return false;
    }

private:
    bool Connect() {
        if (pipe_) return true;
        if (lost_ && !reconnect_) return false;
        // Identification alone: a false server cannot act as the one who posts.
        constexpr DWORD kFlags = FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
        pipe_.Reset(::CreateFileW(name_.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, kFlags, nullptr));
        return static_cast<bool>(pipe_);
    }

    // Begins to write what is not under way yet. After a failure nothing is under way, and the pipe is closed.
    bool BeginWrites() {
        if (!Connect()) return false;
        for (const auto& posted : queue_) {
            if (posted->under_way) continue;
            posted->overlapped = {};
            posted->overlapped.hEvent = posted->event.Get();
            const auto size = static_cast<DWORD>(posted->frame.size());
            posted->under_way =
                ::WriteFile(pipe_.Get(), posted->frame.data(), size, nullptr, &posted->overlapped) != 0 ||
                ::GetLastError() == ERROR_IO_PENDING;
            if (posted->under_way) continue;
            Withdraw();
            return false;
        }
        return true;
    }

    // Takes what the pipe has out of the queue. A write that failed says that the server went away: what it did not
    // take is for the next one.
    void DropWritten() {
        while (!queue_.empty() && queue_.front()->under_way && HasOverlappedIoCompleted(&queue_.front()->overlapped)) {
            if (!Written(*queue_.front(), FALSE)) return Withdraw();
            DropFirst();
        }
    }

    // The system lets go of every frame, and of the pipe.
    void Withdraw() {
        if (!pipe_) return;
        ::CancelIoEx(pipe_.Get(), nullptr);
        bool in_order = true;
        std::size_t written = 0;
        for (const auto& posted : queue_) {
            if (!posted->under_way) break;
            in_order = Written(*posted, TRUE) && in_order;
            written += in_order ? 1 : 0;
            posted->under_way = false;
        }
        while (written-- > 0) DropFirst();
        pipe_.Reset();
        lost_ = true;
    }

    bool Written(Posted& posted, BOOL wait) {
        DWORD written = 0;
        return ::GetOverlappedResult(pipe_.Get(), &posted.overlapped, &written, wait) != 0 &&
               written == posted.frame.size();
    }

    void DropFirst() {
        bytes_ -= queue_.front()->frame.size();
        queue_.pop_front();
    }

    const int client_;
    const bool reconnect_, wait_;
    const std::wstring name_;
    std::mutex mutex_;  // of what follows
    tandor::FileHandle pipe_;
    std::deque<std::unique_ptr<Posted>> queue_;
    std::size_t bytes_ = 0;
    bool lost_ = false;
};

IPCMessageClient::IPCMessageClient(int clientId, bool reconnect, bool waitForServer, const std::wstring& pipeName)
    : impl_(new Impl(clientId, reconnect, waitForServer, pipeName)) {}

IPCMessageClient::~IPCMessageClient() { delete impl_; }

bool IPCMessageClient::PostIPCMessage(const TagIPCMessageItem& item) noexcept {
    try {
        return impl_->Post(item);
    } catch (const std::bad_alloc&) {
        return false;
    }
}
