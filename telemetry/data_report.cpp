#include "tandor/data_report.h"

#include "base/send_interval.h"
#include "base/wall_clock.h"
#include "pelora/data_report_service.h"

namespace {

constexpr long long kEventBase = 606000000;
constexpr unsigned long long kDecodeFailureInterval = 300'000;  // ms

// The first value of number 13000: what failed.
constexpr int kDecoder = 1;
constexpr int kRenderer = 2;

}  // namespace

// Exported as well: a caller that takes it by reference asks the library for it.
constexpr std::size_t TandorDataReportClass::MAX_TIME_LEN;

TandorDataReportClass::TandorDataReportClass() = default;
TandorDataReportClass::~TandorDataReportClass() = default;

TandorDataReportClass* TandorDataReportClass::GetInstance() {
    static TandorDataReportClass instance;
    return &instance;
}

bool TandorDataReportClass::Report(TandorReportTypeEnum type, const std::vector<std::string>& values) {
    LogInfo info = EventDataReport::Instance().GetMsg(std::to_string(kEventBase + type), "");
    int index = 0;
    for (const std::string& value : values) info.values.emplace_hint(info.values.end(), index++, value);
    return EventDataReport::Instance().SendMsg(info);
}

unsigned long long TandorDataReportClass::GetCurrentMilliSecond() { return tandor::WallClockMilliseconds(); }

void TandorDataReportClass::DecordFailDataReport(std::string reason) {
    static tandor::SendInterval interval(kDecodeFailureInterval);
    if (!interval.Pass(GetCurrentMilliSecond())) return;
    GetInstance()->Report(TANDOR_REPORT_130_MULTI_WIN_FAULT_DATA_ID, kDecoder, reason);
}

void TandorDataReportClass::ReportRenderFailDataReport(const std::string& text) {
    GetInstance()->Report(TANDOR_REPORT_130_MULTI_WIN_FAULT_DATA_ID, kRenderer, text);
}

TransferDataReportClass* TransferDataReportClass::GetInstance() {
    static TransferDataReportClass instance;
    return &instance;
}

TransferDataReportClass::TransferDataReportClass() = default;
TransferDataReportClass::TransferDataReportClass(const TransferDataReportClass&) = default;
TransferDataReportClass& TransferDataReportClass::operator=(const TransferDataReportClass&) = default;
TransferDataReportClass::~TransferDataReportClass() = default;
