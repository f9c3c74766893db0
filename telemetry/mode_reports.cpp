// The statistics about the device's modes, which go out as fault events with named keys.
#include <mutex>

#include "tandor/data_report.h"
#include "tandor/event_reporter.h"

namespace {

using Tandor::KoEventReporter;

struct Number {
    const char* key;
    int value;
    void PutInto(KoEventReporter& reporter) const { reporter.KoEventPutInt(key, value); }
};

struct Text {
    const char* key;
    const std::string& value;
    void PutInto(KoEventReporter& reporter) const { reporter.KoEventPutString(key, value); }
};

// Everyone shares the event's reporter: without the lock, two reports at once would mix their values.
template <class... Keys>
void Send(int event_id, const Keys&... keys) {
    static std::mutex one_at_a_time;
    const std::lock_guard lock(one_at_a_time);
    const auto reporter = Tandor::KoEventReporterFactory::GetInstance().CreateKoEventReporter(event_id);
    (keys.PutInto(*reporter), ...);
    reporter->KoEventReport();
}

}  // namespace

void TandorDataReportClass::ReportBusinessDuration(int deviceType, int mode, std::string duration) {
    Send(992614403, Number{"deviceType", deviceType}, Number{"mode", mode}, Text{"duration", duration});
}

void TandorDataReportClass::ReportModeSwitch(int deviceType, int oldValue, int newValue, int type) {
    Send(992614405, Number{"deviceType", deviceType}, Number{"old", oldValue}, Number{"new", newValue},
         Number{"type", type});
}

void TandorDataReportClass::ReportConnectEntry(int deviceType, int type) {
    Send(992614412, Number{"deviceType", deviceType}, Number{"type", type});
}

void TandorDataReportClass::ReportModeResult(int deviceType, int usbConnect, int mode, int result) {
    Send(992614414, Number{"deviceType", deviceType}, Number{"usbConnect", usbConnect}, Number{"mode", mode},
         Number{"result", result});
}

void TandorDataReportClass::ReportAudioSwitch(int deviceType, int oldValue, int newValue, int type) {
    Send(992614415, Number{"deviceType", deviceType}, Number{"old", oldValue}, Number{"new", newValue},
         Number{"type", type});
}

void TandorDataReportClass::ReportDisconnect(int deviceType, int mode, int disconnectType) {
    Send(992614416, Number{"deviceType", deviceType}, Number{"mode", mode}, Number{"disconnectType", disconnectType});
}

void TandorDataReportClass::ReportErrorBeforeFind(int deviceType, int type) {
    Send(992614417, Number{"deviceType", deviceType}, Number{"type", type});
}
