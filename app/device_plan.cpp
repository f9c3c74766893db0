#include "app/device_plan.h"

#include <fmt/format.h>

#include "app/device_report.h"
#include "base/utf.h"

namespace tandor::app {
namespace {

using Vxa::Exp::DeviceInventory;
using Vxa::Exp::DeviceNode;
using Vxa::Exp::DriverInf;

constexpr const char* kNobody = "no present device has this hardware identifier";

// A step for each device that the order means.
void AddEach(const DeviceOrder& order, const char* format, DevicePlan& plan) {
    for (const DeviceNode& node : Targets(order))
        plan.steps.push_back(fmt::format(fmt::runtime(format), Utf8FromWideLossy(node.instance), StateText(node)));
    if (plan.steps.empty()) plan.notes.emplace_back(kNobody);
}

DevicePlan PlanInstall(const DeviceOrder& order) {
    DevicePlan plan;
    const DriverInf inf = ReadInf(order);
    plan.steps = {
        fmt::format("register a new device node of class {} with the hardware identifier {}",
                    Utf8FromWideLossy(inf.class_name), order.hardware_id),
        fmt::format("install the driver of {} for it, over a newer one too", Utf8FromWideLossy(inf.path)),
    };
    for (const DeviceNode& node : Targets(order)) {
        plan.notes.push_back(Utf8FromWideLossy(node.instance) +
                             " has the identifier already; without --again nothing is installed");
        plan.can_succeed = false;
    }
    return plan;
}

DevicePlan PlanUpdate(const DeviceOrder& order) {
    DevicePlan plan;
    const std::string path = Utf8FromWideLossy(ReadInf(order).path);
    AddEach(order, "install the INF's driver for {} ({}), over a newer one too", plan);
    plan.can_succeed = !plan.steps.empty();
    plan.notes.push_back("the INF is " + path);
    return plan;
}

DevicePlan PlanRemove(const DeviceOrder& order) {
    DevicePlan plan;
    AddEach(order, "remove {} ({})", plan);
    plan.steps.push_back("take the driver package of " + order.inf + " out of the system");
    return plan;
}

DevicePlan PlanState(const DeviceOrder& order, const char* format) {
    DevicePlan plan;
    AddEach(order, format, plan);
    plan.can_succeed = !plan.steps.empty();
    return plan;
}

DevicePlan PlanStage(const DeviceOrder& order) {
    DevicePlan plan;
    const DriverInf inf = ReadInf(order);
    plan.steps = {
        "run the system's pnputil.exe without a window, for at most five minutes",
        fmt::format("put the driver package of {} into the driver store, and onto devices that it fits",
                    Utf8FromWideLossy(inf.path)),
    };
    for (const std::wstring& folder : inf.store_folders)
        plan.notes.push_back("a package of this name is in the store: " + Utf8FromWideLossy(folder));
    return plan;
}

}  // namespace

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

DevicePlan PlanOf(const DeviceOrder& order) {
    if (order.command == "install") return PlanInstall(order);
    if (order.command == "update") return PlanUpdate(order);
    if (order.command == "remove") return PlanRemove(order);
    if (order.command == "stage") return PlanStage(order);
    if (order.command == "enable")
        return PlanState(order, "enable {} ({}) in all hardware profiles, then in the present one");
    return PlanState(order, "disable {} ({}) in the present hardware profile");
}

void ShowPlan(const Context& context, const DeviceOrder& order, const DevicePlan& plan) {
    if (context.json) {
        return PrintJson({{"command", order.command},
                          {"dry_run", true},
                          {"steps", plan.steps},
                          {"notes", plan.notes},
                          {"can_succeed", plan.can_succeed}});
    }
    PrintLine("Nothing is changed. The plan:");
    for (std::size_t i = 0; i < plan.steps.size(); ++i) PrintLine(fmt::format("  {}. {}", i + 1, plan.steps[i]));
    for (const std::string& note : plan.notes) PrintLine("  Note: " + note);
    PrintLine(plan.can_succeed ? "It needs an administrator's rights." : "It would fail.");
}

}  // namespace tandor::app
