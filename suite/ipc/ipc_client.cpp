#include <windows.h>

#include <chrono>
#include <mutex>

#include "base/win_handle.h"
#include "pelora/ipc_messages.h"
#include "suite/ipc/ipc_frame.h"

namespace {

constexpr DWORD kWait = 200;  // ms, for a server, and for it to read

}  // namespace

class IPCMessageClient::Impl {
public:
    Impl(int client, bool reconnect, bool wait_for_server, std::wstring pipe_name)
        : client_(client), reconnect_(reconnect), wait_(wait_for_server), name_(std::move(pipe_name)) {}

    bool Post(const TagIPCMessageItem& item) {
        const auto frame = pelora::BuildFrame(client_, item);
        if (!frame) return false;
        const std::unique_lock lock(mutex_, std::chrono::milliseconds(kWait));
        if (!lock) return false;  // another thread's post is held up already
        const bool was_connected = static_cast<bool>(pipe_);
        if (!was_connected && !Connect()) return false;
        DWORD trouble = Write(*frame);
        // A server that ended and came back is met with the first post to its new pipe. What it did not take, because
        // the old one was closed, was not taken at all.
        const bool gone =
            trouble == ERROR_NO_DATA || trouble == ERROR_BROKEN_PIPE || trouble == ERROR_PIPE_NOT_CONNECTED;
        if (gone && was_connected && Connect()) trouble = Write(*frame);
        return trouble == ERROR_SUCCESS;
    }

private:
    bool Connect() {
        if (lost_ && !reconnect_) return false;
        if (!event_) event_.Reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
        if (!event_) return false;
        const ULONGLONG deadline = ::GetTickCount64() + (wait_ ? kWait : 0);
        for (;;) {
            // Identification alone: a false server cannot act as the one who posts.
            constexpr DWORD kFlags = FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
            pipe_.Reset(::CreateFileW(name_.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, kFlags, nullptr));
            if (pipe_) return true;
            const ULONGLONG now = ::GetTickCount64();
            if (now >= deadline) return false;
            // Returns at once when there is no such pipe; the server may be about to make it.
            if (::WaitNamedPipeW(name_.c_str(), static_cast<DWORD>(deadline - now)) == 0) ::Sleep(10);
        }
    }

    // What did not go out in time is taken back before its memory goes.
    DWORD Write(const std::string& frame) {
        OVERLAPPED overlapped{};
        overlapped.hEvent = event_.Get();
        DWORD written = 0;
        DWORD trouble = ERROR_SUCCESS;
        if (::WriteFile(pipe_.Get(), frame.data(), static_cast<DWORD>(frame.size()), nullptr, &overlapped) == 0) {
            trouble = ::GetLastError();
        }
        if (trouble == ERROR_IO_PENDING) {
            if (::WaitForSingleObject(event_.Get(), kWait) != WAIT_OBJECT_0) {
                ::CancelIoEx(pipe_.Get(), &overlapped);
            }
            trouble = ERROR_SUCCESS;
        }
        if (trouble == ERROR_SUCCESS && ::GetOverlappedResult(pipe_.Get(), &overlapped, &written, TRUE) == 0) {
            trouble = ::GetLastError();
        }
        if (trouble == ERROR_SUCCESS && written != frame.size()) trouble = ERROR_WRITE_FAULT;
        if (trouble != ERROR_SUCCESS) {
            pipe_.Reset();
            lost_ = true;
        }
        return trouble;
    }

    const int client_;
    const bool reconnect_, wait_;
    const std::wstring name_;
    std::timed_mutex mutex_;
    tandor::FileHandle pipe_;
    tandor::KernelHandle event_;
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
