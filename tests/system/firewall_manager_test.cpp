#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "base/win_handle.h"
#include "support/firewall_double.h"
#include "support/firewall_plan.h"
#include "support/host_log.h"
#include "support/own_resources.h"
#include "support/tally.h"
#include "tandor/firewall.h"

namespace {

using tandor::test::Amount;
using tandor::test::FirewallDouble;
using tandor::test::FirewallPlan;
using tandor::test::HandlesOfThisProcess;
using tandor::test::HostLog;
using tandor::test::RegistryText;
using tandor::test::RuleFor;
using tandor::test::ThreadsOfThisProcess;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const wchar_t* kNoteKey = L"SOFTWARE\\Pelora\\VXLoginGuide";
constexpr int kEnable = 0x490086, kDisable = 0x490087;

// The assistant service's end of the pipe.
class Service {
public:
    Service()
        : pipe_(::CreateNamedPipeW(L"\\\\.\\Pipe\\iPaviloAssistant", PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE | PIPE_NOWAIT,
                                   1, 65536, 65536, 0, nullptr)) {}

    // The numbers of the messages that have come; each is about the rule and names this program.
    std::vector<int> Messages() {
        std::vector<int> numbers;
        std::string bytes(65536, '\0');
        DWORD size = 0;
        ::ReadFile(pipe_.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &size, nullptr);
        std::int32_t header[13];  // the frame's numbers: its length is the third, the message the seventh
        for (std::size_t at = 0; at + sizeof(header) <= size; at += static_cast<std::size_t>(header[2])) {
            std::memcpy(header, bytes.data() + at, sizeof(header));
            if (header[2] < static_cast<std::int32_t>(sizeof(header))) throw std::runtime_error("not a frame");
            EXPECT_EQ(header[3], 0x490084);
            EXPECT_EQ(header[4], 0x490000);
            numbers.push_back(header[6]);
            const std::string data = bytes.substr(at + sizeof(header), static_cast<std::size_t>(header[12]));
            EXPECT_THAT(data, AllOf(HasSubstr("PVAMessageCenter"), HasSubstr("\\windows_tests.exe")));
        }
        return numbers;
    }

private:
    tandor::FileHandle pipe_;
};

// The machine's registry cannot be written while it lives: what this program takes for it is a key that is gone.
class NoMachineRegistry {
public:
    NoMachineRegistry() {
        constexpr const wchar_t* kKey = L"TandorUtil tests, gone at once";
        tandor::RegistryKey key;
        ::RegCreateKeyExW(HKEY_CURRENT_USER, kKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.Receive(), nullptr);
        ::RegDeleteKeyW(HKEY_CURRENT_USER, kKey);
        EXPECT_EQ(::RegOverridePredefKey(HKEY_LOCAL_MACHINE, key.Get()), ERROR_SUCCESS);
    }
    ~NoMachineRegistry() { ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr); }
};

class FirewallManager : public testing::Test {
protected:
    void SetUp() override { Manager().OnAllowFound(); }  // no request is kept from before
    void TearDown() override {
        Manager().OnAllowFound();
        EXPECT_EQ(FirewallDouble::Live(), 0);
    }
    static FireWallRuleManger& Manager() { return FireWallRuleManger::GetInstance(); }
    [[nodiscard]] std::wstring Note() const { return note_.Get().value_or(L"none"); }

    FirewallPlan plan_;
    RegistryText note_{DE::RegistryRoot::kLocalMachine, kNoteKey, L"Fireware"};
    FirewallDouble double_;
    HostLog log_;
};

TEST_F(FirewallManager, CheckAsksTheFirewallOnlyWhenThePlanIsOn) {
    double_->group_enabled = VARIANT_TRUE;
    plan_.user.Set(L"11");
    EXPECT_FALSE(Manager().CheckRule());
    EXPECT_THAT(double_.Asked(), IsEmpty());
    plan_.user.Set(L"1");
    EXPECT_TRUE(Manager().CheckRule());
    double_->failing = {{L"IsRuleGroupEnabled", E_FAIL}};
    EXPECT_FALSE(Manager().CheckRule());
}

TEST_F(FirewallManager, EnablingNotesItAndDisablingTakesBothBack) {
    plan_.user.Set(L"1");
    for (const wchar_t* const note : {L"", L"0", L"1", L"a text that is longer than the note"}) {
        note_.Set(note);
        double_->rules = {RuleFor(L"PVAMessageCenter", L"old")};
        EXPECT_TRUE(Manager().EnableRule());
        EXPECT_EQ(Note(), L"1");
        ASSERT_THAT(double_.Names(), ElementsAre(L"PVAMessageCenter"));
        EXPECT_NE(double_->rules[0].texts[L"ApplicationName"], L"old");
    }
    double_->failing = {{L"Remove", E_ACCESSDENIED}};
    EXPECT_FALSE(Manager().DisableRule());
    EXPECT_EQ(Note(), L"1");
    double_->failing.clear();
    EXPECT_TRUE(Manager().DisableRule());
    EXPECT_EQ(Note(), L"0");
    EXPECT_THAT(double_.Names(), IsEmpty());
    double_->failing = {{L"Add", E_FAIL}};
    EXPECT_FALSE(Manager().EnableRule());
    EXPECT_THAT(log_.Take().back(), StartsWith(L"3 AddFirewallRules fail: "));
    // A note that cannot be written leaves the firewall alone.
    double_.Asked();
    const NoMachineRegistry none;
    EXPECT_FALSE(Manager().EnableRule());
    EXPECT_THAT(log_.Take(), ElementsAre(StartsWith(L"3 write Fireware fail: ")));
    EXPECT_THAT(double_.Asked(), IsEmpty());
}

TEST_F(FirewallManager, AForcedRequestGoesToTheServiceAndWaitsForItWhenThereIsNone) {
    plan_.user.Set(L"1");
    double_->group_enabled = VARIANT_TRUE;
    {
        Service service;
        EXPECT_TRUE(Manager().TryEnableRule(L"t", L"x", false));  // in place
        EXPECT_TRUE(Manager().DisableRuleByService());
        EXPECT_TRUE(Manager().TryEnableRule(L"t", L"x", true));
        Manager().OnServerStarted();  // nothing is kept, nothing is sent
        EXPECT_THAT(service.Messages(), ElementsAre(kDisable, kEnable));
    }
    log_.Take();
    EXPECT_TRUE(Manager().TryEnableRule(L"t", L"x", true));
    EXPECT_THAT(log_.Take(), ElementsAre(HasSubstr(L"(FireWallRuleManger::OnSendFail)")));
    Manager().OnServerStarted();  // and still is not there
    {
        Service service;
        Manager().OnServerStarted();
        EXPECT_THAT(service.Messages(), ElementsAre(kEnable));
    }
    EXPECT_FALSE(Manager().EnableRuleByService());
    EXPECT_FALSE(Manager().DisableRuleByService());  // drops it
    Service service;
    Manager().OnServerStarted();
    EXPECT_THAT(service.Messages(), IsEmpty());
}

// Presses a button of the question of that title, again until the question is gone: a press that comes while the
// question is still being built is lost.
class User {
public:
    User(const std::wstring& title, WPARAM button)
        : thread_([this, title, button] {
              for (; !answered_; ::Sleep(5)) {
                  const HWND question = ::FindWindowW(nullptr, title.c_str());
                  if (question != nullptr) ::PostMessageW(question, WM_COMMAND, button, 0);
              }
          }) {}
    ~User() {
        answered_ = true;
        thread_.join();
    }

private:
    std::atomic<bool> answered_{false};
    std::thread thread_;
};

TEST_F(FirewallManager, WithoutTheRuleTheUserIsAskedAndMayDecline) {
    const std::wstring title = L"Firewall 手机 " + std::to_wstring(::GetCurrentProcessId());
    Service service;
    for (const auto& [button, wanted] : {std::pair<WPARAM, bool>{IDNO, false}, {IDYES, true}}) {
        const User user(title, button);
        EXPECT_EQ(Manager().TryEnableRule(title, L"Allow connections?", true), wanted);
    }
    EXPECT_THAT(service.Messages(), ElementsAre(kEnable));
}

// Objects of the firewall are counted after every test.
TEST_F(FirewallManager, ManyCallsOfEachOperationLeaveNothingBehind) {
    plan_.user.Set(L"1");
    double_->group_enabled = VARIANT_TRUE;
    const auto round = [&] {
        Firewall firewall;
        firewall.InitRules();
        firewall.AddFirewallRules();
        firewall.AddFirewallRuleWithEdgeTraversal();
        firewall.IsRuleGroupEnabled();
        firewall.IsRuleGroupCurrentlyEnabled();
        firewall.DeleteFirewallRule();
        firewall.DeleteExistFirewallRules();
        Manager().CheckRule();
        Manager().EnableRule();
        Manager().TryEnableRule(L"t", L"x", true);
        Manager().OnServerStarted();
        Manager().DisableRuleByService();
        Manager().DisableRule();
        double_.Asked();
        log_.Take();
    };
    const wchar_t* const failing[] = {L"nothing", L"get_Rules", L"rule", L"put_Protocol", L"Add", L"Remove", L"Item"};
    round();
    const int threads = ThreadsOfThisProcess();
    const std::size_t handles = HandlesOfThisProcess();
    for (auto i = Amount("TANDOR_STRESS_ROUNDS", 50); i > 0; --i) {
        double_->failing = {{failing[i % std::size(failing)], E_FAIL}};
        round();
    }
    EXPECT_LE(ThreadsOfThisProcess(), threads);
    EXPECT_LE(HandlesOfThisProcess(), handles);
}

}  // namespace
