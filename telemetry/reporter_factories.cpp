#include "tandor/event_reporter.h"

namespace Tandor {
namespace {

template <class Shared, class... Arguments>
std::shared_ptr<Shared> FindOrMake(std::recursive_mutex& mutex, std::map<int, std::shared_ptr<Shared>>& reporters,
                                   int event_id, Arguments... arguments) {
    const std::lock_guard lock(mutex);
    std::shared_ptr<Shared>& reporter = reporters[event_id];
    if (reporter == nullptr) reporter = std::make_shared<Shared>(event_id, arguments...);
    return reporter;
}

}  // namespace

ReporterFactory::ReporterFactory() = default;
ReporterFactory::~ReporterFactory() = default;

// The factories are never destroyed: when the process ends, other threads have been ended inside them, or still run.
ReporterFactory& ReporterFactory::GetInstance() {
    static ReporterFactory& factory = *new ReporterFactory;
    return factory;
}

std::shared_ptr<Reporter> ReporterFactory::CreateReporter(int eventId, int tagCount) {
    return FindOrMake(lock_, reporters_, eventId, tagCount);
}

KoEventReporterFactory::KoEventReporterFactory() = default;
KoEventReporterFactory::~KoEventReporterFactory() = default;

KoEventReporterFactory& KoEventReporterFactory::GetInstance() {
    static KoEventReporterFactory& factory = *new KoEventReporterFactory;
    return factory;
}

std::shared_ptr<KoEventReporter> KoEventReporterFactory::CreateKoEventReporter(int eventId) {
    return FindOrMake(lock_, reporters_, eventId);
}

}  // namespace Tandor
