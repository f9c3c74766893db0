#include <array>
#include <utility>

#include "foundation/message.h"
#include "pelora/ipc_messages.h"
#include "tandor/event_reporter.h"
#include "telemetry/wall_clock.h"

namespace Tandor {
namespace {

using tandor::kInfo;
using tandor::LogMessage;
using tandor::Tag;

constexpr int kClientId = 0x490084;
constexpr int kReceiverId = 0x490000;
constexpr int kMessageId = 0x490085;
constexpr std::size_t kBufferSize = 1024;
constexpr const wchar_t* kPipeName = L"\\\\.\\Pipe\\iPaviloAssistant";

struct Packed {
    unsigned size = 0;
    std::vector<std::string> left;  // what did not fit, in its order
};

// Packs values in their order up to the first that does not fit any more. One that does not even fit into the empty
// buffer is passed over.
Packed PackValues(VxIpcPackage& package, std::vector<std::string>& values) {
    Packed packed;
    bool full = false;
    for (std::string& value : values) {
        const int bytes = full ? 0 : package.PacketString(value);
        if (bytes <= 0) {
            full = full || packed.size > 0;
            packed.left.push_back(std::move(value));
        } else {
            packed.size += static_cast<unsigned>(bytes);
        }
    }
    return packed;
}

}  // namespace

DataProcessReport::DataProcessReport()
    : client_(std::make_unique<IPCMessageClient>(kClientId, true, false, kPipeName)) {}
DataProcessReport::~DataProcessReport() = default;

DataProcessReport& DataProcessReport::GetInstance() {
    static DataProcessReport instance;
    return instance;
}

void DataProcessReport::AddPendingValue(int reportId, std::string value) {
    const std::lock_guard lock(lock_);
    pending_[reportId].push_back(std::move(value));
}

std::vector<std::string> DataProcessReport::GetPendingValues(int reportId) {
    const std::lock_guard lock(lock_);
    const auto pending = pending_.find(reportId);
    return pending == pending_.end() ? std::vector<std::string>{} : pending->second;
}

void DataProcessReport::Commit(int reportId) {
    const std::lock_guard lock(lock_);
    std::array<unsigned char, kBufferSize> buffer{};
    IpcBufferBuild channel(buffer.data(), kBufferSize, false);
    VxIpcPackage package(&channel);
    std::vector<std::string>& values = pending_[reportId];
    Packed packed = PackValues(package, values);
    values = std::move(packed.left);
    if (!values.empty()) {
        LogMessage(kInfo, L"Tandor::DataProcessReport::Commit", Tag{L"DataCal"}, L"message is full, report:", reportId,
                   L",values still pending:", values.size());
    }
    TagIPCMessageItem item;
    item.receiverId = kReceiverId;
    item.receiverInstance = -1;
    item.messageId = kMessageId;
    item.messageInstance = -1;
    item.dataLength = packed.size;
    item.data = buffer.data();
    if (client_ != nullptr) client_->PostIPCMessage(item);
}

void DataProcessReport::SetBeginPairTime() {
    const std::lock_guard lock(lock_);
    begin_pair_time_ = std::to_string(GetCurrentMilliSecond());
}

std::string DataProcessReport::GetBeginPairTime() {
    const std::lock_guard lock(lock_);
    return std::exchange(begin_pair_time_, {});
}

unsigned long long DataProcessReport::GetCurrentMilliSecond() {
    const unsigned long long now = tandor::WallClockMilliseconds();
    LogMessage(kInfo, L"Tandor::DataProcessReport::GetCurrentMilliSecond", Tag{L"DataCal"}, L" timeMs:", now);
    return now;
}

}  // namespace Tandor
