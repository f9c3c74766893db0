#include <array>
#include <utility>

#include "base/wall_clock.h"
#include "foundation/message.h"
#include "pelora/ipc_messages.h"
#include "tandor/event_reporter.h"

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

}  // namespace

DataProcessReport::DataProcessReport()
    : client_(std::make_unique<IPCMessageClient>(kClientId, true, false, kPipeName)) {}
DataProcessReport::~DataProcessReport() = default;

// Never destroyed, as the reporters' factories: the system withdraws what the pipe has not taken.
DataProcessReport& DataProcessReport::GetInstance() {
    static DataProcessReport& instance = *new DataProcessReport;
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
    std::vector<std::string> values;
    {
        const std::lock_guard lock(lock_);
        values.swap(pending_[reportId]);
    }
    std::array<unsigned char, kBufferSize> buffer{};
    IpcBufferBuild channel(buffer.data(), kBufferSize, false);
    VxIpcPackage package(&channel);
    unsigned size = 0;
    std::size_t refused = 0;
    for (const std::string& value : values) {
        const int bytes = package.PacketString(value);
        size += static_cast<unsigned>(bytes);
        refused += bytes == 0 ? 1 : 0;
    }
    if (refused > 0) {
        LogMessage(kInfo, L"Tandor::DataProcessReport::Commit", Tag{L"DataCal"}, L"message is full, report:", reportId,
                   L",values left out:", refused);
    }
    TagIPCMessageItem item;
    item.receiverId = kReceiverId;
    item.receiverInstance = -1;
    item.messageId = kMessageId;
    item.messageInstance = -1;
    item.dataLength = size;
    item.data = buffer.data();
    if (client_ != nullptr) client_->PostIPCMessage(item);
}

void DataProcessReport::SetBeginPairTime() {
    std::string now = std::to_string(GetCurrentMilliSecond());
    const std::lock_guard lock(lock_);
    begin_pair_time_ = std::move(now);
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
