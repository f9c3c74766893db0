// What this process holds: for tests that nothing is left behind.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <tlhelp32.h>

#include <algorithm>
#include <cstddef>
#include <string>
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

// What this process has allocated and not freed, to the byte.
inline std::size_t HeapBytesOfThisProcess() {
    std::vector<HANDLE> heaps(::GetProcessHeaps(0, nullptr));
    heaps.resize(
        std::min<std::size_t>(::GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()), heaps.size()));
    std::size_t bytes = 0;
    for (const HANDLE heap : heaps) {
        ::HeapLock(heap);
        PROCESS_HEAP_ENTRY entry{};
        while (::HeapWalk(heap, &entry) != 0)
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
        ::HeapUnlock(heap);
    }
    return bytes;
}

// What this process has committed for itself alone, also beside its heaps. From its regions: Wine's PrivateUsage is 0
// at all times.
inline std::size_t PrivateBytesOfThisProcess() {
    std::size_t bytes = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const char* at = nullptr; ::VirtualQuery(at, &region, sizeof(region)) != 0;
         at = static_cast<const char*>(region.BaseAddress) + region.RegionSize) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) bytes += region.RegionSize;
    }
    return bytes;
}

// What this process gains from here on. ./soak shows the figures.
class LeakWatch {
public:
    // A few bytes are what the system's libraries keep for themselves.
    void ExpectNoMoreThan(std::size_t handles, std::size_t bytes = 4096) const {
        const std::size_t handles_now = HandlesOfThisProcess(), bytes_now = HeapBytesOfThisProcess();
        const int threads_now = ThreadsOfThisProcess();
        EXPECT_LE(threads_now, threads_);  // threads of earlier tests may end meanwhile
        EXPECT_LE(handles_now, handles_ + handles);
        EXPECT_LE(bytes_now, bytes_ + bytes);
        testing::Test::RecordProperty("figures", "left behind: " + std::to_string(std::max(threads_now - threads_, 0)) +
                                                     " threads, " + Gained(handles_now, handles_) + " handles, " +
                                                     Gained(bytes_now, bytes_) + " bytes");
    }

private:
    static std::string Gained(std::size_t now, std::size_t before) {
        return std::to_string(now > before ? now - before : 0);
    }

    std::size_t handles_ = HandlesOfThisProcess(), bytes_ = HeapBytesOfThisProcess();
    int threads_ = ThreadsOfThisProcess();
};

}  // namespace tandor::test
