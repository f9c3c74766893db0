#include "tests/seam/recording_log.h"

#include <map>
#include <mutex>
#include <new>

#include "pelora/log_service.h"

namespace {

struct Recorded {
    std::recursive_mutex mutex;
    std::vector<std::wstring> messages;
    std::uint64_t lost = 0;
};
Recorded& Record() {
    static Recorded recorded;
    return recorded;
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
void VxLogger::Log(LOG_MESSAGE_LEVEL level, std::wstringstream& message) noexcept {
    const std::lock_guard lock(Record().mutex);
    try {
        Record().messages.push_back(std::to_wstring(level) + L" " + std::wstring(message.view()));
        for (const auto& [number, subscriber] : impl_->observers)
            if (level >= subscriber.first) subscriber.second(level, message.view());
    } catch (const std::bad_alloc&) {
        ++Record().lost;
    }
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
