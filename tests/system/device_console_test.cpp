// Commands on devices, with real device nodes of the test's own.

#include "tandor/device_console.h"
#include "support/setup_spy.h"
#include "support/testing.h"
#include "tandor/rehearsal.h"

namespace {

using namespace tandor::test;

using Vxa::Exp::DeviceConsole;
using Vxa::Exp::DeviceInventory;
using Vxa::Exp::DeviceNode;
using Lines = std::vector<std::wstring>;

class DeviceConsoleTest : public testing::Test {
protected:
    DeviceConsoleTest() {
        WriteAll(inf_,
                 "[Version]\r\nSignature=\"$Windows NT$\"\r\nClass=System\r\n"
                 "ClassGuid={4d36e97d-e325-11ce-bfc1-08002be10318}\r\n");
        DeviceConsole::GetInstance();
        log_.Take();
    }
    ~DeviceConsoleTest() override {
        spy_.Fail(L"", 0, 0);
        for (const std::wstring& id : {id_, other_}) Run(L"remove", id);
        EXPECT_EQ(spy_.open_lists, 0);
    }

    bool Run(const std::wstring& command, const std::wstring& id, const std::optional<std::wstring>& inf = {}) {
        return DeviceConsole::GetInstance().ExecCommand(command, id, inf.value_or(inf_));
    }
    void InstallTwoAndAnother() {
        for (const std::wstring& id : {id_, other_, id_}) ASSERT_TRUE(Run(L"install", id)) << ::GetLastError();
        spy_.Take();
        log_.Take();
    }
    static std::vector<DeviceNode> Devices(const std::wstring& id) {
        std::vector<DeviceNode> nodes;
        EXPECT_EQ(DeviceInventory::Find(id, nodes), 0u);
        return nodes;
    }
    static std::wstring Line(const wchar_t* text, const wchar_t* function = L"ExecCommand") {
        return std::wstring(L"3 ") + text + L"(Vxa::Exp::DeviceConsole::" + function + L")";
    }
    [[nodiscard]] std::wstring Driver(const wchar_t* entry, const wchar_t* flags) const {
        return std::wstring(entry) + L" " + inf_ + L" " + flags;
    }

    TemporaryFolder folder_;
    const std::wstring inf_ = (folder_.path / L"Pad 手机.inf").native();
    const std::wstring id_ = L"Root\\TandorTest" + std::to_wstring(::GetCurrentProcessId());
    const std::wstring other_ = id_ + L"-other";
    SetupSpy spy_;
    HostLog log_;
};

TEST_F(DeviceConsoleTest, InstallsAndRemovesRealDeviceNodes) {
    EXPECT_TRUE(Run(L"InStall", id_));
    EXPECT_THAT(spy_.Take(), ElementsAre(L"GetINFClass 32", L"CreateDeviceInfoList", L"CreateDeviceInfo 1",
                                         L"SetDeviceRegistryProperty 1 404", L"CallClassInstaller 25",
                                         Driver((L"UpdateDriver " + id_).c_str(), L"1"), L"DestroyDeviceInfoList"));
    EXPECT_THAT(log_.Take(), ElementsAre(Line(L"Command: InStall finished successfully.")));
    std::wstring upper = id_;
    std::ranges::transform(upper, upper.begin(), [](wchar_t c) { return static_cast<wchar_t>(std::towupper(c)); });
    const auto nodes = Devices(upper);
    ASSERT_EQ(nodes.size(), 1u);
    EXPECT_THAT(nodes[0].hardware_ids, ElementsAre(id_));
    EXPECT_EQ(nodes[0].class_name, L"System");
    EXPECT_TRUE(nodes[0].instance.starts_with(L"ROOT\\SYSTEM\\")) << nodes[0].instance.size();

    ASSERT_TRUE(Run(L"install", other_) && Run(L"install", id_));
    EXPECT_EQ(Devices(id_).size(), 2u);
    spy_.Take();
    log_.Take();
    EXPECT_TRUE(Run(L"remove", upper));
    const std::wstring set = L"SetClassInstallParams 5 1 0", call = L"CallClassInstaller 5";
    EXPECT_THAT(spy_.Take(), ElementsAre(set, call, set, call, Driver(L"UninstallDriver", L"0")));
    EXPECT_THAT(log_.Take(), ElementsAre(Line(L"Command: remove finished successfully.")));
    EXPECT_THAT(Devices(id_), IsEmpty());
    EXPECT_EQ(Devices(other_).size(), 1u);
    EXPECT_TRUE(Run(L"remove", id_));  // nothing is left to take out but the driver
    EXPECT_THAT(spy_.Take(), ElementsAre(Driver(L"UninstallDriver", L"0")));
}

// Each of the system's calls fails once, one at a time.
TEST_F(DeviceConsoleTest, EachCallThatFailsIsSaidAndNothingStaysOpen) {
    using Row = std::pair<std::wstring, std::size_t>;
    for (const auto& [word, kinds] :
         {Row{L"install", 6}, Row{L"update", 1}, Row{L"remove", 7}, Row{L"enable", 5}, Row{L"disable", 5}}) {
        std::set<std::wstring> seen;
        for (int n = 1;; ++n) {
            while (word != L"install" && Devices(id_).size() < 2) ASSERT_TRUE(Run(L"install", id_));
            if (word == L"install") Run(L"remove", id_);
            log_.Take();
            spy_.Take();
            spy_.FailAt(n, ERROR_ACCESS_DENIED);
            const bool done = Run(word, id_);
            const DWORD error = ::GetLastError();
            const std::wstring failed = spy_.Failed();
            EXPECT_EQ(spy_.open_lists, 0);
            if (failed.empty()) {
                EXPECT_TRUE(done);
                break;
            }
            seen.insert(failed.substr(0, failed.find(L' ')));
            SCOPED_TRACE(testing::PrintToString(word + L": " + failed));
            const auto lines = log_.Take();
            // A device that cannot be read is not meant, and one of two is left; the node is gone before its state is.
            if (failed.starts_with(L"GetDevice")) {
                EXPECT_TRUE(done);
                EXPECT_EQ(lines.size(), failed == L"GetDeviceInstallParams" ? 2u : 1u);
                if (failed != L"GetDeviceInstallParams") {
                    EXPECT_EQ(failed, L"GetDeviceRegistryProperty 1 2048");
                }
                continue;
            }
            EXPECT_FALSE(done);
            EXPECT_EQ(error, static_cast<DWORD>(ERROR_ACCESS_DENIED));
            EXPECT_EQ(lines.back(), Line((L"Command: " + word + L" failed with error code : 5").c_str()));
            if (word == L"install") {
                EXPECT_EQ(lines[0], Line(L"Command: install failed with error code : 5", L"InstallDevice"));
            }
        }
        EXPECT_EQ(seen.size(), kinds);
    }
    spy_.Fail(L"UpdateDriver", ERROR_SUCCESS);
    EXPECT_FALSE(Run(L"update", id_));
    EXPECT_EQ(log_.Take().back(), Line(L"Command: update failed with error code : 31"));  // never "error 0"
}

// What a rehearsal lists is what the real run then asks of the system.
TEST_F(DeviceConsoleTest, ARehearsalListsTheChangesAndMakesNone) {
    InstallTwoAndAnother();
    for (const std::wstring word : {L"install", L"update", L"enable", L"disable", L"remove"}) {
        const auto nodes = Devices(id_).size();
        std::vector<std::wstring> planned;
        {
            const Rehearsal rehearsal;
            EXPECT_TRUE(Run(word, id_));
            for (const std::wstring& call : rehearsal.Calls()) {
                const std::size_t begin = call.starts_with(L"SetupDi") ? 7 : 0;
                planned.push_back(call.substr(begin, call.find(L'(') - begin));
            }
            EXPECT_EQ(Devices(id_).size(), nodes);
            spy_.Take();
        }
        EXPECT_TRUE(Run(word, id_));
        auto real = spy_.Take();
        std::erase_if(real, [](const auto& call) {
            return call.starts_with(L"GetINFClass") || call.ends_with(L"DeviceInfoList");
        });
        ASSERT_EQ(planned.size(), real.size());
        for (std::size_t i = 0; i < real.size(); ++i) {
            const std::wstring name = real[i].substr(0, real[i].find(L' '));
            EXPECT_THAT(planned[i], HasSubstr(name));
        }
    }
    const Rehearsal rehearsal;
    EXPECT_TRUE(Run(L"disable", other_));
    const std::wstring node = Devices(other_).at(0).instance;
    EXPECT_THAT(rehearsal.Calls(), ElementsAre(L"SetupDiSetClassInstallParamsW(" + node +
                                                   L", DIF_PROPERTYCHANGE, DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC)",
                                               L"SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, " + node + L")"));
}

TEST_F(DeviceConsoleTest, RefusesBadInputBeforeItTouchesTheSystem) {
    const std::wstring absent = (folder_.path / L"absent.inf").native();
    const std::wstring folder = folder_.path.native(), zero(1, L'\0');
    using Row = std::tuple<std::wstring, std::wstring, DWORD>;
    for (const auto& [id, inf, error] :
         {Row{id_, L"", ERROR_INVALID_NAME}, Row{id_, absent, ERROR_FILE_NOT_FOUND},
          Row{id_, folder, ERROR_FILE_NOT_FOUND}, Row{id_, inf_ + zero + L"x", ERROR_INVALID_NAME},
          Row{id_, folder + L"\\" + std::wstring(260, L'x'), ERROR_FILENAME_EXCED_RANGE},
          Row{L"", inf_, ERROR_INVALID_PARAMETER}, Row{std::wstring(201, L'x'), inf_, ERROR_INVALID_PARAMETER},
          Row{id_ + zero + L"x", inf_, ERROR_INVALID_PARAMETER}}) {
        EXPECT_FALSE(Run(L"install", id, inf));
        EXPECT_EQ(::GetLastError(), error);
    }
    EXPECT_THAT(spy_.Take(), IsEmpty());
    log_.Take();
    for (const auto* const word : {L"", L"instal", L"install ", L"stage"}) {
        EXPECT_FALSE(Run(word, id_));
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_FUNCTION));
        EXPECT_THAT(log_.Take(), ElementsAre(Line(L"Invalid command.")));
    }

    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path);
    EXPECT_TRUE(Run(L"update", id_, L".\\Pad 手机.inf"));  // a relative path becomes complete
    std::filesystem::current_path(before);
    EXPECT_THAT(spy_.Take(), ElementsAre(EndsWith(L"\\Pad 手机.inf 1")));
}

TEST_F(DeviceConsoleTest, EnablesInBothScopesAndDisablesInOne) {
    for (const auto* const word : {L"enable", L"disable"}) {
        EXPECT_FALSE(Run(word, id_));
        EXPECT_EQ(::GetLastError(), ERROR_NO_SUCH_DEVINST);
    }
    InstallTwoAndAnother();
    const std::wstring everywhere = L"SetClassInstallParams 18 1 1", here = L"SetClassInstallParams 18 1 2";
    const std::wstring off = L"SetClassInstallParams 18 2 2", call = L"CallClassInstaller 18";
    EXPECT_TRUE(Run(L"enable", id_));
    EXPECT_THAT(spy_.Take(), ElementsAre(everywhere, call, here, call, everywhere, call, here, call));
    EXPECT_TRUE(Run(L"disable", id_));
    EXPECT_THAT(spy_.Take(), ElementsAre(off, call, off, call));
    // What fails on one device or in one scope is said, and the rest is done.
    const auto fails_with = [&](const wchar_t* command, const std::wstring& step, DWORD error) {
        spy_.Fail(step, error);
        EXPECT_FALSE(Run(command, id_));
        EXPECT_EQ(::GetLastError(), error);
        return spy_.Take();
    };
    EXPECT_THAT(fails_with(L"enable", everywhere, ERROR_ACCESS_DENIED),
                ElementsAre(everywhere, here, call, everywhere, call, here, call));
    EXPECT_THAT(fails_with(L"disable", call, ERROR_NOT_DISABLEABLE), ElementsAre(off, call, off, call));
}

TEST_F(DeviceConsoleTest, RemovalTellsOfRestartsAndOfDriversThatStay) {
    const std::wstring done = Line(L"Command: remove finished successfully.");
    for (const DWORD flag : {DI_NEEDRESTART, DI_NEEDREBOOT}) {
        ASSERT_TRUE(Run(L"install", id_));
        log_.Take();
        spy_.install_flags = flag;
        EXPECT_TRUE(Run(L"remove", id_));
        EXPECT_THAT(log_.Take(), ElementsAre(Line(L"Reboot is required.", L"RemoveDevice"), done));
    }
    InstallTwoAndAnother();
    spy_.install_flags = ~static_cast<DWORD>(DI_NEEDRESTART | DI_NEEDREBOOT);
    spy_.Fail(L"GetDeviceInstallParams", ERROR_GEN_FAILURE);
    EXPECT_TRUE(Run(L"remove", id_));
    EXPECT_THAT(log_.Take(), ElementsAre(L"4 Get device status failed, not sure whether reboot is requried. "
                                         L"(Vxa::Exp::DeviceConsole::RemoveDevice)",
                                         done));
    InstallTwoAndAnother();
    spy_.Fail(L"CallClassInstaller 5", ERROR_ACCESS_DENIED);
    EXPECT_FALSE(Run(L"remove", id_));  // of one; the other is gone all the same, and the driver is tried
    EXPECT_EQ(Devices(id_).size(), 1u);
    EXPECT_EQ(spy_.Take().back(), Driver(L"UninstallDriver", L"0"));
    log_.Take();
    spy_.Fail(L"UninstallDriver", ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(Run(L"remove", id_));
    EXPECT_THAT(log_.Take(),
                ElementsAre(L"4 uninstalldriver " + inf_ + L" failed 2(Vxa::Exp::DeviceConsole::RemoveDevice)",
                            Line(L"Command: remove failed with error code : 2")));
    EXPECT_THAT(Devices(id_), IsEmpty());
}

TEST_F(DeviceConsoleTest, WithoutTheSystemsLibraryEveryCommandIsInvalid) {
    for (const auto& [what, line] :
         {std::pair{L"GetSystemDirectoryW", "4 Get load lib path failed, error code: 1168"},
          {L"long-directory", "4 get newdev.DLL path failed"},
          {L"LoadLibraryExW", "4 Load newdev.dll failed with error code : 1168"},
          {L"UpdateDriverForPlugAndPlayDevicesW", "4 Get update driver entry failed with error code : 1168"},
          {L"DiUninstallDriverW", "4 Get DiUninstallDriverW address failed 1168"}}) {
        auto run = RunProgram(std::wstring(L"test_child.exe console-without ") + what);
        std::erase(run.out, '\r');
        EXPECT_EQ(run.exit_code, 0);
        EXPECT_EQ(run.out, std::string(line) +
                               "(Vxa::Exp::DeviceConsole::Initialize)\n"
                               "3 Invalid command.(Vxa::Exp::DeviceConsole::ExecCommand)\n");
    }
}

TEST_F(DeviceConsoleTest, LeaksNothingFromAnyThread) {
    InstallTwoAndAnother();
    const auto rounds = Amount("TANDOR_STRESS_CONSOLE", 15);
    const auto work = [&](const std::wstring& id, bool installs) {
        for (auto i = rounds; i > 0; --i) {
            for (const auto* const word : {L"update", L"enable", L"disable", L"no such"}) Run(word, id);
            Run(L"install", id, L"absent.inf");
            if (installs) Run(L"install", id);
            Run(L"remove", id);
        }
    };
    work(other_, true);  // what is made once is made
    log_.Take();
    spy_.Take();
    const LeakWatch watch;
    InThreads(2, [&](int i) { work(other_ + (i == 0 ? L"" : L"2"), i == 0); });
    log_.Take();
    spy_.Take();
    // Wine's Setup API keeps a handle for each node that it has made, however the node goes.
    watch.ExpectNoMoreThan(rounds + 2);
    EXPECT_EQ(spy_.open_lists, 0);
    EXPECT_EQ(Devices(id_).size(), 2u);
    EXPECT_THAT(Devices(other_), IsEmpty());
}

}  // namespace
