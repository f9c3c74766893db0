/// @file
/// The device manager: what is remembered about peer devices, shared by all processes of the suite.
#pragma once

#include <string>
#include <vector>

#include "pelora/api.h"
#include "tandor/device_summary.h"

/// What is remembered about peer devices.
namespace DM {

/// What every operation returns. Out-parameters are changed by DEVICE_OK alone.
enum DeviceStatus : int {
    DEVICE_OK = 0,                ///< done
    DEVICE_NOT_FOUND = 1,         ///< the collection has no device of that name
    DEVICE_NO_ATTRIBUTE = 2,      ///< the device has no attribute of that name
    DEVICE_VALUE_UNSUITABLE = 3,  ///< the value does not convert to the type that was asked for, or that the member has
    DEVICE_BAD_NAME = 4,          ///< an empty device or attribute name, or one that is only read ("DeviceId")
    DEVICE_TRUSTED = 5,           ///< the device is trusted and the call does not delete trusted ones
    DEVICE_STORE_BUSY = 6,        ///< other processes held the store for 10 s
    DEVICE_STORE_UNAVAILABLE = 7,  ///< the store cannot be opened, read or written; the host log says why
    DEVICE_STORE_DAMAGED = 8,      ///< the store was found damaged and set aside; the next call begins a new one
    DEVICE_OUT_OF_MEMORY = 9,      ///< nothing was changed
};

/// Two collections of records by device name, present (currently seen) and bound (paired) devices. Beside its record
/// each device carries named attributes. An attribute whose name is that of a member of the record ("DevName", exact
/// case) is that member.
///
/// A value is kept as text and converted on the way out: a bool is "1" or "0", numbers are decimal, wide text is UTF-8.
/// As bool reads "1", "0", "true", "false" and any whole number (not 0: true); as a number reads what is a decimal
/// number of that type in full; as text everything reads.
///
/// The store is "device\devices.db" under the suite's common directory (SQLite). What a call has reported as stored
/// survives the death of every process; a power failure may take the last moments' changes, never the store. A damaged
/// store is renamed to "devices.damaged-<time>.db" beside it, never deleted, and the host log names it.
///
/// Threads and processes: every operation may be called from any thread of any process at any time; each is atomic.
/// Nothing throws.
class PELORA_API DeviceMgr {
public:
    /// The process-wide instance; it lives until the suite is unloaded. The store is opened by the first operation.
    static DeviceMgr& GetInstance();

    /// Reading a record fills its DeviceId with the name. A list is in ascending byte order of the names.
    /// @{
    [[nodiscard]] int GetPresentDeviceInfo(const std::string& device, BluetoothDeviceSummary& record) noexcept;
    [[nodiscard]] int GetPresentDeviceInfoList(std::vector<BluetoothDeviceSummary>& records) noexcept;
    [[nodiscard]] int GetBoundDeviceInfo(const std::string& device, BluetoothDeviceSummary& record) noexcept;
    [[nodiscard]] int GetBoundDeviceInfoList(std::vector<BluetoothDeviceSummary>& records) noexcept;
    /// @}

    /// Stores the record under `device`, whatever its DeviceId says; the attributes of a device that is there already
    /// stay.
    /// @{
    [[nodiscard]] int SetPresentDeviceInfo(const std::string& device, const BluetoothDeviceSummary& record) noexcept;
    [[nodiscard]] int SetBoundDeviceInfo(const std::string& device, const BluetoothDeviceSummary& record) noexcept;
    /// @}

    /// Deletes record and attributes. A bound device that is trusted goes only with `deleteTrusted`.
    /// @{
    [[nodiscard]] int DeletePresentDeviceInfo(const std::string& device) noexcept;
    [[nodiscard]] int DeleteBoundDeviceInfo(const std::string& device, bool deleteTrusted) noexcept;
    /// @}

    /// An attribute's value, converted to the type of `value`.
    /// @{
    [[nodiscard]] int GetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                                 bool& value) noexcept;
    [[nodiscard]] int GetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                                 int& value) noexcept;
    [[nodiscard]] int GetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                                 unsigned long long& value) noexcept;
    [[nodiscard]] int GetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                                 std::string& value) noexcept;
    [[nodiscard]] int GetBoundDeviceInfoByName(const std::string& device, const std::string& name,
                                               std::string& value) noexcept;
    /// @}

    /// Stores an attribute. The values taken by reference are not changed. A device that is not there is not created.
    /// @{
    [[nodiscard]] int SetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                                 const std::string& value) noexcept;
    [[nodiscard]] int SetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                                 bool& value) noexcept;
    [[nodiscard]] int SetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                                 int& value) noexcept;
    [[nodiscard]] int SetPresentDeviceInfoByName(const std::string& device, const std::string& name,
                                                 const std::wstring& value) noexcept;
    [[nodiscard]] int SetBoundDeviceInfoByName(const std::string& device, const std::string& name,
                                               const std::string& value) noexcept;
    /// @}

    DeviceMgr(const DeviceMgr&) = delete;
    DeviceMgr& operator=(const DeviceMgr&) = delete;

private:
    DeviceMgr();
    ~DeviceMgr();

    class Impl;
    Impl* impl_;
};

}  // namespace DM
