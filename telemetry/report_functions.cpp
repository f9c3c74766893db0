// The report functions: the rows of the catalogue in tandor/data_report_types.h as definitions.
#include <mutex>
#include <tuple>

#include "base/lock.h"
#include "foundation/message.h"
#include "tandor/data_report.h"
#include "tandor/event_reporter.h"
#include "tandor/text.h"
#include "telemetry/report_members.h"

namespace {

template <class Value>
const Value& Sendable(const Value& value) {
    return value;
}
std::string Sendable(const std::wstring& wide) { return TandorUtilClass::ConvertFromWideBytes(wide); }

template <TandorReportTypeEnum type>
struct Statistic {
    template <class... Values>
    void operator()(const Values&... values) const {
        TandorDataReportClass::GetInstance()->Report(type, Sendable(values)...);
    }
    template <tandor::ReportStructure Data>
    void operator()(const Data& data) const {
        tandor::WithMembers(data, *this);
    }
    void operator()(const HandoffReportData::WifiP2PConnectData& data) const {
        tandor::LogMessage(tandor::kInfo, L"TandorDataReportClass::ReportTandorReport100WifiP2PConnectDataId",
                           L"WifiP2PConnect, isSuccess = ", data.isSuccess, L", errorCode=", data.errorCode,
                           L", bussnessType=", data.bussnessType, L", mirrorType=", data.mirrorType, L", countryCode=",
                           data.countryCode);
        tandor::WithMembers(data, *this);
    }
};

void Put(Tandor::KoEventReporter& reporter, const char* key, int value) { reporter.KoEventPutInt(key, value); }
void Put(Tandor::KoEventReporter& reporter, const char* key, const std::string& value) {
    reporter.KoEventPutString(key, value);
}

template <int event, class... Keys>
struct KeyedReport {
    std::tuple<Keys...> keys;

    // Everyone shares the event's reporter: without the event's lock, two reports at once would mix their values.
    template <class... Values>
    void operator()(const Values&... values) const {
        static tandor::Lock one_at_a_time;  // which nothing destroys: threads still report while the process ends
        const std::lock_guard lock(one_at_a_time);
        const auto reporter = Tandor::KoEventReporterFactory::GetInstance().CreateKoEventReporter(event);
        std::apply([&](Keys... names) { (Put(*reporter, names, values), ...); }, keys);
        reporter->KoEventReport();
    }
};
template <int event, class... Keys>
KeyedReport<event, Keys...> Keyed(Keys... keys) {
    return {{keys...}};
}

}  // namespace

#define TANDOR_DEFINE_REPORT(number, type, function, parameters, sent) \
    void TandorDataReportClass::function parameters { Statistic<type>() sent; }
TANDOR_REPORT_TYPES(TANDOR_DEFINE_REPORT)

#define TANDOR_DEFINE_KEYED_REPORT(event, function, parameters, sent, keys) \
    void TandorDataReportClass::function parameters { Keyed<event> keys sent; }
TANDOR_KEYED_REPORTS(TANDOR_DEFINE_KEYED_REPORT)
