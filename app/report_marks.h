// The time between two runs of tandorctl, as RecordBegin and RecordEnd take it between two calls of one process.
#pragma once

namespace tandor::app {

// Keeps the beginning in the file "telemetry\marks\<number>" under the common directory, in place of an earlier one.
// Throws CommandError.
void BeginTime(int number);

// The seconds since the beginning, which is forgotten. Throws CommandError when there is none, or when the machine was
// restarted since.
double EndTime(int number);

}  // namespace tandor::app
