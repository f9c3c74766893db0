// A file of device summaries, looked at as a whole before anything of it is used, and what it would change.
#pragma once

#include <string>
#include <vector>

#include "tandor/device_summary.h"

namespace tandor::app {

// The records of `text` in the full form, each with the name to keep it under in DeviceId: its DevName. Throws
// CommandError that names the element and key which cannot be used: `file` is how the text is called there.
std::vector<BluetoothDeviceSummary> RecordsToImport(const std::string& file, const std::string& text);

struct DeviceChange {
    BluetoothDeviceSummary record;     // as it would be stored, under its DeviceId
    bool is_new;                       // there is no such device yet
    std::vector<std::string> members;  // that would change
    [[nodiscard]] bool Changes() const { return is_new || !members.empty(); }
};

// What importing does to those that are `stored`. A summary does not tell all of a record: the rest stays as it is, and
// so does the share type, which its readers pass over.
std::vector<DeviceChange> ChangesByImport(const std::vector<BluetoothDeviceSummary>& imported,
                                          const std::vector<BluetoothDeviceSummary>& stored);

}  // namespace tandor::app
