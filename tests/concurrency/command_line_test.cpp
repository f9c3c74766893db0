// The command lines of real second processes.
#include "support/testing.h"
#include "tandor/state_watch.h"

namespace {

using namespace tandor::test;

std::unique_ptr<TdProcessDetectorInterface> Detector() {
    return std::unique_ptr<TdProcessDetectorInterface>(TdProcessDetectorFactory::Create());
}

TEST(ProcessDetector, ReadsAnotherProcessesCommandLine) {
    const std::wstring ready = SharedName(L"ready");
    const TemporaryFolder folder;
    WriteAll(folder.path / L"f", "x");
    const std::wstring command = L"hold-file \"" + (folder.path / L"f").wstring() + L"\" " + ready +
                                 L" \"two  words\" \U0001F4F1 \\\"手机\\\" " + std::wstring(3000, L'x');
    const Child child(command, ready);
    std::wstring line;
    ASSERT_EQ(Detector()->GetProcessCmdline(child.Id(), line), 1);
    EXPECT_EQ(line, L"test_child.exe " + command);
    ASSERT_EQ(Detector()->GetProcessCmdline(::GetCurrentProcessId(), line), 1);
    EXPECT_EQ(line, ::GetCommandLineW());
}

// This process's own memory as that of another, with an environment block, parameters and a command line of choice.
struct Block {
    std::byte environment[712] = {}, parameters[128] = {};
};
Block block;
std::uint64_t environment_at = 0;  // 0: the question fails

LONG NTAPI TellBlock(HANDLE, ULONG, void* buffer, ULONG, ULONG*) {
    std::memcpy(static_cast<std::byte*>(buffer) + 8, &environment_at, sizeof(environment_at));
    return environment_at == 0 ? static_cast<LONG>(0xC0000022) : 0;
}
FARPROC WINAPI FindTellBlock(HMODULE module, LPCSTR name) {
    return std::strcmp(name, "NtQueryInformationProcess") == 0
               ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&TellBlock))
               : ::GetProcAddress(module, name);
}

TEST(ProcessDetector, ACommandLineThatCannotBeReadIsLogged) {
    const ImportPatch patch(L"TandorUtil.dll", "GetProcAddress", &FindTellBlock);
    const auto detector = Detector();
    HostLog log;
    const auto expect = [&](std::uint64_t environment, std::uint16_t length, std::uint64_t text, const wchar_t* line) {
        environment_at = environment;
        const auto parameters = reinterpret_cast<std::uint64_t>(block.parameters);
        std::memcpy(block.environment + 0x20, &parameters, sizeof(parameters));
        std::memcpy(block.parameters + 0x70, &length, sizeof(length));
        std::memcpy(block.parameters + 0x78, &text, sizeof(text));
        std::wstring out = L"before";
        EXPECT_EQ(detector->GetProcessCmdline(::GetCurrentProcessId(), out), 0);
        EXPECT_EQ(out, L"before");
        EXPECT_EQ(log.Take(), LinesFrom(L"TdProcessDetector::GetProcessCmdline", {line}));
    };
    const auto here = reinterpret_cast<std::uint64_t>(&block);
    expect(0, 4, here, L"4 queryInformation failed");
    expect(16, 4, here, L"4 ReadProcessMemory failed");
    expect(here, 4, 16, L"4 ReadProcessMemory failed");
    expect(here, 65535, here, L"4 upps.commandLine.Length is error");
    expect(here, 4, 0, L"4 no cmdline");
}

FARPROC WINAPI FindNothing(HMODULE, LPCSTR) { return nullptr; }
HMODULE WINAPI LoadNothing(LPCWSTR path) {
    EXPECT_THAT(std::wstring(path), AllOf(HasSubstr(L":\\"), EndsWith(L"\\NTDLL.DLL")));
    return nullptr;
}

TEST(ProcessDetector, IsNotCreatedWhereItCannotWork) {
    HostLog log;
    const auto expect_none = [&](const char* import, auto* replacement, const wchar_t* text) {
        const ImportPatch patch(L"TandorUtil.dll", import, replacement);
        EXPECT_EQ(Detector(), nullptr);
        EXPECT_EQ(log.Take(), LinesFrom(L"TdProcessDetector::Init", {text}));
    };
    expect_none("GetProcAddress", &FindNothing, L"4 get func failed");
    expect_none("LoadLibraryW", &LoadNothing, L"4 load lib failed");
    expect_none("GetSystemDirectoryW", &LongSystemDirectory, L"4 get NTDLL.DLL path failed");
    expect_none("GetSystemDirectoryW", &NoSystemDirectory, L"4 Get load lib path failed, error code: 1168");
}

}  // namespace
