// Attributes through the device store beside one statement that a program prepared itself, on the same tables and with
// the same settings.
#include <windows.h>

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

#include "base/utf.h"
#include "benchmarks/ratio.h"
#include "suite/device/device_store.h"

namespace tandor::bench {
namespace {

using pelora::Collection;

constexpr int kDevices = 100;
constexpr std::string_view kDevice = "device 50", kAttribute = "peerDeviceVersion";

// A store of its own, taken away at the end.
struct Store {
    explicit Store(const wchar_t* name)
        : folder(std::filesystem::temp_directory_path() /
                 (L"tandor-device-benchmark-" + std::to_wstring(::GetCurrentProcessId())) / name),
          file(folder / L"devices.db"),
          store(std::make_unique<pelora::DeviceStore>(
              file, [](const std::string& trouble) { throw std::runtime_error(trouble); })) {
        for (int i = 0; i < kDevices; ++i) {
            BluetoothDeviceSummary record;
            record.DevName = "device " + std::to_string(i);
            Good(store->SetRecord(Collection::kPresent, record.DevName, record));
        }
        Good(store->SetText(Collection::kPresent, std::string(kDevice), std::string(kAttribute), "10.0.0.100"));
    }
    ~Store() {
        store.reset();
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    static void Good(int status) {
        if (status != 0) throw std::runtime_error("device store: status " + std::to_string(status));
    }

    std::filesystem::path folder, file;
    std::unique_ptr<pelora::DeviceStore> store;
};

class ByHand {
public:
    explicit ByHand(const wchar_t* name) : store_(name) {
        Good(::sqlite3_open(Utf8FromWide(store_.file.native()).c_str(), &database_));
        Good(::sqlite3_exec(database_, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON",
                            nullptr, nullptr, nullptr));
        get_ = Prepared(
            "SELECT value FROM attribute JOIN device ON attribute.device=device.id"
            " WHERE collection=0 AND device.name=?1 AND attribute.name=?2");
        set_ = Prepared(
            "INSERT INTO attribute (device, name, value) SELECT id, ?2, ?3 FROM device WHERE collection=0 AND name=?1"
            " ON CONFLICT (device, name) DO UPDATE SET value=excluded.value");
    }
    ~ByHand() {
        ::sqlite3_finalize(get_);
        ::sqlite3_finalize(set_);
        ::sqlite3_close(database_);
    }
    ByHand(const ByHand&) = delete;
    ByHand& operator=(const ByHand&) = delete;

    std::string Get() {
        BindNames(get_);
        if (::sqlite3_step(get_) != SQLITE_ROW) throw std::runtime_error(::sqlite3_errmsg(database_));
        std::string text(static_cast<const char*>(::sqlite3_column_blob(get_, 0)),
                         static_cast<std::size_t>(::sqlite3_column_bytes(get_, 0)));
        ::sqlite3_reset(get_);
        return text;
    }
    void Set(const std::string& text) {
        BindNames(set_);
        ::sqlite3_bind_blob(set_, 3, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
        if (::sqlite3_step(set_) != SQLITE_DONE) throw std::runtime_error(::sqlite3_errmsg(database_));
        ::sqlite3_reset(set_);
    }

private:
    void Good(int code) const {
        if (code != SQLITE_OK) throw std::runtime_error(::sqlite3_errmsg(database_));
    }
    sqlite3_stmt* Prepared(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        Good(::sqlite3_prepare_v3(database_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
        return statement;
    }
    static void BindNames(sqlite3_stmt* statement) {
        int place = 0;
        for (const std::string_view name : {kDevice, kAttribute})
            ::sqlite3_bind_blob(statement, ++place, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
    }

    Store store_;
    sqlite3* database_ = nullptr;
    sqlite3_stmt* get_ = nullptr;
    sqlite3_stmt* set_ = nullptr;
};

// Every write changes the value.
std::string NextText() {
    static int number = 0;
    return std::to_string(++number);
}

}  // namespace

void AddDeviceStore() {
    const auto ours = std::make_shared<Store>(L"ours");
    const auto by_hand = std::make_shared<ByHand>(L"by hand");
    const std::string device(kDevice), attribute(kAttribute);
    Compare("device attribute, read from the store", "one prepared SQLite statement by hand", AtMostTimes(1.3),
            Repeat([=] {
                std::string text;
                Store::Good(ours->store->GetText(Collection::kPresent, device, attribute, text));
                return text;
            }),
            Repeat([=] { return by_hand->Get(); }));
    Compare("device attribute, written to the store", "one prepared SQLite statement by hand", AtMostTimes(1.15),
            Repeat([=] {
                const std::string text = NextText();
                Store::Good(ours->store->SetText(Collection::kPresent, device, attribute, text));
                return text.size();
            }),
            Repeat([=] {
                const std::string text = NextText();
                by_hand->Set(text);
                return text.size();
            }));
    Compare("device store, asked whether anything has changed", "a list of 100 devices", Reported(), Repeat([=] {
                unsigned long long count = 0;
                Store::Good(ours->store->ChangeCount(count));
                return count;
            }),
            Repeat([=] {
                std::vector<BluetoothDeviceSummary> records;
                Store::Good(ours->store->List(Collection::kPresent, records));
                return records;
            }));
}

}  // namespace tandor::bench
