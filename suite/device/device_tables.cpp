#include "suite/device/device_tables.h"

#include "suite/device/record_members.h"

namespace pelora {
namespace {

constexpr std::int64_t kVersion = 1;

// The members of a record are kept as attributes too: a later version may add members without changing the tables.
constexpr const char* kTables =
    "CREATE TABLE IF NOT EXISTS device (id INTEGER PRIMARY KEY, collection INTEGER NOT NULL, name BLOB NOT NULL,"
    " UNIQUE (collection, name));"
    "CREATE TABLE IF NOT EXISTS attribute (device INTEGER NOT NULL REFERENCES device(id) ON DELETE CASCADE,"
    " name BLOB NOT NULL, value BLOB NOT NULL, PRIMARY KEY (device, name)) WITHOUT ROWID;"
    "PRAGMA user_version=1";

std::int64_t Number(Collection collection) { return static_cast<std::int64_t>(collection); }

void AssignMember(BluetoothDeviceSummary& record, std::string_view name, std::string_view text) {
    const RecordMember* const member = FindRecordMember(name);
    if (member != nullptr && !member->Assign(record, text)) {
        throw std::range_error("the member " + std::string(name) + " of device '" + record.DeviceId + "' holds '" +
                               std::string(text) + "'");
    }
}

}  // namespace

struct DeviceStore::Tables::Statements {
    explicit Statements(Database& database)
        : find(database.Prepare("SELECT id FROM device WHERE collection=?1 AND name=?2")),
          add(database.Prepare("INSERT INTO device (collection, name) VALUES (?1, ?2) RETURNING id")),
          remove(database.Prepare("DELETE FROM device WHERE collection=?1 AND name=?2")),
          members(database.Prepare("SELECT name, value FROM attribute WHERE device=?1")),
          list(database.Prepare("SELECT device.id, device.name, attribute.name, value FROM device"
                                " LEFT JOIN attribute ON attribute.device=device.id"
                                " WHERE collection=?1 ORDER BY device.name")),
          text(database.Prepare("SELECT value FROM device"
                                " LEFT JOIN attribute ON attribute.device=device.id AND attribute.name=?3"
                                " WHERE collection=?1 AND device.name=?2")),
          set_text(database.Prepare("INSERT INTO attribute (device, name, value) SELECT id, ?3, ?4 FROM device"
                                    " WHERE collection=?1 AND name=?2"
                                    " ON CONFLICT (device, name) DO UPDATE SET value=excluded.value")),
          set_member(database.Prepare("INSERT INTO attribute (device, name, value) VALUES (?1, ?2, ?3)"
                                      " ON CONFLICT (device, name) DO UPDATE SET value=excluded.value"
                                      " WHERE value<>excluded.value")),
          data_version(database.Prepare("PRAGMA data_version")) {}

    Statement find, add, remove, members, list, text, set_text, set_member, data_version;
};

void DeviceStore::Tables::Destroy::operator()(Statements* statements) const noexcept { delete statements; }

DeviceStore::Tables::Tables(const std::string& utf8_path, Deadline deadline)
    : database_(utf8_path, MillisecondsUntil(deadline)) {
    database_.WaitUntil(deadline);
    CreateTables();
    statements_.reset(new Statements(database_));
}

void DeviceStore::Tables::CreateTables() {
    const std::int64_t version = database_.Number("PRAGMA user_version");
    if (version > kVersion) {
        throw LaterVersion("it is of version " + std::to_string(version) + ", this program knows up to " +
                           std::to_string(kVersion));
    }
    if (version == kVersion) return;
    Transaction transaction(database_);
    database_.Execute(kTables);
    transaction.Commit();
}

std::optional<BluetoothDeviceSummary> DeviceStore::Tables::Record(Collection collection, std::string_view device) {
    // One moment's state: a writer between the two statements is not seen.
    Rows found = statements_->find.Query(Number(collection), device);
    if (!found.Next()) return std::nullopt;
    BluetoothDeviceSummary record;
    record.DeviceId = device;
    Rows rows = statements_->members.Query(found.Integer(0));
    while (rows.Next()) AssignMember(record, rows.Bytes(0), rows.Bytes(1));
    return record;
}

std::vector<BluetoothDeviceSummary> DeviceStore::Tables::Records(Collection collection) {
    std::vector<BluetoothDeviceSummary> records;
    std::int64_t last = 0;
    Rows rows = statements_->list.Query(Number(collection));
    while (rows.Next()) {
        if (records.empty() || rows.Integer(0) != last) {
            last = rows.Integer(0);
            records.emplace_back().DeviceId = rows.Bytes(1);
        }
        AssignMember(records.back(), rows.Bytes(2), rows.Bytes(3));
    }
    return records;
}

void DeviceStore::Tables::SetRecord(Collection collection, std::string_view device,
                                    const BluetoothDeviceSummary& record) {
    Transaction transaction(database_);
    std::int64_t id = 0;
    if (Rows found = statements_->find.Query(Number(collection), device); found.Next()) {
        id = found.Integer(0);
    } else {
        Rows added = statements_->add.Query(Number(collection), device);
        added.Next();
        id = added.Integer(0);
        while (added.Next()) {
        }
    }
    for (const RecordMember& member : RecordMembers())
        statements_->set_member.Run(id, member.name, member.Text(record));
    transaction.Commit();
}

bool DeviceStore::Tables::Delete(Collection collection, std::string_view device) {
    statements_->remove.Run(Number(collection), device);
    return database_.Changes() > 0;
}

DeviceStore::Tables::Found DeviceStore::Tables::Text(Collection collection, std::string_view device,
                                                     std::string_view name) {
    Rows rows = statements_->text.Query(Number(collection), device, name);
    Found found{rows.Next(), std::nullopt};
    if (found.device && !rows.IsNull(0)) found.text = rows.Bytes(0);
    return found;
}

std::uint32_t DeviceStore::Tables::ChangesOfOthers() {
    Rows rows = statements_->data_version.Query();
    rows.Next();
    return static_cast<std::uint32_t>(rows.Integer(0));
}

bool DeviceStore::Tables::SetText(Collection collection, std::string_view device, std::string_view name,
                                  std::string_view text) {
    statements_->set_text.Run(Number(collection), device, name, text);
    return database_.Changes() > 0;
}

}  // namespace pelora
