// What this process holds: for tests that nothing is left behind.
#pragma once

#include <windows.h>

#include <tlhelp32.h>

#include <cstddef>
#include <vector>

#include "base/win_handle.h"
#include "base/win_system_entry.h"
#include "concurrency/handle_table.h"

namespace tandor::test {

inline int ThreadsOfThisProcess() {
    const FileHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    int count = 0;
    for (BOOL found = ::Thread32First(snapshot.Get(), &entry); found != 0;
         found = ::Thread32Next(snapshot.Get(), &entry))
        count += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    return count;
}

// From the system's table: Wine's GetProcessHandleCount says 0 at all times.
inline std::size_t HandlesOfThisProcess() {
    static const auto query =
        SystemEntry<LONG NTAPI(ULONG, void*, ULONG, ULONG*)>(L"ntdll.dll", "ZwQuerySystemInformation");
    constexpr ULONG kExtendedHandles = 64;
    constexpr LONG kLongerTable = static_cast<LONG>(0xC0000004);
    std::vector<std::byte> table(0x20000);
    LONG result = kLongerTable;
    while ((result = query(kExtendedHandles, table.data(), static_cast<ULONG>(table.size()), nullptr)) == kLongerTable)
        table.resize(table.size() * 2);
    return result < 0 ? 0 : HandlesInTable64(table, ::GetCurrentProcessId()).size();
}

// What this process has committed for itself alone. From its regions: Wine's PrivateUsage is 0 at all times.
inline std::size_t PrivateBytesOfThisProcess() {
    std::size_t bytes = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const char* at = nullptr; ::VirtualQuery(at, &region, sizeof(region)) != 0;
         at = static_cast<const char*>(region.BaseAddress) + region.RegionSize) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) bytes += region.RegionSize;
    }
    return bytes;
}

}  // namespace tandor::test
