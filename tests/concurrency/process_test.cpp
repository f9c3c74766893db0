// Presence, open files and command lines, with real second processes.
#include "support/handle_table_double.h"
#include "support/testing.h"
#include "tandor/state_watch.h"

namespace {

using namespace tandor::test;

// Names that no other run on this machine has.
std::wstring Name(const wchar_t* what) {
    static int number = 0;
    return L"Local\\tandor-Prüfung-" + std::wstring(what) + L"-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
           std::to_wstring(++number);
}

TEST(Presence, FollowsThePresentersStates) {
    TdProcessStatePresenter presenter(Name(L"A"), Name(L"B"));
    const TdProcessStateWatcher watcher(presenter.GetEventAName(), presenter.GetEventBName());
    struct Step {
        bool (TdProcessStatePresenter::*call)();
        bool result;
        unsigned state;
    };
    using Presenter = TdProcessStatePresenter;
    for (const Step& step :
         {Step{&Presenter::Stop, false, 0}, Step{&Presenter::UnInit, false, 0}, Step{&Presenter::Init, true, 2},
          Step{&Presenter::Start, true, 3}, Step{&Presenter::Stop, true, 2}, Step{&Presenter::Stop, false, 2},
          Step{&Presenter::UnInit, true, 0}, Step{&Presenter::UnInit, false, 0}}) {
        EXPECT_EQ((presenter.*step.call)(), step.result);
        EXPECT_EQ(watcher.QueryProcessState(), step.state);
    }
    {
        TdProcessStatePresenter started(presenter.GetEventAName(), presenter.GetEventBName());
        EXPECT_TRUE(started.Start());
        EXPECT_EQ(watcher.QueryProcessState(), 1u);
        EXPECT_TRUE(started.Init());
    }
    EXPECT_EQ(watcher.QueryProcessState(), 0u);
    EXPECT_EQ(TdProcessStateWatcher(L"", L"").QueryProcessState(), 0u);
    EXPECT_FALSE(watcher.QueryEventState(L""));
}

std::vector<std::wstring> Refusal(const std::wstring& text) {
    return LinesFrom(L"TdProcessStatePresenter::TryCreateEvent", {L"4 " + text});
}

TEST(Presence, AnEventIsNeverShared) {
    const std::wstring a = Name(L"A"), b = Name(L"B");
    TdProcessStatePresenter first(a, b), second(a, b), nameless(L"", L"");
    ASSERT_TRUE(first.Init());
    HostLog log;
    EXPECT_FALSE(second.Init());
    EXPECT_EQ(log.Take(), Refusal(L"event aready exist:" + a));
    EXPECT_FALSE(first.Init());
    EXPECT_EQ(log.Take(), Refusal(L"event aready exist:" + a));
    EXPECT_FALSE(nameless.Start());
    EXPECT_EQ(log.Take(), Refusal(L"event name is null"));
    EXPECT_FALSE(second.UnInit());  // it held nothing, so it takes nothing from the first
    EXPECT_EQ(TdProcessStateWatcher(a, b).QueryProcessState(), 2u);
    // A name that something else than an event has.
    const tandor::KernelHandle mutex(::CreateMutexW(nullptr, FALSE, b.c_str()));
    EXPECT_FALSE(first.Start());
    EXPECT_EQ(log.Take(), Refusal(L"create event failed,lasterr:6"));
}

HANDLE WINAPI FindNoEvent(DWORD, BOOL, LPCWSTR) { return nullptr; }

// Between the look and the creation somebody else may create it.
TEST(Presence, AnEventThatAppearsInBetweenIsNotSharedEither) {
    const std::wstring a = Name(L"A");
    TdProcessStatePresenter first(a, L""), second(a, L"");
    ASSERT_TRUE(first.Init());
    HostLog log;
    const ImportPatch patch(L"TandorUtil.dll", "OpenEventW", &FindNoEvent);
    EXPECT_FALSE(second.Init());
    EXPECT_EQ(log.Take(), Refusal(L"event aready exist:" + a));
    EXPECT_FALSE(second.UnInit());  // it does not keep the other's event alive
}

TEST(Presence, ACopySharesTheHandlesAndAnAssignmentClosesNone) {
    TdProcessStatePresenter original(Name(L"A"), Name(L"B"));
    const TdProcessStateWatcher watcher(original.GetEventAName(), original.GetEventBName());
    ASSERT_TRUE(original.Init());
    TdProcessStatePresenter copy(original);
    original = TdProcessStatePresenter(original.GetEventAName(), original.GetEventBName());
    EXPECT_FALSE(original.UnInit());
    EXPECT_EQ(watcher.QueryProcessState(), 2u);
    EXPECT_TRUE(copy.UnInit());
    EXPECT_EQ(watcher.QueryProcessState(), 0u);
}

std::set<std::pair<DWORD, BOOL>> rights_asked;

HANDLE WINAPI RecordRights(DWORD rights, BOOL inherited, LPCWSTR name) {
    rights_asked.insert({rights, inherited});
    return ::OpenEventW(rights, inherited, name);
}

TEST(Presence, AsksForAllRightsToEventsOfEveryNamespace) {
    const ImportPatch patch(L"TandorUtil.dll", "OpenEventW", &RecordRights);
    for (const std::wstring prefix : {L"Global\\", L"Local\\", L""}) {
        TdProcessStatePresenter presenter(prefix + Name(L"A").substr(6), L"");
        EXPECT_TRUE(presenter.Init());
        EXPECT_EQ(TdProcessStateWatcher(presenter.GetEventAName(), L"").QueryProcessState(), 2u);
    }
    EXPECT_THAT(rights_asked, ElementsAre(std::pair(DWORD{0x1F0003}, FALSE)));
}

TEST(Presence, AKilledPresenterIsGoneWithinASecond) {
    const std::wstring a = Name(L"A"), b = Name(L"B"), ready = Name(L"ready");
    const TdProcessStateWatcher watcher(a, b);
    std::chrono::nanoseconds longest{0};
    for (auto kills = Amount("TANDOR_STRESS_KILLS", 10); kills > 0; --kills) {
        Child child(L"announce " + a + L" " + b + L" " + ready, ready);
        ASSERT_EQ(watcher.QueryProcessState(), 3u);
        const auto killed = std::chrono::steady_clock::now();
        child.Kill();
        while (watcher.QueryProcessState() != 0 && std::chrono::steady_clock::now() - killed < std::chrono::seconds(5))
            ::Sleep(1);
        longest = std::max(longest, std::chrono::steady_clock::now() - killed);
    }
    EXPECT_LT(longest, std::chrono::seconds(1));
    RecordProperty("figures", "gone after at most " + std::to_string(longest.count() / 1'000'000) + " ms");
}

const auto kFindsNothing = [](bool, const std::wstring&) { ADD_FAILURE(); };

std::unique_ptr<TdProcessDetectorInterface> Detector() {
    return std::unique_ptr<TdProcessDetectorInterface>(TdProcessDetectorFactory::Create());
}

// The file's folder is spelt as its creator did; the walk gives the long form from the volume's root.
std::wstring LongForm(const std::filesystem::path& path) {
    wchar_t text[1024];
    const DWORD length = ::GetLongPathNameW(path.c_str(), text, static_cast<DWORD>(std::size(text)));
    return {text, length};
}

// A walk that asks a pipe for its name waits as long as the child does.
constexpr std::chrono::seconds kNoWait{5};
template <class Work>
std::chrono::nanoseconds Duration(const Work& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::steady_clock::now() - begin;
}

class OpenFiles : public testing::Test {
protected:
    OpenFiles() {
        WriteAll(file, "content");
        WriteAll(folder.path / L"own", "content");
        std::filesystem::create_directories(subfolder);
        const std::wstring ready = Name(L"ready");
        child.emplace(L"hold-handles \"" + file.wstring() + L"\" \"" + subfolder.wstring() +
                          L"\" \\\\.\\pipe\\tandor-test-" + std::to_wstring(::GetCurrentProcessId()) + L" " + ready,
                      ready);
    }
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.path / L"Vertrag ключ 手机.txt";
    const std::filesystem::path subfolder = folder.path / L"Ordner ü";
    std::optional<Child> child;
};

TEST_F(OpenFiles, FilesAndFoldersOfAnotherProcessAreFound) {
    const HandleTableDouble table;
    const auto detector = Detector();
    ASSERT_NE(detector, nullptr);
    std::vector<std::pair<bool, std::wstring>> seen;
    const auto keep = [&](bool is_directory, auto& path) { seen.emplace_back(is_directory, path); };
    EXPECT_LT(Duration([&] { detector->EnumFile(child->Id(), keep); }), kNoWait);
    EXPECT_THAT(seen, Contains(std::pair(false, LongForm(file))));
    EXPECT_THAT(seen, Contains(std::pair(true, LongForm(subfolder))));
    EXPECT_THAT(seen, Each(testing::Pair(testing::_, Not(HasSubstr(L"pipe")))));
    seen.clear();
    {
        const std::ifstream own(folder.path / L"own");
        detector->EnumFile(::GetCurrentProcessId(), keep);
    }
    EXPECT_THAT(seen, Contains(std::pair(false, LongForm(folder.path / L"own"))));
    detector->EnumFile(child->Id(), nullptr);
    // What a visitor throws leaves, and leaves no handle behind; nor does the end of the process in the middle.
    const std::size_t before = HandlesOfThisProcess();
    for (auto walks = Amount("TANDOR_STRESS_WALKS", 20); walks > 1; walks -= 2) {
        EXPECT_THROW(detector->EnumFile(child->Id(), [](bool, auto&) { throw std::runtime_error("enough"); }),
                     std::runtime_error);
        detector->EnumFile(child->Id(), [](bool, auto&) {});
    }
    seen.clear();
    detector->EnumFile(child->Id(), [&](bool is_directory, auto& path) {
        child->Kill();
        seen.emplace_back(is_directory, path);
    });
    EXPECT_THAT(seen, SizeIs(1));
    detector->EnumFile(child->Id(), kFindsNothing);
    EXPECT_EQ(HandlesOfThisProcess(), before);
}

// The volume of the file is on Q:, which lies behind a drive without a medium and another one.
DWORD WINAPI ThreeDrives(DWORD, LPWSTR roots) {
    std::memcpy(roots, L"A:\\\0P:\\\0Q:\\\0", 13 * sizeof(wchar_t));
    return 12;
}
BOOL WINAPI VolumeOfDrive(LPCWSTR root, LPWSTR, DWORD, LPDWORD serial, LPDWORD, LPDWORD, LPWSTR, DWORD) {
    ::SetLastError(ERROR_NOT_READY);
    *serial = static_cast<DWORD>(root[0]);
    return root[0] != L'A';
}
BOOL WINAPI VolumeOfFile(HANDLE, LPWSTR, DWORD, LPDWORD serial, LPDWORD, LPDWORD, LPWSTR, DWORD) {
    *serial = L'Q';
    return TRUE;
}
DWORD WINAPI NoDrives(DWORD, LPWSTR) {
    ::SetLastError(ERROR_NOT_READY);
    return 0;
}
BOOL WINAPI NoVolume(HANDLE, LPWSTR, DWORD, LPDWORD, LPDWORD, LPDWORD, LPWSTR, DWORD) {
    ::SetLastError(ERROR_NOT_READY);
    return FALSE;
}
template <FILE_INFO_BY_HANDLE_CLASS kClass, DWORD kError>
BOOL WINAPI Without(HANDLE file, FILE_INFO_BY_HANDLE_CLASS information, LPVOID buffer, DWORD size) {
    if (information != kClass) return ::GetFileInformationByHandleEx(file, information, buffer, size);
    ::SetLastError(kError);
    return FALSE;
}

TEST_F(OpenFiles, AnAnswerThatTheSystemOwesIsLoggedAndTheRestIsShown) {
    const HandleTableDouble table;
    const auto detector = Detector();
    const std::wstring folder_path = LongForm(subfolder), on_volume = folder_path.substr(2);
    HostLog log;
    // What a standard handle that the child inherited may leave in any case.
    const std::wstring nameless = L"4 GetFileInformationByHandleEx failed(TdProcessDetector::GetFileName)";
    // What the walk says of the folder, and the lines that it left.
    const auto expect = [&](const char* import, auto* replacement, std::optional<std::pair<bool, std::wstring>> found,
                            std::set<std::wstring> lines) {
        const ImportPatch patch(L"TandorUtil.dll", import, replacement);
        std::optional<std::pair<bool, std::wstring>> seen;
        detector->EnumFile(child->Id(), [&](bool is_directory, auto& path) {
            if (path.ends_with(on_volume)) seen = {is_directory, path};
        });
        EXPECT_EQ(seen, found) << import;
        const std::vector<std::wstring> all = log.Take();
        EXPECT_THAT(lines, testing::IsSubsetOf(all));
        lines.insert(nameless);
        EXPECT_THAT(all, testing::Each(testing::AnyOfArray(lines)));
    };
    expect("GetLogicalDriveStringsW", &NoDrives, {{true, on_volume}},
           {L"4 get LogicalDrive failed,errCode:21(TdProcessDetector::GetVolumeNameByHandle)"});
    expect("GetVolumeInformationByHandleW", &NoVolume, {{true, on_volume}},
           {L"4 get file volumeInfo failed,errCode:21(TdProcessDetector::GetVolumeNameByHandle)"});
    expect("GetFileInformationByHandleEx", &Without<FileStandardInfo, 6>, {{false, folder_path}},
           {L"4 get file standardInfo failed,errCode:6(TdProcessDetector::EnumFile)"});
    expect("GetFileInformationByHandleEx", &Without<FileStandardInfo, 5>, {{false, folder_path}}, {});
    expect("GetFileInformationByHandleEx", &Without<FileNameInfo, 6>, {}, {nameless});
    const ImportPatch drives(L"TandorUtil.dll", "GetLogicalDriveStringsW", &ThreeDrives);
    const ImportPatch volumes(L"TandorUtil.dll", "GetVolumeInformationW", &VolumeOfDrive);
    expect("GetVolumeInformationByHandleW", &VolumeOfFile, {{true, L"Q:" + on_volume}}, {});
}

TEST_F(OpenFiles, TheListAccountsForEveryFileHandle) {
    std::vector<TdOpenFile> files;
    EXPECT_LT(Duration([&] { ASSERT_EQ(TdOpenFiles::List(child->Id(), files), 0u); }), kNoWait);
    const auto count = [&](TdOpenFile::Outcome outcome, bool is_directory, const std::wstring& path) {
        return std::ranges::count_if(files, [&](const TdOpenFile& one) {
            return one.outcome == outcome && one.is_directory == is_directory && one.path == path && one.handle != 0;
        });
    };
    EXPECT_EQ(count(TdOpenFile::Outcome::kNamed, false, LongForm(file)), 1);
    EXPECT_EQ(count(TdOpenFile::Outcome::kNamed, true, LongForm(subfolder)), 1);
    EXPECT_GE(count(TdOpenFile::Outcome::kNotOnDisk, false, L""), 3);  // the pipes
    EXPECT_EQ(TdOpenFiles::List(0xFFFFFFF0, files), static_cast<unsigned long>(ERROR_INVALID_PARAMETER));
    EXPECT_THAT(files, IsEmpty());
}

TEST_F(OpenFiles, WithoutTheFixedNumberNothingIsFound) {
    std::vector<TdOpenFile> files;
    ASSERT_EQ(TdOpenFiles::List(::GetCurrentProcessId(), files), 0u);
    if (::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") == nullptr)
        GTEST_SKIP() << "the number of file objects differs from system to system";
    Detector()->EnumFile(child->Id(), kFindsNothing);
}

HANDLE WINAPI OpenNoProcess(DWORD, BOOL, DWORD) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

TEST(ProcessDetector, WhatCannotBeOpenedReportsNothing) {
    HostLog log;
    {
        const ImportPatch patch(L"TandorUtil.dll", "OpenProcess", &OpenNoProcess);
        Detector()->EnumFile(::GetCurrentProcessId(), kFindsNothing);
        EXPECT_THAT(log.Take(), ElementsAre(L"4 OpenProcess failed,err:5(TdProcessDetector::EnumFile)"));
    }
    for (const DWORD system_process : {0, 4}) Detector()->EnumFile(system_process, kFindsNothing);
    EXPECT_THAT(log.Take(), SizeIs(2));
    Detector()->EnumFile(0xFFFFFFF0, kFindsNothing);
    EXPECT_THAT(log.Take(), ElementsAre(L"4 OpenProcess failed,err:87(TdProcessDetector::EnumFile)"));
    std::wstring line = L"before";
    EXPECT_EQ(Detector()->GetProcessCmdline(0xFFFFFFF0, line), 0);
    EXPECT_EQ(line, L"before");
    EXPECT_THAT(log.Take(), ElementsAre(L"4 DuplicateHandle failed(TdProcessDetector::GetProcessCmdline)"));
}

TEST(ProcessDetector, ReadsAnotherProcessesCommandLine) {
    const std::wstring ready = Name(L"ready");
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

LONG NTAPI AskForMore(ULONG, void*, ULONG bytes, ULONG*) {
    static ULONG last = 0;
    EXPECT_TRUE(bytes == 0x80000 || bytes == 2 * last) << bytes;
    last = bytes;
    return static_cast<LONG>(0xC0000004);
}
LPVOID WINAPI LittleMemory(HANDLE heap, DWORD flags, SIZE_T bytes) {
    return bytes > 0x1000000 ? nullptr : ::HeapAlloc(heap, flags, bytes);
}
FARPROC WINAPI FindAskForMore(HMODULE, LPCSTR) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&AskForMore));
}

TEST(ProcessDetector, ATableThatNeverFitsEndsTheWalk) {
    const ImportPatch patch(L"TandorUtil.dll", "GetProcAddress", &FindAskForMore);
    const auto detector = Detector();
    HostLog log;
    detector->EnumFile(::GetCurrentProcessId(), kFindsNothing);
    EXPECT_THAT(log.Take(), ElementsAre(L"4 get sys info failed(TdProcessDetector::EnumFile)"));
    const ImportPatch memory(L"TandorUtil.dll", "HeapAlloc", &LittleMemory);
    detector->EnumFile(::GetCurrentProcessId(), kFindsNothing);
    EXPECT_THAT(log.Take(),
                ElementsAre(L"4 HeapAlloc for SYSTEM_HANDLE_INFORMATION failed(TdProcessDetector::EnumFile)"));
}

}  // namespace
