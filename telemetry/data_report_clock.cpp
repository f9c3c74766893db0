// The system's clocks behind the statistics: durations by the performance counter, and the local time.
#include <windows.h>

#include <cstdio>

#include "foundation/message.h"
#include "tandor/data_report.h"

bool TandorDataReportClass::RecordBegin(TandorReportTypeEnum type) {
    LARGE_INTEGER now{};
    const std::lock_guard lock(lock_);
    ::QueryPerformanceCounter(&now);
    start_marks_[type] = now.QuadPart;
    return true;
}

bool TandorDataReportClass::RecordEnd(TandorReportTypeEnum type) {
    double seconds = 0;
    return GetReportTypeDeltaTime(type, seconds) && Report(type, seconds);
}

bool TandorDataReportClass::GetReportTypeDeltaTime(TandorReportTypeEnum type, double& seconds) {
    LARGE_INTEGER now{};
    LARGE_INTEGER frequency{};
    const std::lock_guard lock(lock_);
    const auto mark = start_marks_.find(type);
    if (mark == start_marks_.end()) return false;
    ::QueryPerformanceCounter(&now);
    ::QueryPerformanceFrequency(&frequency);
    seconds = static_cast<double>(now.QuadPart - mark->second) / static_cast<double>(frequency.QuadPart);
    start_marks_.erase(mark);
    return true;
}

void TandorDataReportClass::GetSystemTime(std::string& out) {
    constexpr const char* kFunction = "TandorDataReportClass::GetSystemTime";
    SYSTEMTIME time{};
    ::GetLocalTime(&time);
    char text[MAX_TIME_LEN];
    const int length = std::snprintf(text, sizeof(text), "%4u%02u%02u-%02u%02u%02u-%03u", time.wYear, time.wMonth,
                                     time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof(text)) {
        return tandor::LogMessage(tandor::kFailure, L"TandorDataReportClass::GetSystemTime", kFunction,
                                  L" sprintf_s failed.");
    }
    out.assign(text, static_cast<std::size_t>(length));
}
