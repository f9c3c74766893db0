#include <unordered_set>

#include "base/wall_clock.h"
#include "foundation/message.h"
#include "pelora/event_service.h"
#include "pelora/file_info.h"
#include "tandor/event_reporter.h"

namespace Tandor {
namespace {

// Below the suite's common directory. The mirror's logs belong to the user, all others to the administrator.
constexpr const char* kDiagnosticLogs[] = {
    "\\log\\admin\\KoViewTandor.log",       "\\log\\admin\\KoViewTandor.1.log",
    "\\log\\admin\\KoViewCorelane.log",     "\\log\\admin\\KoViewCorelane.1.log",
    "\\log\\admin\\KoViewConnectivity.log", "\\log\\admin\\KoViewConnectivity.1.log",
    "\\log\\usr\\KoViewMirror.log",         "\\log\\usr\\KoViewMirror.1.log",
    "\\log\\admin\\KoViewAccountCred.log",  "\\log\\admin\\KoViewAccountCred.1.log",
};

// A short-lived channel object would close and flush with each fault; this one lives as long as the library.
const Logger& FaultChannel() {
    static const Logger channel("KoViewTandor");
    return channel;
}

}  // namespace

struct KoEventReporter::Implementation {
    explicit Implementation(int event_id) : event(std::make_unique<KoEvent>(event_id)) {}

    std::unique_ptr<KoEvent> event;
    std::unordered_set<std::string> keys_put{8};
};

KoEventReporter::KoEventReporter(int eventId) : implementation_(std::make_unique<Implementation>(eventId)) {}
KoEventReporter::~KoEventReporter() = default;

KoEvent* KoEventReporter::Event() const { return implementation_ == nullptr ? nullptr : implementation_->event.get(); }

template <class PutValue>
void KoEventReporter::Put(const std::string& key, bool once, const PutValue& put) {
    const std::lock_guard lock(lock_);
    if (Event() == nullptr || (once && implementation_->keys_put.contains(key))) return;
    put(*Event());
    implementation_->keys_put.insert(key);
}

void KoEventReporter::KoEventPutString(std::string key, std::string value) {
    Put(key, false, [&](KoEvent& event) { event.PutString(key, value); });
}

void KoEventReporter::KoEventPutInt(std::string key, int value) {
    Put(key, false, [&](KoEvent& event) { event.PutInt(key, value); });
}

void KoEventReporter::KoEventPutLong(std::string key, long long value) {
    Put(key, false, [&](KoEvent& event) { event.PutLong(key, value); });
}

void KoEventReporter::KoEventPutStringOnce(std::string key, std::string value) {
    Put(key, true, [&](KoEvent& event) { event.PutString(key, value); });
}

void KoEventReporter::KoEventPutIntOnce(std::string key, int value) {
    Put(key, true, [&](KoEvent& event) { event.PutInt(key, value); });
}

void KoEventReporter::KoEventPutTimeStamp(std::string key) {
    Put(key, false,
        [&](KoEvent& event) { event.PutLong(key, static_cast<long long>(tandor::WallClockMilliseconds())); });
}

void KoEventReporter::KoEventAddFilePath(const std::string& path) {
    const std::lock_guard lock(lock_);
    if (Event() != nullptr) Event()->AddFilePath(path);
}

void KoEventReporter::KoEventReportLog() {
    const std::string directory = FileInfo::GetPeloraCommDir();
    const std::lock_guard lock(lock_);
    if (Event() == nullptr) return;
    for (const char* const log : kDiagnosticLogs) Event()->AddFilePath(directory + log);
}

void KoEventReporter::KoEventReport() {
    const std::lock_guard lock(lock_);
    if (Event() == nullptr || implementation_->keys_put.empty()) return;
    tandor::LogMessage(FaultChannel(), tandor::kInfo, L"Tandor::KoEventReporter::KoEventReport", L"Fault report:",
                       Event()->Flatten());
    KoView::Report(*Event());
    implementation_->keys_put = std::unordered_set<std::string>(8);
}

void KoEventReporter::KoEventReset() {
    const std::lock_guard lock(lock_);
    if (Event() != nullptr) Event()->Reset();
}

}  // namespace Tandor
