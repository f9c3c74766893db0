#include "concurrency/system_table.h"

namespace tandor {
namespace {

constexpr ULONG kFirstSize = 0x80000;
constexpr ULONG kLargestSize = 0x40000000;
constexpr LONG kInfoLengthMismatch = static_cast<LONG>(0xC0000004);

}  // namespace

SystemTable::Result SystemTable::Read(QuerySystemInformation& query, ULONG information) {
    for (ULONG size = kFirstSize; size <= kLargestSize; size *= 2) {
        buffer_.reset();  // before the next one: the sizes add up otherwise
        buffer_.reset(static_cast<std::byte*>(::HeapAlloc(::GetProcessHeap(), 0, size)));
        if (buffer_ == nullptr) return Result::kNoMemory;
        size_ = size;
        const LONG status = query(information, buffer_.get(), size, nullptr);
        if (status >= 0) return Result::kRead;
        if (status != kInfoLengthMismatch) break;
    }
    buffer_.reset();
    size_ = 0;
    return Result::kQueryFailed;
}

}  // namespace tandor
