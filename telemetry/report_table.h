// The catalogue of the statistics for programs.
#pragma once

#include <string_view>

#include "tandor/data_report_types.h"

namespace tandor {

struct ReportFunction {
    std::string_view name;
    int number;                   // of the statistic; of a named-key report, its fault event
    std::string_view parameters;  // as they are declared, in parentheses
    bool keyed;
};

inline constexpr ReportFunction kReportFunctions[] = {
#define TANDOR_REPORT_ROW(number, type, function, parameters, sent) {#function, number, #parameters, false},
    TANDOR_REPORT_TYPES(TANDOR_REPORT_ROW)
#undef TANDOR_REPORT_ROW
#define TANDOR_REPORT_ROW(event, function, parameters, sent, keys) {#function, event, #parameters, true},
        TANDOR_KEYED_REPORTS(TANDOR_REPORT_ROW)
#undef TANDOR_REPORT_ROW
};

}  // namespace tandor
