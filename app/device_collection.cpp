#include "app/device_collection.h"

#include "app/command.h"
#include "pelora/device_manager.h"
#include "pelora/file_info.h"

namespace tandor::app {
namespace {

DM::DeviceMgr& Manager() { return DM::DeviceMgr::GetInstance(); }

std::string Folder() { return FileInfo::GetPeloraCommDir() + "\\device"; }

}  // namespace

void DeviceCollection::Check(int status, const std::string& device, const std::string& attribute) const {
    const std::string thing = device.empty() ? std::string(Kind()) + " devices" : Kind() + (" device '" + device + "'");
    const std::string named = attribute.empty() ? thing : thing + ", attribute '" + attribute + "'";
    const std::string list =
        std::string("tandorctl device list") + (bound_ ? " --bound" : "") + " shows those there are";
    switch (status) {
        case DM::DEVICE_OK:
            return;
        case DM::DEVICE_NOT_FOUND:
            throw CommandError(thing, "there is no such device", list);
        case DM::DEVICE_NO_ATTRIBUTE:
            throw CommandError(named, "there is no such attribute",
                               "tandorctl device show lists what the feature keeps of a device");
        case DM::DEVICE_VALUE_UNSUITABLE:
            throw CommandError(named, "the value is none of its type", "numbers are decimal, flags 1 or 0");
        case DM::DEVICE_BAD_NAME:
            throw CommandError(named, "the name cannot be used", "names are not empty, and DeviceId is only read");
        case DM::DEVICE_TRUSTED:
            throw CommandError(thing, "it is trusted", "forget it with --even-trusted");
        case DM::DEVICE_STORE_BUSY:
            throw CommandError(thing, "other programs keep the store busy", "try again");
        case DM::DEVICE_STORE_DAMAGED:
            throw CommandError(thing, "the store was found damaged",
                               "try again; the host log (--follow) says where the old one lies, or what is in the way");
        case DM::DEVICE_STORE_LATER_VERSION:
            throw CommandError(thing, "a later version of the suite wrote the store under " + Folder(),
                               "use that version's tandorctl");
        case DM::DEVICE_STORE_FULL:
            throw CommandError(thing, "the disk has no room for the store under " + Folder(),
                               "free some, then try again; what was stored before is as it was");
        default:
            throw CommandError(thing, "the store under " + Folder() + " cannot be used", "--follow shows why");
    }
}

std::vector<BluetoothDeviceSummary> DeviceCollection::Records() const {
    std::vector<BluetoothDeviceSummary> records;
    Check(bound_ ? Manager().GetBoundDeviceInfoList(records) : Manager().GetPresentDeviceInfoList(records), {});
    return records;
}

BluetoothDeviceSummary DeviceCollection::Record(const std::string& device) const {
    BluetoothDeviceSummary record;
    Check(bound_ ? Manager().GetBoundDeviceInfo(device, record) : Manager().GetPresentDeviceInfo(device, record),
          device);
    return record;
}

void DeviceCollection::SetRecord(const std::string& device, const BluetoothDeviceSummary& record) const {
    Check(bound_ ? Manager().SetBoundDeviceInfo(device, record) : Manager().SetPresentDeviceInfo(device, record),
          device);
}

void DeviceCollection::Delete(const std::string& device, bool even_trusted) const {
    Check(bound_ ? Manager().DeleteBoundDeviceInfo(device, even_trusted) : Manager().DeletePresentDeviceInfo(device),
          device);
}

std::string DeviceCollection::Text(const std::string& device, const std::string& attribute) const {
    std::string text;
    if (!FindText(device, attribute, text)) Check(DM::DEVICE_NO_ATTRIBUTE, device, attribute);
    return text;
}

void DeviceCollection::SetText(const std::string& device, const std::string& attribute, const std::string& text) const {
    Check(bound_ ? Manager().SetBoundDeviceInfoByName(device, attribute, text)
                 : Manager().SetPresentDeviceInfoByName(device, attribute, text),
          device, attribute);
}

bool DeviceCollection::Contains(const std::string& device) const {
    std::string text;
    const int status = bound_ ? Manager().GetBoundDeviceInfoByName(device, "DeviceId", text)
                              : Manager().GetPresentDeviceInfoByName(device, "DeviceId", text);
    if (status != DM::DEVICE_NOT_FOUND) Check(status, device);
    return status == DM::DEVICE_OK;
}

bool DeviceCollection::FindText(const std::string& device, const std::string& attribute, std::string& text) const {
    const int status = bound_ ? Manager().GetBoundDeviceInfoByName(device, attribute, text)
                              : Manager().GetPresentDeviceInfoByName(device, attribute, text);
    if (status != DM::DEVICE_NO_ATTRIBUTE) Check(status, device, attribute);
    return status == DM::DEVICE_OK;
}

}  // namespace tandor::app
