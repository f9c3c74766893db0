// The device manager's file: two collections of devices with their attributes, in SQLite.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "suite/sqlite/damaged_file.h"
#include "tandor/device_summary.h"

namespace pelora {

enum class Collection : int { kPresent = 0, kBound = 1 };

// Every operation returns a DM::DeviceStatus, is atomic, and may be called from any thread. The file is opened with the
// first one, and anew after a failure. One that finds the file held waits at most `patience` for processes and threads
// together.
class DeviceStore {
public:
    // Hears, once until an operation succeeds again, what is wrong with the file. Must not throw.
    using Report = std::function<void(const std::string& trouble)>;

    DeviceStore(std::filesystem::path file, Report report,
                std::chrono::milliseconds patience = std::chrono::milliseconds(kPatience));
    ~DeviceStore();
    DeviceStore(const DeviceStore&) = delete;
    DeviceStore& operator=(const DeviceStore&) = delete;

    // From now on every call reports an unavailable store and takes no lock. The file stays open.
    void Retire() noexcept { retired_ = true; }

    int GetRecord(Collection collection, const std::string& device, BluetoothDeviceSummary& record) noexcept;
    int SetRecord(Collection collection, const std::string& device, const BluetoothDeviceSummary& record) noexcept;
    int Delete(Collection collection, const std::string& device, bool even_trusted) noexcept;
    int List(Collection collection, std::vector<BluetoothDeviceSummary>& records) noexcept;

    // Members of the record by their names, other attributes by any other name, as the store's text.
    int GetText(Collection collection, const std::string& device, const std::string& name, std::string& text) noexcept;
    int SetText(Collection collection, const std::string& device, const std::string& name,
                std::string_view text) noexcept;

    // A count that only grows, by every change that anyone makes to either collection; sometimes without one.
    int ChangeCount(unsigned long long& count) noexcept;

private:
    class Tables;
    using Deadline = std::chrono::steady_clock::time_point;
    enum class Use { kRead, kWrite };
    static constexpr int kPatience = 10'000;  // ms

    template <class Operation>
    int Run(Use use, Operation operation) noexcept;
    Tables& Opened(Use use, Deadline deadline);
    void Succeeded(Use use);
    int Failed(Use use, Deadline deadline, const std::exception& error);
    int SetAside(Use use, Deadline deadline, const std::string& cause);
    void Tell(Use use, const std::string& trouble);

    const std::filesystem::path file_;
    Report report_;
    std::chrono::milliseconds patience_;
    std::atomic<bool> retired_{false};
    std::timed_mutex mutex_;  // of what follows
    DamagedFile damaged_{file_};
    std::unique_ptr<Tables> tables_;
    std::string told_;
    Use told_of_ = Use::kRead;
    unsigned long long changes_ = 0;
    std::uint32_t others_ = 0;  // what the tables said last of the changes of others
};

}  // namespace pelora
