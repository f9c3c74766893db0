// The report functions, called by name with arguments from a command line.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "telemetry/report_table.h"

namespace tandor::app {

// All of them: the catalogue, and the two that report a decoder's and a renderer's failure.
std::span<const ReportFunction> ReportFunctions();

// Null when there is none of this name.
const ReportFunction* FindReport(std::string_view name);

// What a function takes, as "Result result, int errorCode"; a structure with the number of its members, each of which
// is an argument.
std::string ArgumentsOf(const ReportFunction& function);

// Throws a usage error that names the argument which is missing, too many, or not what the function takes.
void CallReport(const ReportFunction& function, const std::vector<std::string>& arguments);

}  // namespace tandor::app
