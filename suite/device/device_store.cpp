#include "suite/device/device_store.h"

#include "base/utf.h"
#include "pelora/device_manager.h"
#include "suite/device/device_tables.h"
#include "suite/device/record_members.h"
#include "suite/sqlite/damaged_file.h"

namespace pelora {
namespace {

constexpr const char* kKeptName = "DeviceId";

std::string Utf8(const std::filesystem::path& path) { return tandor::Utf8FromWideLossy(path.native()); }

bool GoodName(const std::string& name) { return !name.empty() && name != kKeptName; }

}  // namespace

DeviceStore::DeviceStore(std::filesystem::path file, Report report)
    : file_(std::move(file)), report_(std::move(report)) {}

DeviceStore::~DeviceStore() = default;

DeviceStore::Tables& DeviceStore::Opened() {
    if (tables_) return *tables_;
    std::error_code ignored;  // the open below fails with the cause that matters
    std::filesystem::create_directories(file_.parent_path(), ignored);
    tables_ = std::make_unique<Tables>(Utf8(file_));
    told_.clear();
    return *tables_;
}

template <class Operation>
int DeviceStore::Run(Operation operation) noexcept {
    if (retired_) return DM::DEVICE_STORE_UNAVAILABLE;
    try {
        const std::lock_guard lock(mutex_);
        try {
            return operation(Opened());
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            return Failed(error);
        }
    } catch (const std::bad_alloc&) {
        return DM::DEVICE_OUT_OF_MEMORY;
    } catch (const std::exception&) {  // from the handling of a failure, which has been reported
        return DM::DEVICE_STORE_UNAVAILABLE;
    }
}

int DeviceStore::Failed(const std::exception& error) {
    if (dynamic_cast<const std::range_error*>(&error) != nullptr) {
        Tell(error.what());
        return DM::DEVICE_VALUE_UNSUITABLE;
    }
    const auto* const sqlite = dynamic_cast<const SqliteError*>(&error);
    if (sqlite != nullptr && sqlite->Damaged()) return SetAside(error.what());
    Tell(error.what());
    if (sqlite != nullptr && sqlite->Busy()) return DM::DEVICE_STORE_BUSY;
    tables_.reset();
    return DM::DEVICE_STORE_UNAVAILABLE;
}

void DeviceStore::Tell(const std::string& trouble) {
    if (trouble == told_) return;  // a store that stays as it is is reported once, not with each call
    told_ = trouble;
    report_("device store " + Utf8(file_) + ": " + trouble);
}

int DeviceStore::SetAside(const std::string& cause) {
    tables_.reset();
    const std::string done = SetAsideDamaged(file_, cause, [this] { Tables(Utf8(file_)).Connection().CheckWhole(); });
    if (!done.empty()) Tell(done);
    return DM::DEVICE_STORE_DAMAGED;
}

int DeviceStore::GetRecord(Collection collection, const std::string& device, BluetoothDeviceSummary& record) noexcept {
    return Run([&](Tables& tables) {
        auto found = tables.Record(collection, device);
        if (!found) return DM::DEVICE_NOT_FOUND;
        record = std::move(*found);
        return DM::DEVICE_OK;
    });
}

int DeviceStore::SetRecord(Collection collection, const std::string& device,
                           const BluetoothDeviceSummary& record) noexcept {
    return Run([&](Tables& tables) {
        if (device.empty()) return DM::DEVICE_BAD_NAME;
        tables.SetRecord(collection, device, record);
        return DM::DEVICE_OK;
    });
}

int DeviceStore::Delete(Collection collection, const std::string& device, bool even_trusted) noexcept {
    return Run([&](Tables& tables) {
        Transaction transaction(tables.Connection());
        if (!even_trusted && tables.Text(collection, device, "IsTrusted") == "1") return DM::DEVICE_TRUSTED;
        if (!tables.Delete(collection, device)) return DM::DEVICE_NOT_FOUND;
        transaction.Commit();
        return DM::DEVICE_OK;
    });
}

int DeviceStore::List(Collection collection, std::vector<BluetoothDeviceSummary>& records) noexcept {
    return Run([&](Tables& tables) {
        records = tables.Records(collection);
        return DM::DEVICE_OK;
    });
}

int DeviceStore::GetText(Collection collection, const std::string& device, const std::string& name,
                         std::string& text) noexcept {
    return Run([&](Tables& tables) {
        if (name == kKeptName && tables.Contains(collection, device)) {
            text = device;
            return DM::DEVICE_OK;
        }
        auto found = tables.Text(collection, device, name);
        if (!found && !tables.Contains(collection, device)) return DM::DEVICE_NOT_FOUND;
        if (!found) {
            // Stored by an earlier version that did not know this member.
            const RecordMember* const member = FindRecordMember(name);
            if (member == nullptr) return DM::DEVICE_NO_ATTRIBUTE;
            found = member->Text({});
        }
        text = std::move(*found);
        return DM::DEVICE_OK;
    });
}

int DeviceStore::SetText(Collection collection, const std::string& device, const std::string& name,
                         std::string_view text) noexcept {
    return Run([&](Tables& tables) {
        if (!GoodName(name)) return DM::DEVICE_BAD_NAME;
        std::optional<std::string> normalized;
        if (const RecordMember* const member = FindRecordMember(name)) {
            normalized = member->Normalized(text);
            if (!normalized) return DM::DEVICE_VALUE_UNSUITABLE;
            text = *normalized;
        }
        return tables.SetText(collection, device, name, text) ? DM::DEVICE_OK : DM::DEVICE_NOT_FOUND;
    });
}

}  // namespace pelora
