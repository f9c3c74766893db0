#include "tests/seam/recording_log.h"

#include <map>
#include <mutex>
#include <utility>

#include "pelora/log_service.h"

namespace {

struct Recorded {
    std::recursive_mutex mutex;  // held while observers are called, which may log
    bool delivering = false;
    std::vector<std::wstring> messages;
    std::uint64_t lost = 0;
};
Recorded& Record() {
    static Recorded recorded;
    return recorded;
}

// What an observer throws is dropped.
void Call(const VxLogger::Observer& observer, LOG_MESSAGE_LEVEL level, std::wstring_view message) {
    try {
        observer(level, message);
    } catch (...) {
    }
}

}  // namespace

class VxLogger::Impl {
public:
    std::map<std::uint64_t, std::pair<LOG_MESSAGE_LEVEL, Observer>> observers;
    std::uint64_t last = 0;
};
VxLogger::VxLogger() : impl_(new Impl) {}
VxLogger::~VxLogger() { delete impl_; }
VxLogger& VxLogger::GetInstance() {
    static VxLogger logger;
    return logger;
}
// What observers log is not observed.
void VxLogger::Log(LOG_MESSAGE_LEVEL level, std::wstringstream& message) noexcept {
    Recorded& record = Record();
    const std::lock_guard lock(record.mutex);
    try {
        record.messages.push_back(std::to_wstring(level) + L" " + std::wstring(message.view()));
    } catch (const std::bad_alloc&) {
        ++record.lost;
    }
    if (std::exchange(record.delivering, true)) return;
    for (const auto& [number, subscriber] : impl_->observers)
        if (level >= subscriber.first) Call(subscriber.second, level, message.view());
    record.delivering = false;
}
std::uint64_t VxLogger::Subscribe(LOG_MESSAGE_LEVEL lowest, Observer observer) {
    const std::lock_guard lock(Record().mutex);
    impl_->observers.emplace(++impl_->last, std::pair(lowest, std::move(observer)));
    return impl_->last;
}
void VxLogger::Unsubscribe(std::uint64_t subscription) noexcept {
    const std::lock_guard lock(Record().mutex);
    impl_->observers.erase(subscription);
}
std::uint64_t VxLogger::Lost() const noexcept {
    const std::lock_guard lock(Record().mutex);
    return Record().lost;
}

std::vector<std::wstring> tandor::test::RecordedMessages() {
    const std::lock_guard lock(Record().mutex);
    return Record().messages;
}
