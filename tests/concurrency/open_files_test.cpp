// The open files of real second processes.
#include "support/handle_table_double.h"
#include "support/testing.h"
#include "support/time_limit.h"
#include "tandor/state_watch.h"

namespace {

using namespace tandor::test;

std::unique_ptr<TdProcessDetectorInterface> Detector() {
    return std::unique_ptr<TdProcessDetectorInterface>(TdProcessDetectorFactory::Create());
}

const auto kFindsNothing = [](bool, const std::wstring&) { ADD_FAILURE(); };

// The file's folder is spelt as its creator did; the walk gives the long form from the volume's root.
std::wstring LongForm(const std::filesystem::path& path) {
    wchar_t text[1024];
    const DWORD length = ::GetLongPathNameW(path.c_str(), text, static_cast<DWORD>(std::size(text)));
    return {text, length};
}

// A walk that asks a pipe for its name waits as long as the child does.
constexpr std::chrono::seconds kNoWait{30};

class OpenFiles : public testing::Test {
protected:
    OpenFiles() {
        WriteAll(file, "content");
        WriteAll(folder.path / L"own", "content");
        std::filesystem::create_directories(subfolder);
        const std::wstring ready = SharedName(L"ready");
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
    {
        const TimeLimit limit("EnumFile over the child's handles", kNoWait);
        detector->EnumFile(child->Id(), keep);
    }
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
    // What a visitor throws leaves, and leaves no handle behind; nor does the end of the process in the middle. A
    // process's first exception makes handles that stay.
    const auto walk_twice = [&] {
        EXPECT_THROW(detector->EnumFile(child->Id(), [](bool, auto&) { throw std::runtime_error("enough"); }),
                     std::runtime_error);
        detector->EnumFile(child->Id(), [](bool, auto&) {});
    };
    walk_twice();
    const std::size_t before = HandlesOfThisProcess();
    for (auto walks = Amount("TANDOR_STRESS_WALKS", 20); walks > 1; walks -= 2) walk_twice();
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
    {
        const TimeLimit limit("List of the child's handles", kNoWait);
        ASSERT_EQ(TdOpenFiles::List(child->Id(), files), 0u);
    }
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
