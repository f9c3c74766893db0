// A file of device summaries, looked at as a whole before anything of it is used.
#pragma once

#include <string>
#include <vector>

#include "tandor/device_summary.h"

namespace tandor::app {

// The records of `text` in the full form, each with the name to keep it under in DeviceId: its DevName. Throws
// CommandError that names the element and key which cannot be used: `file` is how the text is called there.
std::vector<BluetoothDeviceSummary> RecordsToImport(const std::string& file, const std::string& text);

}  // namespace tandor::app
