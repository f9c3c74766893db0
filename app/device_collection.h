// One of the device manager's two collections, with failures as errors that a person can act on.
#pragma once

#include <string>
#include <vector>

#include "tandor/device_summary.h"

namespace tandor::app {

class DeviceCollection {
public:
    explicit DeviceCollection(bool bound) : bound_(bound) {}

    // All throw CommandError for a code other than success.
    [[nodiscard]] std::vector<BluetoothDeviceSummary> Records() const;
    [[nodiscard]] BluetoothDeviceSummary Record(const std::string& device) const;
    // The attributes of a device that is there stay.
    void SetRecord(const std::string& device, const BluetoothDeviceSummary& record) const;
    void Delete(const std::string& device, bool even_trusted) const;
    [[nodiscard]] std::string Text(const std::string& device, const std::string& attribute) const;
    void SetText(const std::string& device, const std::string& attribute, const std::string& text) const;

    [[nodiscard]] bool Contains(const std::string& device) const;
    // False when the device has no such attribute.
    bool FindText(const std::string& device, const std::string& attribute, std::string& text) const;
    [[nodiscard]] const char* Kind() const { return bound_ ? "bound" : "present"; }

private:
    void Check(int status, const std::string& device, const std::string& attribute = {}) const;

    bool bound_;
};

}  // namespace tandor::app
