#include "concurrency/handle_table.h"
#include "concurrency/remote_command_line.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using tandor::HandleEntry;
using tandor::RemoteCommandLine;

template <class Number>
void Put(std::vector<std::byte>& bytes, std::size_t at, Number number) {
    if (bytes.size() < at + sizeof(number)) bytes.resize(at + sizeof(number));
    std::memcpy(bytes.data() + at, &number, sizeof(number));
}

std::vector<std::byte> Table16(std::uint32_t count) {
    std::vector<std::byte> table(8 + 3 * 24);
    Put(table, 0, count);
    const std::uint16_t processes[] = {500, 500, 7}, handles[] = {0x14, 0xFFFC, 0x18};
    for (std::size_t i = 0; i < 3; ++i) {
        Put(table, 8 + i * 24, processes[i]);
        Put(table, 8 + i * 24 + 4, static_cast<std::uint8_t>(36 + i));
        Put(table, 8 + i * 24 + 6, handles[i]);
    }
    return table;
}

TEST(HandleTable, FindsTheHandlesOfOneProcess) {
    const auto table = Table16(3);
    EXPECT_EQ(tandor::HandlesInTable16(table, 500), (std::vector<HandleEntry>{{0x14, 36}, {0xFFFC, 37}}));
    EXPECT_EQ(tandor::HandlesInTable16(table, 7), (std::vector<HandleEntry>{{0x18, 38}}));
    EXPECT_TRUE(tandor::HandlesInTable16(table, 0x10000 + 500).empty());

    std::vector<std::byte> wide(16 + 2 * 40);
    Put(wide, 0, std::uint64_t{2});
    Put(wide, 16 + 40 + 8, std::uint64_t{0x10000 + 500});
    Put(wide, 16 + 40 + 16, std::uint64_t{0x123456});
    Put(wide, 16 + 40 + 30, std::uint16_t{0x125});
    EXPECT_EQ(tandor::HandlesInTable64(wide, 0x10000 + 500), (std::vector<HandleEntry>{{0x123456, 0x125}}));
    EXPECT_TRUE(tandor::HandlesInTable64(wide, 500).empty());
}

TEST(HandleTable, ACountBeyondTheTableEndsWithIt) {
    auto table = Table16(0xFFFFFFFF);
    EXPECT_EQ(tandor::HandlesInTable16(table, 7).size(), 1u);
    table.resize(8 + 2 * 24 + 23);
    EXPECT_TRUE(tandor::HandlesInTable16(table, 7).empty());
    table.resize(7);
    EXPECT_TRUE(tandor::HandlesInTable16(table, 500).empty());
    EXPECT_TRUE(tandor::HandlesInTable64(table, 500).empty());
}

// Another process's memory: blocks at addresses.
class Memory {
public:
    void Add(std::uint64_t address, std::vector<std::byte> bytes) { blocks_[address] = std::move(bytes); }
    bool operator()(std::uint64_t address, void* to, std::size_t size) const {
        const auto block = blocks_.find(address);
        if (block == blocks_.end() || block->second.size() < size) return false;
        if (size > 0) std::memcpy(to, block->second.data(), size);
        return true;
    }

private:
    std::map<std::uint64_t, std::vector<std::byte>> blocks_;
};

struct Process {
    std::uint16_t length;
    std::uint64_t text_at = 0x3000;
    std::size_t environment_bytes = 712, parameters_bytes = 128;
};

RemoteCommandLine Read(const Process& process, const std::u16string& text, std::wstring& out) {
    std::vector<std::byte> environment(process.environment_bytes), parameters(process.parameters_bytes);
    Put(environment, 0x20, std::uint64_t{0x2000});
    Put(parameters, 0x70, process.length);
    if (process.parameters_bytes >= 0x80) Put(parameters, 0x78, process.text_at);
    std::vector<std::byte> characters(text.size() * 2);
    if (!text.empty()) std::memcpy(characters.data(), text.data(), characters.size());
    Memory memory;
    memory.Add(0x1000, environment);
    memory.Add(0x2000, parameters);
    memory.Add(0x3000, characters);
    return tandor::ReadRemoteCommandLine(memory, 0x1000, out);
}

TEST(RemoteCommandLine, EndsAtItsLengthOrItsFirstZero) {
    const auto read = [](std::uint16_t length, const std::u16string& text) {
        std::wstring out;
        EXPECT_EQ(Read({.length = length}, text, out), RemoteCommandLine::kRead);
        return out;
    };
    EXPECT_EQ(read(6, u"手机 and more"), L"手机 ");
    EXPECT_EQ(read(10, std::u16string(u"ab\0cd", 5)), L"ab");
    EXPECT_EQ(read(5, u"ab\xFF41"), std::wstring(L"ab") + wchar_t{0x41});  // an odd length: half a character
    EXPECT_EQ(read(0, u""), L"");
    EXPECT_EQ(read(65534, std::u16string(32767, u'x')), std::wstring(32767, L'x'));
}

TEST(RemoteCommandLine, WhatCannotBeReadLeavesTheResultAsItWas) {
    std::wstring out = L"before";
    EXPECT_EQ(Read({.length = 65535}, u"text", out), RemoteCommandLine::kLengthInvalid);
    EXPECT_EQ(Read({.length = 4, .text_at = 0}, u"text", out), RemoteCommandLine::kNone);
    for (const Process& process :
         {Process{.length = 65534}, Process{.length = 4, .text_at = 0x9000},
          Process{.length = 4, .environment_bytes = 711}, Process{.length = 4, .parameters_bytes = 127}})
        EXPECT_EQ(Read(process, u"text", out), RemoteCommandLine::kMemoryNotReadable);
    EXPECT_EQ(out, L"before");
}

}  // namespace
