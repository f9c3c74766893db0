// Stand-ins for what the native tests cannot have: the host log, the channels' files and the outbox, all in memory.
// The families' own code and the rest of the suite's services run over them as they are.
#include <map>
#include <mutex>

#include "pelora/file_info.h"
#include "pelora/log_service.h"
#include "pelora/outbox.h"
#include "suite/telemetry/ko_event.h"
#include "tandor/logging.h"

class VxLogger::Impl {
public:
    std::recursive_mutex mutex;
    std::map<std::uint64_t, std::pair<LOG_MESSAGE_LEVEL, Observer>> observers;
    std::uint64_t last = 0;
};
VxLogger::VxLogger() : impl_(new Impl) {}
VxLogger::~VxLogger() { delete impl_; }
VxLogger& VxLogger::GetInstance() {
    static VxLogger logger;
    return logger;
}
void VxLogger::Log(LOG_MESSAGE_LEVEL level, std::wstringstream& message) noexcept {
    const std::lock_guard lock(impl_->mutex);
    for (const auto& [number, subscriber] : impl_->observers)
        if (level >= subscriber.first) subscriber.second(level, message.view());
}
std::uint64_t VxLogger::Subscribe(LOG_MESSAGE_LEVEL lowest, Observer observer) {
    const std::lock_guard lock(impl_->mutex);
    impl_->observers.emplace(++impl_->last, std::pair(lowest, std::move(observer)));
    return impl_->last;
}
void VxLogger::Unsubscribe(std::uint64_t subscription) noexcept {
    const std::lock_guard lock(impl_->mutex);
    impl_->observers.erase(subscription);
}

struct Logger::Holder {};
Logger::Logger(const std::string&) : holder_(new Holder) {}
Logger::~Logger() { delete holder_; }
void Logger::Log(LOG_MESSAGE_LEVEL, const std::wstringstream&) const {}

std::string FileInfo::GetPeloraCommDir() { return "C:\\ProgramData\\Comms\\Pelora"; }

namespace pelora {

class Outbox::Impl {
public:
    std::mutex mutex;
    std::vector<OutboxRecord> records;
};
Outbox::Outbox(const std::string&) : impl_(new Impl) {}
Outbox::~Outbox() { delete impl_; }
Outbox& Outbox::GetInstance() {
    static Outbox outbox("");
    return outbox;
}
std::string Outbox::Put(OutboxRecord& record) noexcept {
    const std::lock_guard lock(impl_->mutex);
    record.sequence = impl_->records.size() + 1;
    impl_->records.push_back(record);
    return "";
}
std::string Outbox::Read(unsigned long long after, std::size_t count, std::size_t,
                         std::vector<OutboxRecord>& records) noexcept {
    const std::lock_guard lock(impl_->mutex);
    const std::size_t begin = std::min<std::size_t>(after, impl_->records.size());
    const std::size_t end = std::min(impl_->records.size(), begin + count);
    records.assign(impl_->records.begin() + static_cast<std::ptrdiff_t>(begin),
                   impl_->records.begin() + static_cast<std::ptrdiff_t>(end));
    return "";
}
std::string Outbox::ReadLast(std::size_t count, std::vector<OutboxRecord>& records) noexcept {
    std::size_t size = 0;
    {
        const std::lock_guard lock(impl_->mutex);
        size = impl_->records.size();
    }
    return Read(size - std::min(count, size), count, 0, records);
}

}  // namespace pelora

bool KoView::Report(KoEvent& event) noexcept {
    pelora::OutboxRecord record;
    record.kind = pelora::OutboxKind::kFault;
    record.event = std::to_string(event.impl_->id);
    record.values = event.impl_->values;
    for (const std::string& path : event.impl_->files) record.files.push_back({path});
    return pelora::Outbox::GetInstance().Put(record).empty();
}
