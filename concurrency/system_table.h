// NTDLL's table queries, whose size is only known by trying.
#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>
#include <span>

namespace tandor {

using QuerySystemInformation = LONG NTAPI(ULONG information, void* buffer, ULONG bytes, ULONG* needed);

inline constexpr ULONG kSystemHandles = 16;
inline constexpr ULONG kSystemHandlesExtended = 64;

// A table in a buffer from the process heap.
class SystemTable {
public:
    enum class Result { kRead, kNoMemory, kQueryFailed };

    // Starts at 0x80000 bytes and doubles while the system asks for more, up to 1 GiB: some 25 million handles.
    Result Read(QuerySystemInformation& query, ULONG information);

    [[nodiscard]] std::span<const std::byte> Bytes() const { return {buffer_.get(), size_}; }

private:
    struct HeapDeleter {
        void operator()(std::byte* bytes) const { ::HeapFree(::GetProcessHeap(), 0, bytes); }
    };
    std::unique_ptr<std::byte, HeapDeleter> buffer_;
    std::size_t size_ = 0;
};

}  // namespace tandor
