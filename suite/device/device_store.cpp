#include "suite/device/device_store.h"

#include "base/utf.h"
#include "pelora/device_manager.h"
#include "suite/device/device_tables.h"
#include "suite/device/record_members.h"

namespace pelora {
namespace {

constexpr const char* kKeptName = "DeviceId";

std::string Utf8(const std::filesystem::path& path) { return tandor::Utf8FromWideLossy(path.native()); }

bool GoodName(const std::string& name) { return !name.empty() && name != kKeptName; }

}  // namespace

DeviceStore::DeviceStore(std::filesystem::path file, Report report, std::chrono::milliseconds patience)
    : file_(std::move(file)), report_(std::move(report)), patience_(patience) {}

DeviceStore::~DeviceStore() = default;

DeviceStore::Tables& DeviceStore::Opened(Use use, Deadline deadline) {
    // A reader may have opened a file that could not be written then: a writer looks whether that has passed.
    if (use == Use::kWrite && tables_ && tables_->Connection().ReadOnly()) tables_.reset();
    if (tables_) return *tables_;
    std::error_code ignored;  // the open below fails with the cause that matters
    std::filesystem::create_directories(file_.parent_path(), ignored);
    auto tables = std::make_unique<Tables>(Utf8(file_), deadline);
    others_ = tables->ChangesOfOthers();
    ++changes_;  // nobody counted what was changed while the file was closed
    tables_ = std::move(tables);
    return *tables_;
}

template <class Operation>
int DeviceStore::Run(Use use, Operation operation) noexcept {
    if (retired_) return DM::DEVICE_STORE_UNAVAILABLE;
    try {
        const Deadline deadline = std::chrono::steady_clock::now() + patience_;
        std::unique_lock lock(mutex_, std::try_to_lock);
        if (!lock && !lock.try_lock_until(deadline)) return DM::DEVICE_STORE_BUSY;
        try {
            Tables& tables = Opened(use, deadline);
            tables.Connection().WaitUntil(deadline);
            const int result = operation(tables);
            if (result == DM::DEVICE_OK) Succeeded(use);
            return result;
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            return Failed(use, deadline, error);
        }
    } catch (const std::bad_alloc&) {
        return DM::DEVICE_OUT_OF_MEMORY;
    } catch (const std::exception&) {  // from the handling of a failure, which has been reported
        return DM::DEVICE_STORE_UNAVAILABLE;
    }
}

// Reading says nothing of a store that cannot be written: what a writer was told stays told until one succeeds.
void DeviceStore::Succeeded(Use use) {
    if (use == Use::kWrite) ++changes_;
    if (use == Use::kWrite || told_of_ == Use::kRead) told_.clear();
}

int DeviceStore::Failed(Use use, Deadline deadline, const std::exception& error) {
    if (dynamic_cast<const std::range_error*>(&error) != nullptr) {
        Tell(Use::kWrite, error.what());  // it takes a write to mend it
        return DM::DEVICE_VALUE_UNSUITABLE;
    }
    const auto* const sqlite = dynamic_cast<const SqliteError*>(&error);
    if (sqlite != nullptr && sqlite->Damaged()) return SetAside(use, deadline, error.what());
    Tell(use, error.what());
    if (sqlite != nullptr && sqlite->Busy()) return DM::DEVICE_STORE_BUSY;
    if (sqlite != nullptr && sqlite->Full()) return DM::DEVICE_STORE_FULL;
    tables_.reset();
    const bool later = dynamic_cast<const LaterVersion*>(&error) != nullptr;
    return later ? DM::DEVICE_STORE_LATER_VERSION : DM::DEVICE_STORE_UNAVAILABLE;
}

void DeviceStore::Tell(Use use, const std::string& trouble) {
    if (trouble == told_) return;  // a store that stays as it is is reported once, not with each call
    told_ = trouble;
    told_of_ = use;
    report_("device store " + Utf8(file_) + ": " + trouble);
}

int DeviceStore::SetAside(Use use, Deadline deadline, const std::string& cause) {
    tables_.reset();
    const auto [done, text] =
        damaged_.SetAside(cause, [&] { Tables(Utf8(file_), deadline).Connection().CheckWhole(); });
    if (!text.empty()) Tell(use, text);
    return DM::DEVICE_STORE_DAMAGED;
}

int DeviceStore::GetRecord(Collection collection, const std::string& device, BluetoothDeviceSummary& record) noexcept {
    return Run(Use::kRead, [&](Tables& tables) {
        auto found = tables.Record(collection, device);
        if (!found) return DM::DEVICE_NOT_FOUND;
        record = std::move(*found);
        return DM::DEVICE_OK;
    });
}

int DeviceStore::SetRecord(Collection collection, const std::string& device,
                           const BluetoothDeviceSummary& record) noexcept {
    return Run(Use::kWrite, [&](Tables& tables) {
        if (device.empty()) return DM::DEVICE_BAD_NAME;
        tables.SetRecord(collection, device, record);
        return DM::DEVICE_OK;
    });
}

int DeviceStore::Delete(Collection collection, const std::string& device, bool even_trusted) noexcept {
    return Run(Use::kWrite, [&](Tables& tables) {
        Transaction transaction(tables.Connection());
        if (!even_trusted && tables.Text(collection, device, "IsTrusted").text == "1") return DM::DEVICE_TRUSTED;
        if (!tables.Delete(collection, device)) return DM::DEVICE_NOT_FOUND;
        transaction.Commit();
        return DM::DEVICE_OK;
    });
}

int DeviceStore::List(Collection collection, std::vector<BluetoothDeviceSummary>& records) noexcept {
    return Run(Use::kRead, [&](Tables& tables) {
        records = tables.Records(collection);
        return DM::DEVICE_OK;
    });
}

int DeviceStore::GetText(Collection collection, const std::string& device, const std::string& name,
                         std::string& text) noexcept {
    return Run(Use::kRead, [&](Tables& tables) {
        auto found = tables.Text(collection, device, name);
        if (!found.device) return DM::DEVICE_NOT_FOUND;
        if (name == kKeptName) {
            text = device;
        } else if (found.text) {
            text = std::move(*found.text);
        } else {
            // Stored by an earlier version that did not know this member.
            const RecordMember* const member = FindRecordMember(name);
            if (member == nullptr) return DM::DEVICE_NO_ATTRIBUTE;
            text = member->Text({});
        }
        return DM::DEVICE_OK;
    });
}

int DeviceStore::SetText(Collection collection, const std::string& device, const std::string& name,
                         std::string_view text) noexcept {
    return Run(Use::kWrite, [&](Tables& tables) {
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

int DeviceStore::ChangeCount(unsigned long long& count) noexcept {
    return Run(Use::kRead, [&](Tables& tables) {
        const std::uint32_t others = tables.ChangesOfOthers();
        changes_ += others - others_;
        others_ = others;
        count = changes_;
        return DM::DEVICE_OK;
    });
}

}  // namespace pelora
