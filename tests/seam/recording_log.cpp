#include "tests/seam/recording_log.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <thread>

#include "pelora/log_service.h"

namespace {

struct Recorded {
    std::mutex mutex;
    std::condition_variable delivered;
    std::set<std::thread::id> delivering;  // threads that call observers now
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
// Observers are called under no lock, and what they log is not observed.
void VxLogger::Log(LOG_MESSAGE_LEVEL level, std::wstringstream& message) noexcept {
    Recorded& record = Record();
    std::unique_lock lock(record.mutex);
    try {
        record.messages.push_back(std::to_wstring(level) + L" " + std::wstring(message.view()));
        std::vector<Observer> called;
        for (const auto& [number, subscriber] : impl_->observers)
            if (level >= subscriber.first) called.push_back(subscriber.second);
        if (!record.delivering.insert(std::this_thread::get_id()).second) return;
        lock.unlock();
        for (const Observer& observer : called) Call(observer, level, message.view());
        lock.lock();
        record.delivering.erase(std::this_thread::get_id());
        record.delivered.notify_all();
    } catch (const std::bad_alloc&) {  // from before the observers
        ++record.lost;
    }
}
std::uint64_t VxLogger::Subscribe(LOG_MESSAGE_LEVEL lowest, Observer observer) {
    const std::lock_guard lock(Record().mutex);
    impl_->observers.emplace(++impl_->last, std::pair(lowest, std::move(observer)));
    return impl_->last;
}
void VxLogger::Unsubscribe(std::uint64_t subscription) noexcept {
    Recorded& record = Record();
    std::unique_lock lock(record.mutex);
    impl_->observers.erase(subscription);
    record.delivered.wait(
        lock, [&] { return record.delivering.size() == record.delivering.count(std::this_thread::get_id()); });
}
std::uint64_t VxLogger::Lost() const noexcept {
    const std::lock_guard lock(Record().mutex);
    return Record().lost;
}

std::vector<std::wstring> tandor::test::RecordedMessages() {
    const std::lock_guard lock(Record().mutex);
    return Record().messages;
}
