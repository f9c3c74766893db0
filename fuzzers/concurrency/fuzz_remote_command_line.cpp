// Reading a command line from any memory: the input is the other process's memory from address 0x1000 on, where its
// environment block lies. Nothing outside what was asked for is touched, and only success changes the result.
#include <cstring>

#include "concurrency/remote_command_line.h"
#include "fuzzers/property.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint64_t kBase = 0x1000;
    const auto read = [data, size](std::uint64_t address, void* to, std::size_t bytes) {
        if (address < kBase || address - kBase > size || bytes > size - (address - kBase)) return false;
        if (bytes > 0) std::memcpy(to, data + (address - kBase), bytes);
        return true;
    };
    std::wstring line = L"before";
    const auto result = tandor::ReadRemoteCommandLine(read, kBase, line);
    if (result == tandor::RemoteCommandLine::kRead) {
        TANDOR_HOLDS(line.find(L'\0') == std::wstring::npos);
        TANDOR_HOLDS(line.size() <= 32767);
    } else {
        TANDOR_HOLDS(line == L"before");
    }
    return 0;
}
