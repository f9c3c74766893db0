// What a command of the device console would do, without doing it.
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

struct DevicePlan {
    std::vector<std::string> steps;
    std::vector<std::string> notes;
    bool can_succeed = true;
};

// Looks at the INF and at the devices there are. Throws CommandError when the order cannot even begin.
DevicePlan PlanOf(const DeviceOrder& order);

void ShowPlan(const Context& context, const DeviceOrder& order, const DevicePlan& plan);

}  // namespace tandor::app
