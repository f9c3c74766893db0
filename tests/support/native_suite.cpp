// Stand-ins for what the native tests cannot have: the channels' files and the outbox, in memory, and the random bytes
// of another system; the host log is the one of tests/seam/. The families' own code and the rest of the suite's
// services run over them as they are.
#include <sys/random.h>

#include <mutex>

#include "pelora/file_info.h"
#include "pelora/outbox.h"
#include "suite/telemetry/ko_event.h"
#include "tandor/crypto.h"
#include "tandor/logging.h"

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

CryptRandom::~CryptRandom() = default;
int CryptRandom::Gen(unsigned char* const buffer, unsigned long length) noexcept {
    return ::getrandom(buffer, length, 0) == static_cast<ssize_t>(length) ? 1 : 0;
}
int CryptRandom::Random(void* buffer, unsigned long length) noexcept {
    return Gen(static_cast<unsigned char*>(buffer), length);
}
