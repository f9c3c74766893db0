#include "app/device_order.h"

#include "app/device_report.h"
#include "base/utf.h"

namespace tandor::app {

using Vxa::Exp::DeviceInventory;
using Vxa::Exp::DeviceNode;
using Vxa::Exp::DriverInf;

std::vector<DeviceNode> Targets(const DeviceOrder& order) {
    std::vector<DeviceNode> nodes;
    const unsigned long error = DeviceInventory::Find(WideFromUtf8(order.hardware_id), nodes);
    if (error != 0) throw DeviceError("the list of devices", error);
    return nodes;
}

DriverInf ReadInf(const DeviceOrder& order) {
    DriverInf inf;
    const unsigned long error = DeviceInventory::ReadInf(WideFromUtf8(order.inf), inf);
    if (error != 0) throw DeviceError(order.inf, error, "check that it is a driver's INF file");
    return inf;
}

}  // namespace tandor::app
