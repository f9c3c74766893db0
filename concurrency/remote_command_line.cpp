#include "concurrency/remote_command_line.h"

#include <cstring>
#include <vector>

namespace tandor {
namespace {

constexpr std::size_t kEnvironmentBytes = 712;
constexpr std::size_t kParametersAt = 0x20;  // the pointer to the process parameters, in the environment block
constexpr std::size_t kParametersBytes = 128;
constexpr std::size_t kCommandLineAt =
    0x70;  // a counted string: its bytes, its room, and at +8 the pointer to its text
constexpr std::uint16_t kNoLength = 65535;

template <class Number, std::size_t Size>
Number NumberAt(const std::byte (&block)[Size], std::size_t offset) {
    Number number;
    std::memcpy(&number, block + offset, sizeof(number));
    return number;
}

}  // namespace

RemoteCommandLine ReadRemoteCommandLine(const ReadRemoteMemory& read, std::uint64_t environment, std::wstring& out) {
    std::byte environment_block[kEnvironmentBytes];
    if (!read(environment, environment_block, sizeof(environment_block))) return RemoteCommandLine::kMemoryNotReadable;
    std::byte parameters[kParametersBytes];
    if (!read(NumberAt<std::uint64_t>(environment_block, kParametersAt), parameters, sizeof(parameters)))
        return RemoteCommandLine::kMemoryNotReadable;
    const auto length = NumberAt<std::uint16_t>(parameters, kCommandLineAt);
    if (length == kNoLength) return RemoteCommandLine::kLengthInvalid;
    const auto address = NumberAt<std::uint64_t>(parameters, kCommandLineAt + 8);
    if (address == 0) return RemoteCommandLine::kNone;
    std::vector<char16_t> text(length + std::size_t{1});
    if (!read(address, text.data(), length)) return RemoteCommandLine::kMemoryNotReadable;
    std::wstring line;
    for (const char16_t* unit = text.data(); *unit != 0; ++unit) line.push_back(static_cast<wchar_t>(*unit));
    out = std::move(line);
    return RemoteCommandLine::kRead;
}

}  // namespace tandor
