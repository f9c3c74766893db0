// What devices and driver packages there are.
#include <windows.h>

#include <cfgmgr32.h>

#include "system/attempt.h"
#include "system/device_nodes.h"
#include "system/hardware_id.h"
#include "system/store_search.h"
#include "system/system_path.h"
#include "tandor/device_console.h"

namespace Vxa::Exp {
namespace {

void ReadState(DEVINST device, DeviceNode& node) {
    ULONG status = 0;
    ULONG problem = 0;
    if (::CM_Get_DevNode_Status(&status, &problem, device, 0) != CR_SUCCESS) return;
    if ((status & DN_HAS_PROBLEM) != 0) {
        node.state = problem == CM_PROB_DISABLED ? DeviceNode::State::kDisabled : DeviceNode::State::kProblem;
        node.problem = problem;
    } else {
        node.state = (status & DN_STARTED) != 0 ? DeviceNode::State::kStarted : DeviceNode::State::kStopped;
    }
}

DeviceNode ReadNode(HDEVINFO list, SP_DEVINFO_DATA& device) {
    DeviceNode node;
    node.instance = tandor::DeviceInstance(list, device);
    node.class_name = tandor::DeviceProperty(list, device, SPDRP_CLASS);
    node.description = tandor::DeviceProperty(list, device, SPDRP_FRIENDLYNAME);
    if (node.description.empty()) node.description = tandor::DeviceProperty(list, device, SPDRP_DEVICEDESC);
    const std::wstring identifiers = tandor::DeviceProperty(list, device, SPDRP_HARDWAREID);
    for (const std::wstring_view identifier : tandor::IdentifiersOf(identifiers))
        node.hardware_ids.emplace_back(identifier);
    ReadState(device.DevInst, node);
    return node;
}

tandor::DeviceAction Into(std::vector<DeviceNode>& out) {
    return [&out](HDEVINFO list, SP_DEVINFO_DATA& device) -> DWORD {
        out.push_back(ReadNode(list, device));
        return ERROR_SUCCESS;
    };
}

unsigned long Emptied(std::vector<DeviceNode>& out, DWORD error) {
    if (error != ERROR_SUCCESS) out.clear();
    return error;
}

}  // namespace

unsigned long DeviceInventory::List(std::vector<DeviceNode>& out) {
    out.clear();
    return Emptied(out, tandor::ForEachDevice(Into(out)));
}

unsigned long DeviceInventory::Find(const std::wstring& hardwareId, std::vector<DeviceNode>& out) {
    out.clear();
    return Emptied(out, tandor::ForEachMatch(hardwareId, Into(out)).error);
}

unsigned long DeviceInventory::ReadInf(const std::wstring& infPath, DriverInf& out) {
    out = {};
    DriverInf inf;
    DWORD error = tandor::ExistingFile(infPath, inf.path);
    if (error != ERROR_SUCCESS) return error;
    GUID class_id{};
    error = tandor::ReadInfClass(inf.path, class_id, inf.class_name);
    if (error != ERROR_SUCCESS) return error;
    tandor::StoreSearch search = tandor::FindStoreFolders(inf.path);
    error = search.error;
    if (error != ERROR_SUCCESS && error != ERROR_PATH_NOT_FOUND && error != ERROR_FILE_NOT_FOUND) return error;
    inf.store_folders = std::move(search.folders);
    out = std::move(inf);
    return ERROR_SUCCESS;
}

}  // namespace Vxa::Exp
