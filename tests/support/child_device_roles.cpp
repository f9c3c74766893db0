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

using pelora::Collection;

constexpr unsigned long long kSteps = 4;  // for each device: it is made, noted twice, and then noted again or deleted

std::string Name(unsigned long long device) { return "device-" + std::to_string(device); }

bool IsDeleted(unsigned long long device) { return device % 2 != 0; }

int TakeStep(pelora::DeviceStore& store, unsigned long long device, unsigned long long step) {
    if (step == 0) {
        BluetoothDeviceSummary record;
        record.MacAddrInt = device;
        return store.SetRecord(Collection::kPresent, Name(device), record);
    }
    if (step + 1 < kSteps || !IsDeleted(device))
        return store.SetText(Collection::kPresent, Name(device), "note", std::to_string(step));
    const int result = store.Delete(Collection::kPresent, Name(device), true);
    return result == DM::DEVICE_NOT_FOUND ? int{DM::DEVICE_OK} : result;  // the one before had done it, and was killed
}

// What the device is after so many of its steps, and what it is seen to be.
std::string Expected(unsigned long long device, unsigned long long steps) {
    if (steps == 0 || (steps == kSteps && IsDeleted(device))) return "not there";
    return std::to_string(device) + (steps == 1 ? "" : ", note " + std::to_string(steps - 1));
}

std::string Seen(pelora::DeviceStore& store, unsigned long long device) {
    BluetoothDeviceSummary record;
    std::string note;
    const int result = store.GetRecord(Collection::kPresent, Name(device), record);
    if (result != DM::DEVICE_OK)
        return result == DM::DEVICE_NOT_FOUND ? "not there" : "error " + std::to_string(result);
    const bool noted = store.GetText(Collection::kPresent, Name(device), "note", note) == DM::DEVICE_OK;
    return std::to_string(record.MacAddrInt) + (noted ? ", note " + note : "");
}

unsigned long long Reported(const Arguments& arguments) {
    const std::string report = ReadAll(arguments.at(1));
    return static_cast<unsigned long long>(std::count(report.begin(), report.end(), '\n'));
}

}  // namespace

int StoreChanges(const Arguments& arguments) {
    unsigned long long number = Reported(arguments);
    pelora::DeviceStore store = Open(arguments.at(0));
    const FileHandle report(::CreateFileW(arguments.at(1).c_str(), FILE_APPEND_DATA | SYNCHRONIZE, FILE_SHARE_READ,
                                          nullptr, OPEN_ALWAYS, 0, nullptr));
    if (!report) return 1;
    for (;; ++number) {
        if (TakeStep(store, number / kSteps, number % kSteps) != DM::DEVICE_OK) return 3;
        const std::string line = std::to_string(number) + "\n";
        DWORD written = 0;
        ::WriteFile(report.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    }
}

int CheckChanges(const Arguments& arguments) {
    const unsigned long long count = Reported(arguments), last = count / kSteps;
    pelora::DeviceStore store = Open(arguments.at(0));
    for (unsigned long long device = 0; device <= last; ++device) {
        const unsigned long long steps = device < last ? kSteps : count % kSteps;
        const std::string seen = Seen(store, device), expected = Expected(device, steps);
        // The step that the kill fell into may have been done, all of it or nothing.
        if (seen == expected || (device == last && seen == Expected(device, steps + 1))) continue;
        std::fprintf(stderr, "%llu changes: device %llu is '%s', not '%s'\n", count, device, seen.c_str(),
                     expected.c_str());
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
