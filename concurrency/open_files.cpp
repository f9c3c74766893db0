#include <windows.h>

#include <algorithm>

#include "base/win_handle.h"
#include "base/win_system_entry.h"
#include "concurrency/foreign_file.h"
#include "concurrency/handle_table.h"
#include "concurrency/system_table.h"

namespace {

using tandor::HandleEntry;
using tandor::SystemTable;

// The number that this system gives file objects, which differs from version to version: that of a file of our own.
std::uint32_t FileType(const SystemTable& table, HANDLE own_file) {
    const auto own = tandor::HandlesInTable64(table.Bytes(), ::GetCurrentProcessId());
    const auto handle = reinterpret_cast<std::uint64_t>(own_file);
    const auto entry = std::ranges::find(own, handle, &HandleEntry::handle);
    return entry == own.end() ? 0 : entry->type;
}

}  // namespace

unsigned long TdOpenFiles::List(unsigned long processId, std::vector<TdOpenFile>& out) {
    out.clear();
    const tandor::KernelHandle process(::OpenProcess(PROCESS_DUP_HANDLE, FALSE, processId));
    if (!process) return ::GetLastError();
    const auto query = tandor::SystemEntry<tandor::QuerySystemInformation>(L"ntdll.dll", "ZwQuerySystemInformation");
    if (query == nullptr) return ERROR_PROC_NOT_FOUND;
    const tandor::FileHandle own_file(
        ::CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!own_file) return ::GetLastError();
    SystemTable table;
    switch (table.Read(*query, tandor::kSystemHandlesExtended)) {
        case SystemTable::Result::kNoMemory:
            return ERROR_NOT_ENOUGH_MEMORY;
        case SystemTable::Result::kQueryFailed:
            return ERROR_GEN_FAILURE;
        case SystemTable::Result::kRead:
            break;
    }
    const std::uint32_t type = FileType(table, own_file.Get());
    if (type == 0) return ERROR_NOT_FOUND;
    tandor::DriveLetters drives;
    for (const HandleEntry& entry : tandor::HandlesInTable64(table.Bytes(), processId)) {
        if (entry.type == type) out.push_back(tandor::LookAtForeignFile(process.Get(), entry.handle, drives));
    }
    return ERROR_SUCCESS;
}
