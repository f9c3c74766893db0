// The table of the statistics for programs: names of the report functions and their numbers.
#pragma once

#include <string_view>

#include "tandor/data_report_types.h"

namespace tandor {

struct ReportFunction {
    std::string_view name;
    TandorReportTypeEnum type;
};

inline constexpr ReportFunction kReportFunctions[] = {
#define TANDOR_REPORT_FUNCTION(number, type, function) {#function, type},
    TANDOR_REPORT_TYPES(TANDOR_REPORT_FUNCTION)
#undef TANDOR_REPORT_FUNCTION
};

// The number of the report function of this name. A name that is not in the table does not compile.
consteval TandorReportTypeEnum NumberOf(std::string_view name) {
    for (const ReportFunction& function : kReportFunctions) {
        if (function.name == name) return function.type;
    }
    throw "the table of the statistics has no such function";
}

}  // namespace tandor
