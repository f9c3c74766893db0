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
    DEVICE_STORE_BUSY = 6,        ///< other processes and threads held the store for 10 s; nothing was changed
    DEVICE_STORE_UNAVAILABLE = 7,  ///< the store cannot be opened, read or written; the host log says why
    DEVICE_STORE_DAMAGED = 8,  ///< the store was found damaged. It was set aside, and the next call begins a new one;
                               ///< or it could not be, and the host log says why
    DEVICE_OUT_OF_MEMORY = 9,  ///< nothing was changed
    DEVICE_STORE_LATER_VERSION = 10,  ///< a later version of the suite wrote the store; it is left alone
    DEVICE_STORE_FULL = 11,           ///< the disk has no room for the change; nothing was changed
};

/// Two collections of records by device name, present (currently seen) and bound (paired) devices. Beside its record
/// each device carries named attributes. An attribute whose name is that of a member of the record ("DevName", exact
/// case) is that member.
///
/// A value is kept as text and converted on the way out: a bool is "1" or "0", numbers are decimal, wide text is UTF-8.
/// - As bool reads "true", "false" (this case) and any whole number of at most 64 bits, "-" allowed: 0 is
///   false, every other true.
/// - As a number reads what is a decimal number in full: no blanks, no "+", no fraction, no exponent, not "". One
///   beyond the range of the type that is asked for, and a negative one for an unsigned type, does not read: nothing is
///   cut off.
/// - As text everything reads.
///
/// What does not read gives DEVICE_VALUE_UNSUITABLE and leaves the caller's value. So does, on the way in, wide text
/// that is not UTF-16, and for a member of the record a value that is none of the member's type; then nothing is
/// stored. A list one of whose records does not read (another program wrote to the file) gives that code as a whole,
/// and the host log names the device and the member.
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

    /// A count to notice changes by, without reading a list: as long as it is the same, nobody in any process has
    /// changed anything in either collection. It grows with each change, and sometimes without one (after a failure,
    /// for one); it means nothing to another process, nor after a restart. Costs one look at the file's state.
    [[nodiscard]] int GetChangeCount(unsigned long long& count) noexcept;

    DeviceMgr(const DeviceMgr&) = delete;
    DeviceMgr& operator=(const DeviceMgr&) = delete;

private:
    DeviceMgr();
    ~DeviceMgr();

    class Impl;
    Impl* impl_;
};

}  // namespace DM
