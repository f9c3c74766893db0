#include <regex>

#include "pelora/file_info.h"
#include "pelora/log_service.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

void Log(int level, const std::wstring& text) {
    std::wstringstream message;
    message << text;
    VxLogger::GetInstance().Log(static_cast<LOG_MESSAGE_LEVEL>(level), message);
    EXPECT_EQ(message.str(), text);
}

std::vector<std::filesystem::path> HostLogs(const std::filesystem::path& common) {
    std::vector<std::filesystem::path> files;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(common / L"log" / L"host", none))
        files.push_back(entry.path());
    return files;
}

TEST(HostLog, ARecordIsOneLineInTheProcessesOwnFileAtOnce) {
    const TemporaryFolder folder;
    const MachineText common(kSuiteKey, L"CommonDirectory", folder.path.wstring());
    Child child(L"host-log \"two\nlines\r\u624b\" 1");
    ASSERT_EQ(child.Wait(), 0);
    const auto files = HostLogs(folder.path);
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].filename(), L"test_child-" + std::to_wstring(child.Id()) + L".log");
    const std::regex form(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \[\d+:\d+\] E two lines \xE6\x89\x8B\r\n)");
    EXPECT_TRUE(std::regex_match(ReadAll(files[0]), form)) << ReadAll(files[0]);
}

TEST(HostLog, StaysBoundedAndKeepsTheFilesOf64Processes) {
    const TemporaryFolder folder;
    const MachineText common(kSuiteKey, L"CommonDirectory", folder.path.wstring());
    const auto host = folder.path / L"log" / L"host";
    std::filesystem::create_directories(host);
    const auto put = [&](const std::wstring& name, int hours_old) {
        WriteAll(host / name, "old");
        std::filesystem::last_write_time(host / name,
                                         std::filesystem::file_time_type::clock::now() - std::chrono::hours(hours_old));
    };
    for (int i = 0; i < 80; ++i) put(L"old-" + std::to_wstring(i) + L".log", 100 - i);
    const auto foreign = {L"payroll.log", L"host-7.db", L"12.log"};  // older than all, and not the service's to remove
    for (const wchar_t* const name : foreign) put(name, 999);
    const tandor::FileHandle living(::CreateFileW((host / L"old-3.log").c_str(), GENERIC_READ,
                                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                  OPEN_EXISTING, 0, nullptr));
    Child child(L"host-log \"" + std::wstring(1000, L'x') + L"\" 6000");  // about 6 MB
    ASSERT_EQ(child.Wait(), 0);
    EXPECT_TRUE(std::filesystem::exists(host / L"old-3.log"));
    EXPECT_FALSE(std::filesystem::exists(host / L"old-15.log"));
    EXPECT_TRUE(std::filesystem::exists(host / L"old-16.log"));
    for (const wchar_t* const name : foreign) {
        EXPECT_TRUE(std::filesystem::exists(host / name)) << name;
    }
    std::uintmax_t size = 0;
    for (const auto& file : HostLogs(folder.path))
        if (file.filename().wstring().starts_with(L"test_child-")) size += std::filesystem::file_size(file);
    EXPECT_GT(size, 2u << 20);
    EXPECT_LE(size, 4u << 20);
}

TEST(HostLog, ObserversSeeWhatTheyAskedForInOrderAndCannotHarm) {
    std::vector<std::wstring> seen;
    auto& log = VxLogger::GetInstance();
    const auto thrower = log.Subscribe(
        LOG_MESSAGE_TRACE, [](LOG_MESSAGE_LEVEL, std::wstring_view) { throw std::runtime_error("observer"); });
    std::uint64_t watcher = 0;
    watcher = log.Subscribe(LOG_MESSAGE_INFO, [&](LOG_MESSAGE_LEVEL level, std::wstring_view message) {
        seen.push_back(std::to_wstring(level) + std::wstring(message));
        Log(3, L"from inside");  // written, not observed
        if (message == L"last") log.Unsubscribe(watcher);
    });
    Log(4, L"one");
    Log(2, L"too low");
    Log(3, L"");
    Log(5, L"last");
    Log(3, L"two");
    log.Unsubscribe(thrower);
    log.Unsubscribe(thrower);
    EXPECT_THAT(seen, ElementsAre(L"4one", L"3", L"5last"));
}

TEST(HostLog, NoThreadWaitsForAnothersObserver) {
    auto& log = VxLogger::GetInstance();
    std::vector<std::wstring> seen;
    Gate inside, open;
    const auto slow = log.Subscribe(LOG_MESSAGE_TRACE, [&](LOG_MESSAGE_LEVEL, std::wstring_view message) {
        seen.emplace_back(message);
        inside.Open();
        open.Pass();
    });
    std::thread first([] { Log(3, L"first"); });
    inside.Pass();
    Log(3, L"second");
    Log(3, L"third");
    open.Open();
    log.Unsubscribe(slow);
    first.join();
    EXPECT_THAT(seen, ElementsAre(L"first", L"second", L"third"));
}

TEST(HostLog, LinesForAFolderThatIsAFileAreCounted) {
    const TemporaryFolder folder;
    WriteAll(folder.path / L"common", "content");
    const MachineText common(kSuiteKey, L"CommonDirectory", (folder.path / L"common").native());
    EXPECT_EQ(Child(L"host-log text 3").Wait(), 3);
    EXPECT_EQ(ReadAll(folder.path / L"common"), "content");
}

std::atomic<bool> no_space{false};
BOOL WINAPI WriteWithoutSpace(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED place) {
    if (!no_space) return ::WriteFile(file, data, size, written, place);
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

TEST(HostLog, LinesThatFindNoSpaceAreCounted) {
    const ImportPatch disk(L"PeloraSuite.dll", "WriteFile", &WriteWithoutSpace);
    Log(3, L"there is space");
    const std::uint64_t before = VxLogger::GetInstance().Lost();
    no_space = true;
    Log(3, L"lost");
    Log(4, std::wstring(1 << 20, L'x'));
    no_space = false;
    Log(3, L"there is space again");
    EXPECT_EQ(VxLogger::GetInstance().Lost(), before + 2);
}

}  // namespace
