#include <nlohmann/json.hpp>

#include "app/verb_table.h"
#include "pelora/registry.h"
#include "support/setup_spy.h"
#include "support/testing.h"
#include "tandor/device_console.h"

namespace {

using namespace tandor::test;
using nlohmann::json;

// The device-installation library that tandorctl finds. Wine takes its own unless it is told otherwise.
class NewdevDouble {
public:
    NewdevDouble() { DE::Registry::SetValue(DE::RegistryRoot::kCurrentUser, kKey, L"newdev", std::wstring(L"native")); }
    ~NewdevDouble() { DE::Registry::DeleteKey(DE::RegistryRoot::kCurrentUser, kKey); }
    NewdevDouble(const NewdevDouble&) = delete;
    NewdevDouble& operator=(const NewdevDouble&) = delete;

private:
    static constexpr auto kKey = L"Software\\Wine\\AppDefaults\\tandorctl.exe\\DllOverrides";
    SystemFile file_{L"newdev_double.dll", L"newdev.dll"};
};

class ConsoleCommands : public testing::Test {
protected:
    ConsoleCommands() {
        tandor::test::WriteAll(folder_.path / L"Pad 手机.inf",
                               "[Version]\r\nSignature=\"$Windows NT$\"\r\nClass=System\r\n"
                               "ClassGuid={4d36e97d-e325-11ce-bfc1-08002be10318}\r\n");
    }
    ~ConsoleCommands() override {
        const tandor::test::SetupSpy spy;
        Vxa::Exp::DeviceConsole::GetInstance().ExecCommand(L"remove", id_, L"x");
    }
    [[nodiscard]] ProgramRun Run(const wchar_t* verb, bool inf = true) const {
        return RunTandorctl(std::wstring(L"--json console ") + verb + L" " + id_ + (inf ? L" " + inf_ : L""));
    }

    const tandor::test::TemporaryFolder folder_;
    const std::wstring inf_ = L"\"" + (folder_.path / L"Pad 手机.inf").native() + L"\"";
    const std::wstring id_ = L"Root\\TandorCtl" + std::to_wstring(::GetCurrentProcessId());
};

TEST_F(ConsoleCommands, InstallsShowsAndPlans) {
    EXPECT_EQ(Run(L"status", false).exit_code, 1);
    const NewdevDouble newdev;
    const ProgramRun plan = Run(L"install --dry-run");
    EXPECT_EQ(plan.exit_code, 0) << plan.error;
    EXPECT_EQ(json::parse(plan.out)["calls"].size(), 4u);
    EXPECT_THAT(plan.out, HasSubstr("Pad 手机.inf"));
    const ProgramRun unasked = Run(L"install");
    EXPECT_EQ(unasked.exit_code, 2);
    EXPECT_THAT(unasked.error, HasSubstr("nobody can be asked here"));
    EXPECT_EQ(Run(L"find", false).exit_code, 1);  // nothing was made until now
    EXPECT_EQ(Run(L"update --dry-run").exit_code, 1);
    const ProgramRun install = Run(L"install --yes");
    EXPECT_EQ(install.exit_code, 0) << install.error;
    EXPECT_EQ(json::parse(install.out)["devices"][0]["class"], "System");
    EXPECT_EQ(Run(L"update --yes").exit_code, 0);
    const ProgramRun again = Run(L"install --yes");
    EXPECT_EQ(again.exit_code, 1);
    EXPECT_THAT(again.error, HasSubstr("use update, or --again"));
    const json found = json::parse(Run(L"find", false).out)["devices"];
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(json::parse(Run(L"status", false).out)["devices"], found);
    const std::string instance = found[0]["instance"].get<std::string>();
    EXPECT_THAT(RunTandorctl(L"console list --class SYSTEM").out, HasSubstr(instance));
    struct Step {
        const wchar_t* verb;
        bool inf;
        std::size_t calls;
    };
    for (const Step& step : {Step{L"update --dry-run", true, 1}, Step{L"remove --dry-run", true, 3},
                             Step{L"enable --dry-run", false, 4}, Step{L"disable --dry-run", false, 2}}) {
        const json order = json::parse(Run(step.verb, step.inf).out);
        EXPECT_EQ(order["calls"].size(), step.calls) << order;
    }
}

TEST_F(ConsoleCommands, StagesAPackage) {
    const NewdevDouble newdev;
    const ProgramRun plan = RunTandorctl(L"console stage --dry-run " + inf_);
    EXPECT_THAT(plan.out, AllOf(HasSubstr("1. CreateProcessW("), HasSubstr("pnputil.exe /add-driver \"")));
    const SystemFile pnputil(L"pnputil_double.exe", L"pnputil.exe");
    ::SetEnvironmentVariableW(L"TANDOR_PNPUTIL_RECORD", (folder_.path / L"record").c_str());
    const std::pair<const wchar_t*, const char*> cases[] = {{L"0", "staged\n"},
                                                            {L"259", "no device took it"},
                                                            {L"3010", "must be restarted"},
                                                            {L"5", "run as administrator"}};
    for (const auto& [code, text] : cases) {
        ::SetEnvironmentVariableW(L"TANDOR_PNPUTIL_CODE", code);
        const ProgramRun run = RunTandorctl(L"console stage --yes " + inf_);
        EXPECT_EQ(run.exit_code, code[0] == L'5' ? 1 : 0);
        EXPECT_THAT(run.out + run.error, HasSubstr(text));
    }
    for (const auto* const name : {L"TANDOR_PNPUTIL_RECORD", L"TANDOR_PNPUTIL_CODE"})
        ::SetEnvironmentVariableW(name, nullptr);
}

TEST_F(ConsoleCommands, BadInputIsExplained) {
    tandor::test::WriteAll(folder_.path / L"bad.inf", "junk");
    tandor::test::TryAll({
        {L"console", 2, "'tandorctl console' needs one of list, find, status, install"},
        {L"console find \"\"", 2, "it is empty"},
        {L"console install " + id_, 2, "INF is required"},
        {L"console enable \"\"", 2, "1 to 200 characters"},
        {L"console install " + id_ + L" no-such.inf --dry-run", 1, "error: no-such.inf: "},
        {L"console stage no-such.inf", 1, "check the path"},
        {L"console stage \"" + (folder_.path / L"bad.inf").native() + L"\"", 1, "check that it is a driver's INF"},
    });
}

}  // namespace
