// Driver packages through the system's program, with a double of that.
#include "support/setup_spy.h"
#include "support/testing.h"
#include "tandor/device_console.h"

namespace {

using namespace tandor::test;

using Vxa::Exp::DeviceConsole;

constexpr auto kFunction = L"(Vxa::Exp::DeviceConsole::ExecPnpCommand)";
const std::wstring kDone = std::wstring(L"3 Command: add-driver finished successfully.") + kFunction;

class DriverStaging : public testing::Test {
protected:
    DriverStaging() {
        WriteAll(inf_, "[Version]\r\n");
        ::SetEnvironmentVariableW(L"TANDOR_PNPUTIL_RECORD", record_.c_str());
        DeviceConsole::GetInstance();
        log_.Take();
    }
    ~DriverStaging() override {
        for (const auto* const name : {L"TANDOR_PNPUTIL_RECORD", L"TANDOR_PNPUTIL_CODE"})
            ::SetEnvironmentVariableW(name, nullptr);
    }

    bool Stage(const std::wstring& inf, DWORD exit_code = 0) {
        ::SetEnvironmentVariableW(L"TANDOR_PNPUTIL_CODE", std::to_wstring(exit_code).c_str());
        return DeviceConsole::GetInstance().ExecPnpCommand(inf);
    }

    const TemporaryFolder folder_;
    const std::wstring inf_ = (folder_.path / L"Pad 手机.inf").native();
    const std::wstring record_ = (folder_.path / L"record").native();
    const SetupSpy spy_;  // the console's library
    HostLog log_;
};

TEST_F(DriverStaging, RunsTheSystemsProgramAndTellsItsAnswersApart) {
    const SystemFile pnputil(L"pnputil_double.exe", L"pnputil.exe");
    using Row = std::tuple<DWORD, bool, bool>;
    for (const auto& [exit_code, staged, restart] :
         {Row{0, true, false}, Row{259, true, false}, Row{3010, true, true}, Row{1641, true, true},
          Row{5, false, false}, Row{0xE0000247, false, false}}) {
        EXPECT_EQ(Stage(inf_, exit_code), staged) << exit_code;
        EXPECT_EQ(::GetLastError(), exit_code);
        const auto lines = log_.Take();
        EXPECT_EQ(std::ranges::count(lines, std::wstring(L"3 Reboot is required.") + kFunction), restart);
        EXPECT_EQ(lines.back(),
                  staged ? kDone : L"4 Command failed with error code : " + std::to_wstring(exit_code) + kFunction);
        EXPECT_THAT(lines, Each(Not(HasSubstr(L"/add-driver"))));
    }
    const std::string command =
        "unseen " + tandor::Utf8FromWide(SystemFolder() + L"\\pnputil.exe /add-driver \"" + inf_ + L"\" /install\n");
    std::string six;
    for (int i = 0; i < 6; ++i) six += command;
    EXPECT_EQ(ReadAll(record_), six);
    EXPECT_TRUE(Stage((folder_.path / L"x" / L".." / L"." / L"Pad 手机.inf").native()));  // made canonical
    EXPECT_EQ(ReadAll(record_), six + command);
}

TEST_F(DriverStaging, RefusesPathsThatAreNoFileOrWouldBreakTheCommandLine) {
    const SystemFile pnputil(L"pnputil_double.exe", L"pnputil.exe");
    const std::wstring folder = folder_.path.native();
    for (const std::wstring& bad : {std::wstring(), folder, folder + L"\\absent.inf", folder + L"\\*.inf",
                                    inf_ + L"\" /delete-driver \"" + inf_, std::wstring(L"/reboot")}) {
        EXPECT_FALSE(Stage(bad));
        EXPECT_THAT(log_.Take(), ElementsAre(L"4 vdisplaydriver Path error, vdisplaydriverPath=" + bad + kFunction));
    }
    const std::wstring too_long = folder + L"\\" + std::wstring(260, L'x');
    EXPECT_FALSE(Stage(too_long));
    EXPECT_THAT(log_.Take(), ElementsAre(L"4 PathCanonicalize failed, vdisplaydriverPath=" + too_long + kFunction));
    EXPECT_EQ(ReadAll(record_), "");
}

// A program that takes for ever; the wait itself must be bounded.
DWORD WINAPI NeverInTime(HANDLE, DWORD milliseconds) { return milliseconds == INFINITE ? WAIT_FAILED : WAIT_TIMEOUT; }

TEST_F(DriverStaging, SaysWhyTheProgramGaveNoAnswer) {
    const std::wstring absent = std::wstring(L"4 Command failed with error code : 2") + kFunction;
    if (::GetFileAttributesW((SystemFolder() + L"\\pnputil.exe").c_str()) == INVALID_FILE_ATTRIBUTES) {
        EXPECT_FALSE(Stage(inf_));
        EXPECT_THAT(log_.Take(), ElementsAre(absent));
    }
    const SystemFile pnputil(L"pnputil_double.exe", L"pnputil.exe");
    {
        const ImportPatch patch(L"TandorUtil.dll", "GetSystemDirectoryW", &NoSystemDirectory);
        EXPECT_FALSE(Stage(inf_));
        EXPECT_THAT(log_.Take(), ElementsAre(L"4 GetSystemDirectory failed."
                                             L"(Vxa::Exp::DeviceConsole::GetSystemPnputilExePath)"));
    }
    const ImportPatch patch(L"TandorUtil.dll", "WaitForSingleObject", &NeverInTime);
    EXPECT_FALSE(Stage(inf_));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_TIMEOUT));
    EXPECT_THAT(log_.Take(), ElementsAre(std::wstring(L"4 Command failed with error code : 1460") + kFunction));
}

BOOL WINAPI NothingMoreToRead(HANDLE, LPWIN32_FIND_DATAW) {
    ::SetLastError(ERROR_READ_FAULT);
    return FALSE;
}

TEST_F(DriverStaging, NamesTheFoldersOfTheDriverStore) {
    const SystemFile pnputil(L"pnputil_double.exe", L"pnputil.exe");
    const std::filesystem::path store = SystemFolder() + L"\\DriverStore\\FileRepository";
    const bool had_store = std::filesystem::exists(store);
    if (!had_store) {
        EXPECT_TRUE(Stage(inf_));  // the package may lie elsewhere: no failure
        EXPECT_THAT(log_.Take(), ElementsAre(std::wstring(L"4 FindFirstFile failed: 3") + kFunction, kDone));
    }
    const auto ours = store / L"PAD 手机.inf_amd64_5f3c1e0d9a7b8c42", other = store / L"otherpad 手机.inf_amd64_5f";
    const auto file = store / L"pad 手机.inf_amd64_00";
    for (const auto& folder : {ours, other}) std::filesystem::create_directories(folder);
    WriteAll(file, "not a folder");
    EXPECT_TRUE(Stage(inf_));
    EXPECT_THAT(log_.Take(), ElementsAre(L"3 add driverstore path: " + ours.native() + kFunction, kDone));
    {
        const ImportPatch patch(L"TandorUtil.dll", "FindNextFileW", &NothingMoreToRead);
        EXPECT_TRUE(Stage(inf_));
        EXPECT_THAT(log_.Take(), ElementsAre(std::wstring(L"4 FindNextFile failed: 30") + kFunction, kDone));
    }
    for (const auto& path : {ours, other, file}) std::filesystem::remove(path);
    if (!had_store) std::filesystem::remove_all(store.parent_path());
}

TEST_F(DriverStaging, LeaksNothing) {
    const SystemFile pnputil(L"pnputil_double.exe", L"pnputil.exe");
    Stage(inf_);
    const LeakWatch watch;
    for (auto i = Amount("TANDOR_STRESS_STAGING", 15); i > 0; --i) Stage(inf_, i % 2 == 0 ? 0 : 5);
    log_.Take();
    watch.ExpectNoMoreThan(1);
}

}  // namespace
