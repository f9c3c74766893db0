// The tables of the device store and the statements on them. Failures are exceptions.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "suite/device/device_store.h"
#include "suite/sqlite/database.h"

namespace pelora {

// The store was written by a later version of this program.
class LaterVersion : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class DeviceStore::Tables {
public:
    // Opens or creates the database. Throws SqliteError and LaterVersion.
    Tables(const std::string& utf8_path, Deadline deadline);

    // The record with the name in DeviceId; nothing for a device that is not there. Throws std::range_error for a
    // member whose stored text is none of its type.
    std::optional<BluetoothDeviceSummary> Record(Collection collection, std::string_view device);
    std::vector<BluetoothDeviceSummary> Records(Collection collection);
    void SetRecord(Collection collection, std::string_view device, const BluetoothDeviceSummary& record);
    bool Delete(Collection collection, std::string_view device);

    struct Found {
        bool device = false;              // it is there
        std::optional<std::string> text;  // of the attribute, when the device has it
    };
    Found Text(Collection collection, std::string_view device, std::string_view name);
    // False when the device is not there.
    bool SetText(Collection collection, std::string_view device, std::string_view name, std::string_view text);

    // Another number after each change that another connection, of this process or another, has made.
    std::uint32_t ChangesOfOthers();

    Database& Connection() { return database_; }

private:
    void CreateTables();

    Database database_;
    struct Statements;
    struct Destroy {
        void operator()(Statements* statements) const noexcept;
    };
    std::unique_ptr<Statements, Destroy> statements_;
};

}  // namespace pelora
