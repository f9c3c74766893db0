// The command line inside another process's memory, found through the structures that every 64-bit process has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace tandor {

enum class RemoteCommandLine { kRead, kMemoryNotReadable, kLengthInvalid, kNone };

// Copies `size` bytes at `address` of the other process to `to`; false unless all of them were there.
using ReadRemoteMemory = std::function<bool(std::uint64_t address, void* to, std::size_t size)>;

// Reads the command line of the process whose environment block lies at `environment`, up to its first zero character.
// With any other result than kRead `out` stays as it was.
RemoteCommandLine ReadRemoteCommandLine(const ReadRemoteMemory& read, std::uint64_t environment, std::wstring& out);

}  // namespace tandor
