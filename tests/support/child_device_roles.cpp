#include <windows.h>

#include <algorithm>
#include <cstdio>

#include "base/utf.h"
#include "base/win_handle.h"
#include "pelora/device_manager.h"
#include "suite/device/device_store.h"
#include "support/child_roles.h"
#include "support/files.h"

namespace tandor::test {
namespace {

pelora::DeviceStore Open(const std::wstring& path) {
    return {path, [](const std::string& trouble) { std::fprintf(stderr, "%s\n", trouble.c_str()); }};
}

std::string Name(unsigned long long number) { return "device-" + std::to_string(number); }

}  // namespace

int StoreRecords(const Arguments& arguments) {
    const std::string before = ReadAll(arguments.at(1));
    auto number = static_cast<unsigned long long>(std::count(before.begin(), before.end(), '\n'));
    pelora::DeviceStore store = Open(arguments.at(0));
    const FileHandle report(::CreateFileW(arguments.at(1).c_str(), FILE_APPEND_DATA | SYNCHRONIZE, FILE_SHARE_READ,
                                          nullptr, OPEN_ALWAYS, 0, nullptr));
    if (!report) return 1;
    for (;; ++number) {
        BluetoothDeviceSummary record;
        record.MacAddrInt = number;
        if (store.SetRecord(pelora::Collection::kPresent, Name(number), record) != DM::DEVICE_OK) return 3;
        const std::string line = std::to_string(number) + "\n";
        DWORD written = 0;
        ::WriteFile(report.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    }
}

int CheckRecords(const Arguments& arguments) {
    const std::string report = ReadAll(arguments.at(1));
    const auto count = static_cast<unsigned long long>(std::count(report.begin(), report.end(), '\n'));
    pelora::DeviceStore store = Open(arguments.at(0));
    for (unsigned long long number = 0; number < count; ++number) {
        BluetoothDeviceSummary record;
        const int result = store.GetRecord(pelora::Collection::kPresent, Name(number), record);
        if (result == DM::DEVICE_OK && record.MacAddrInt == number) continue;
        std::fprintf(stderr, "device %llu of %llu is missing, result %d\n", number, count, result);
        return 4;
    }
    return 0;
}

int StoreAttributes(const Arguments& arguments) {
    pelora::DeviceStore store = Open(arguments.at(0));
    const std::string device = Utf8FromWide(arguments.at(1));
    const std::string prefix = Utf8FromWide(arguments.at(2));
    const int count = std::stoi(arguments.at(3));
    for (int number = 0; number < count; ++number) {
        const std::string text = std::to_string(number);
        const int result = store.SetText(pelora::Collection::kPresent, device, prefix + text, text);
        if (result != DM::DEVICE_OK) return 10 + result;
    }
    return 0;
}

}  // namespace tandor::test
