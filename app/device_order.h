// What a command of the device console is about.
#pragma once

#include <string>
#include <vector>

#include "app/command.h"
#include "tandor/device_console.h"

namespace tandor::app {

struct DeviceOrder {
    std::string command;      // a word of the device console, or "stage"
    std::string hardware_id;  // none for "stage"
    std::string inf;          // none for "enable" and "disable"
};

// The order's INF file. Throws CommandError when it cannot be used.
Vxa::Exp::DriverInf ReadInf(const DeviceOrder& order);

// The devices that the order means.
std::vector<Vxa::Exp::DeviceNode> Targets(const DeviceOrder& order);

}  // namespace tandor::app
