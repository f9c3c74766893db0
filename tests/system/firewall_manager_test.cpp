#include "support/assistant_pipe.h"
#include "support/firewall_double.h"
#include "support/testing.h"
#include "tandor/firewall.h"
#include "tandor/rehearsal.h"

namespace {

using namespace tandor::test;

constexpr int kEnable = 0x490086, kDisable = 0x490087;

// The numbers of the messages that have come; each is about the rule and names this program.
std::vector<int> Numbers(AssistantPipe& service) {
    std::vector<int> numbers;
    for (const AssistantMessage& message : service.Take()) {
        EXPECT_EQ(std::pair(message.header[0], message.header[1]), std::pair(0x490084, 0x490000));
        EXPECT_THAT(message.values, ElementsAre("PVAMessageCenter", EndsWith("\\windows_tests.exe")));
        numbers.push_back(message.header[3]);
    }
    return numbers;
}

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
    MachineText note_{L"SOFTWARE\\Pelora\\VXLoginGuide", L"Fireware"};
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
    EXPECT_TRUE(Manager().DisableRule());
    EXPECT_EQ(Note(), L"0");
    EXPECT_THAT(double_.Names(), IsEmpty());
    log_.Take();
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
        AssistantPipe service;
        EXPECT_TRUE(Manager().TryEnableRule(L"t", L"x", false));  // in place
        EXPECT_TRUE(Manager().DisableRuleByService());
        EXPECT_TRUE(Manager().TryEnableRule(L"t", L"x", true));
        Manager().OnServerStarted();  // nothing is kept, nothing is sent
        EXPECT_THAT(Numbers(service), ElementsAre(kDisable, kEnable));
    }
    log_.Take();
    EXPECT_TRUE(Manager().TryEnableRule(L"t", L"x", true));
    EXPECT_THAT(log_.Take(), ElementsAre(HasSubstr(L"(FireWallRuleManger::OnSendFail)")));
    Manager().OnServerStarted();  // and still is not there
    {
        AssistantPipe service;
        Manager().OnServerStarted();
        EXPECT_THAT(Numbers(service), ElementsAre(kEnable));
    }
    EXPECT_FALSE(Manager().EnableRuleByService());
    EXPECT_FALSE(Manager().DisableRuleByService());  // drops it
    AssistantPipe service;
    Manager().OnServerStarted();
    EXPECT_THAT(Numbers(service), IsEmpty());
}

// Enabling writes its note first; disabling keeps it while the rule is there.
TEST_F(FirewallManager, AnOperationThatFailsGivesFalseAndItsCause) {
    plan_.user.Set(L"1");
    struct Case {
        bool (FireWallRuleManger::*operation)();
        const wchar_t *failing, *line, *before, *after;
    };
    for (const Case& c :
         {Case{&FireWallRuleManger::CheckRule, L"IsRuleGroupEnabled", L"4 ", L"0", L"0"},
          Case{&FireWallRuleManger::EnableRule, L"Add", L"3 AddFirewallRules fail: ", L"0", L"1"},
          Case{&FireWallRuleManger::DisableRule, L"Remove", L"4 DeleteExistFirewallRules fail: ", L"1", L"1"}}) {
        note_.Set(c.before);
        double_->rules = {RuleFor(L"PVAMessageCenter", L"a")};
        double_->failing = {{c.failing, E_FAIL}};
        EXPECT_FALSE((Manager().*c.operation)()) << c.failing;
        EXPECT_THAT(log_.Take().back(), StartsWith(c.line));
        EXPECT_EQ(Note(), c.after);
    }
}

// Values of another type and a key that is not there are no note and no plan.
TEST_F(FirewallManager, WhatTheRegistryLacksIsNotThere) {
    const auto number = [](RegistryRoot root, const wchar_t* key, const wchar_t* name) {
        EXPECT_TRUE(Registry::SetValue(root, key, name, std::uint32_t{1}));
    };
    constexpr auto kMachine = RegistryRoot::kLocalMachine;
    number(RegistryRoot::kUser, kSuiteKey, L"FireWallPlan");
    double_->group_enabled = VARIANT_TRUE;
    EXPECT_FALSE(Manager().CheckRule());
    plan_.user.Set(L"1");
    number(kMachine, L"SOFTWARE\\Pelora\\VXLoginGuide", L"Fireware");
    EXPECT_TRUE(Manager().EnableRule());
    EXPECT_EQ(Note(), L"1");  // as text
    Registry::DeleteKey(kMachine, L"SOFTWARE\\Pelora\\VXLoginGuide");
    EXPECT_TRUE(Manager().EnableRule());  // makes the key
    EXPECT_EQ(Note(), L"1");
    const NoMachineRegistry none;
    log_.Take();
    EXPECT_FALSE(Manager().DisableRule());
    EXPECT_THAT(double_.Names(), IsEmpty());
    EXPECT_THAT(log_.Take(), ElementsAre(StartsWith(L"4 write Fireware fail: ")));
}

TEST_F(FirewallManager, ARehearsalNotesTheRegistryAndWritesNothing) {
    plan_.user.Set(L"1");
    note_.Set(L"0");
    const Rehearsal rehearsal;
    EXPECT_TRUE(Manager().EnableRule());
    EXPECT_TRUE(Manager().DisableRule());
    const std::wstring key = L"RegCreateKeyExW(HKEY_LOCAL_MACHINE, SOFTWARE\\Pelora\\VXLoginGuide)";
    EXPECT_THAT(rehearsal.Calls(),
                ElementsAre(key, L"RegSetValueExW(Fireware, 1)", StartsWith(L"INetFwRules::Add(PVAMessageCenter for "),
                            key, L"RegSetValueExW(Fireware, 0)"));
    EXPECT_EQ(Note(), L"0");
    EXPECT_THAT(double_.Names(), IsEmpty());
}

// Where nobody sees a question, asking would wait for ever.
TEST_F(FirewallManager, WithoutAnInteractiveWindowStationTheUserIsTakenToDecline) {
    EXPECT_EQ(Child(L"ask-unseen").Wait(), 0);
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
    AssistantPipe service;
    for (const auto& [button, wanted] : {std::pair<WPARAM, bool>{IDNO, false}, {IDYES, true}}) {
        const User user(title, button);
        EXPECT_EQ(Manager().TryEnableRule(title, L"Allow connections?", true), wanted);
    }
    EXPECT_THAT(Numbers(service), ElementsAre(kEnable));
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
    const LeakWatch watch;
    for (auto i = Amount("TANDOR_STRESS_ROUNDS", 50); i > 0; --i) {
        double_->failing = {{failing[i % std::size(failing)], E_FAIL}};
        round();
    }
    watch.ExpectNoMoreThan(0);
}

}  // namespace
