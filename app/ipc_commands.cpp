#include <fmt/format.h>
#include <windows.h>

#include <array>
#include <optional>

#include "app/commands.h"
#include "app/stop_signal.h"
#include "base/hex.h"
#include "base/utf.h"
#include "base/win_error.h"
#include "base/win_handle.h"
#include "suite/ipc/ipc_frame.h"

namespace tandor::app {
namespace {

constexpr unsigned kPause = 20;     // ms between looks for what clients have sent
constexpr DWORD kRoom = 64 * 1024;  // bytes of a pipe, and of one read

struct ListenOptions {
    std::string pipe = R"(\\.\Pipe\iPaviloAssistant)";
    unsigned long long count = 0;  // 0: no end
    double seconds = 0;
};

// The strings of a message's data, when it holds nothing else.
std::optional<std::vector<std::string>> StringsIn(std::string data) {
    IpcBufferBuild buffer(data.data(), static_cast<unsigned>(data.size()), true);
    VxIpcPackage package(&buffer);
    std::vector<std::string> strings;
    std::size_t size = 0;
    for (std::string text; package.UnpacketString(text, pelora::kLargestData); size += 4 + text.size())
        strings.push_back(text);
    if (size != data.size()) return std::nullopt;
    return strings;
}

void Show(const Context& context, const pelora::ReadMessage& message) {
    const TagIPCMessageItem& item = message.item;
    const std::string data(static_cast<const char*>(item.data), item.dataLength);
    const auto strings = StringsIn(data);
    const std::string name = Utf8FromWideLossy(item.name);
    const std::string hex = HexFromBytes(data, HexCase::kLower);
    if (context.json) {
        const Json line{
            {"client", message.client},    {"name", name},
            {"receiver", item.receiverId}, {"receiver_instance", item.receiverInstance},
            {"message", item.messageId},   {"message_instance", item.messageInstance},
            {"sequence", item.sequence},   {"flags", item.flags},
            {"parameter", item.parameter}, {strings ? "strings" : "data", strings ? Json(*strings) : Json(hex)}};
        PrintLine(line.dump(-1, ' ', false, Json::error_handler_t::replace));
    } else {
        std::string text =
            fmt::format("client 0x{:X} to 0x{:X}, message 0x{:X}:", message.client, item.receiverId, item.messageId);
        if (!strings) text += " " + hex;
        for (const std::string& value : strings.value_or(std::vector<std::string>{})) text += " '" + value + "'";
        PrintLine(text);
    }
    std::fflush(stdout);
}

// One end of the pipe, for one client after the other. Nothing in it waits.
class PipeEnd {
public:
    PipeEnd(const std::string& name, bool first)
        : pipe_(::CreateNamedPipeW(
              WideFromUtf8(name).c_str(),
              PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | (first ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0),
              PIPE_TYPE_BYTE | PIPE_REJECT_REMOTE_CLIENTS, PIPE_UNLIMITED_INSTANCES, 0, kRoom, 0, nullptr)),
          event_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
        const DWORD error = ::GetLastError();
        if (!pipe_ || !event_) {
            throw CommandError("pipe " + name,
                               error == ERROR_ACCESS_DENIED ? "another program serves it" : WindowsErrorText(error),
                               "end that program, or name another pipe with --pipe");
        }
        AwaitClient();
    }
    // The system lets go of the buffer before it goes.
    ~PipeEnd() {
        DWORD size = 0;
        if (::CancelIoEx(pipe_.Get(), &overlapped_) != 0) ::GetOverlappedResult(pipe_.Get(), &overlapped_, &size, TRUE);
    }
    PipeEnd(const PipeEnd&) = delete;
    PipeEnd& operator=(const PipeEnd&) = delete;

    // Hands what has come to `take`, which returns false when it wants no more.
    template <class Take>
    void Look(const Take& take) {
        for (bool going_on = true; going_on && !Pending();) {
            DWORD size = 0;
            if (::GetOverlappedResult(pipe_.Get(), &overlapped_, &size, FALSE) == 0) {
                AwaitNextClient();
                continue;
            }
            bytes_.append(buffer_.data(), reading_ ? size : 0);
            going_on = TakeFrames(take);
            Read();
        }
    }

private:
    [[nodiscard]] bool Pending() const { return !HasOverlappedIoCompleted(&overlapped_); }

    template <class Take>
    bool TakeFrames(const Take& take) {
        pelora::ReadMessage message;
        for (auto state = pelora::ReadFrame(bytes_, message); state != pelora::FrameState::kIncomplete;
             state = pelora::ReadFrame(bytes_, message)) {
            if (state == pelora::FrameState::kBroken) {
                PrintLine("a client sent what is no message; it is disconnected");
                broken_ = true;
                return true;
            }
            const bool more = take(message);
            bytes_.erase(0, message.length);
            if (!more) return false;
        }
        return true;
    }

    void Begin() {
        overlapped_ = {};
        overlapped_.hEvent = event_.Get();
    }
    void AwaitClient() {
        Begin();
        reading_ = broken_ = false;
        bytes_.clear();
        if (::ConnectNamedPipe(pipe_.Get(), &overlapped_) == 0 && ::GetLastError() == ERROR_PIPE_CONNECTED) Read();
    }
    void AwaitNextClient() {
        ::DisconnectNamedPipe(pipe_.Get());
        AwaitClient();
    }
    void Read() {
        Begin();
        reading_ = true;
        const bool begun = !broken_ && (::ReadFile(pipe_.Get(), buffer_.data(), kRoom, nullptr, &overlapped_) != 0 ||
                                        ::GetLastError() == ERROR_IO_PENDING);
        if (!begun) AwaitNextClient();
    }

    FileHandle pipe_;
    KernelHandle event_;
    OVERLAPPED overlapped_{};
    std::vector<char> buffer_ = std::vector<char>(kRoom);
    std::string bytes_;
    bool reading_ = false, broken_ = false;
};

void Listen(const Context& context, const ListenOptions& options) {
    std::array<std::optional<PipeEnd>, 4> ends;
    for (std::size_t i = 0; i < ends.size(); ++i) ends[i].emplace(options.pipe, i == 0);
    unsigned long long taken = 0;
    const auto take = [&](const pelora::ReadMessage& message) {
        Show(context, message);
        return ++taken != options.count;
    };
    const auto wanted = [&] { return options.count == 0 || taken < options.count; };
    const StopSignal stop(options.seconds);
    do {
        for (auto& end : ends) {
            if (wanted()) end->Look(take);
        }
    } while (wanted() && !stop.WaitFor(kPause));
}

}  // namespace

void AddIpcCommands(CLI::App& app, Context& context) {
    CLI::App* const ipc = app.add_subcommand("ipc", "Messages between the suite's processes");
    ipc->require_subcommand(1);
    ipc->footer("Example:\n  tandorctl ipc listen");
    const auto options = std::make_shared<ListenOptions>();
    CLI::App* const listen = ipc->add_subcommand("listen", "Serve the assistant service's pipe and show what comes");
    listen->add_option("--pipe", options->pipe, "Another pipe")->type_name("NAME")->check(NotEmpty());
    listen->add_option("-n,--count", options->count, "End after so many messages")->check(AtLeast(1));
    listen->add_option("--for", options->seconds, "End after so many seconds; without it, with Ctrl-C")
        ->check(AtLeast(0));
    listen->footer("Example:\n  tandorctl ipc listen --count 1\n  tandorctl --json ipc listen --for 60");
    listen->callback([options, &context] { Listen(context, *options); });
}

}  // namespace tandor::app
