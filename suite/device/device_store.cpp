#include "suite/device/device_store.h"

#include <windows.h>

#include <chrono>
#include <thread>

#include "base/utf.h"
#include "base/win_error.h"
#include "base/win_handle.h"
#include "pelora/device_manager.h"
#include "suite/device/device_tables.h"
#include "suite/device/record_members.h"

namespace pelora {
namespace {

constexpr int kGuardTries = 100;  // of 20 ms
constexpr const char* kKeptName = "DeviceId";

std::string Utf8(const std::filesystem::path& path) { return tandor::Utf8FromWideLossy(path.native()); }

// Held by the one process that sets a damaged store aside: an open of this file that shares nothing.
tandor::FileHandle HoldGuard(const std::filesystem::path& path) {
    for (int attempt = 0; attempt < kGuardTries; ++attempt) {
        tandor::FileHandle guard(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                               FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        if (guard) return guard;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return {};
}

std::wstring NowAsName() {
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    wchar_t text[32];
    ::swprintf(text, std::size(text), L"%04u%02u%02u-%02u%02u%02u-%03u", now.wYear, now.wMonth, now.wDay, now.wHour,
               now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

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

// Another process may have met the same damage and have begun the new store already: only what is damaged when it is
// opened under the guard is renamed.
int DeviceStore::SetAside(const std::string& cause) {
    tables_.reset();
    const tandor::FileHandle guard = HoldGuard(file_.native() + L".guard");
    if (!guard) {
        Tell(cause + "; another process is busy with it");
        return DM::DEVICE_STORE_DAMAGED;
    }
    try {
        Tables(Utf8(file_)).Connection().CheckWhole();
        return DM::DEVICE_STORE_DAMAGED;
    } catch (const SqliteError& error) {
        if (!error.Damaged()) {
            Tell(error.what());
            return DM::DEVICE_STORE_DAMAGED;
        }
    }
    const std::filesystem::path aside =
        file_.parent_path() / (file_.stem().native() + L".damaged-" + NowAsName() + file_.extension().native());
    if (::MoveFileExW(file_.c_str(), aside.c_str(), 0) == 0) {
        Tell(cause + "; it could not be set aside: " + tandor::WindowsErrorText(::GetLastError()));
        return DM::DEVICE_STORE_DAMAGED;
    }
    for (const wchar_t* const part : {L"-wal", L"-shm"}) {
        ::MoveFileExW((file_.native() + part).c_str(), (aside.native() + part).c_str(), 0);  // they may not be there
    }
    Tell(cause + "; it was set aside as " + Utf8(aside) + " and a new one is begun");
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
