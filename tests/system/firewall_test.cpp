#include "tandor/firewall.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "pelora/system_environment.h"
#include "support/firewall_double.h"
#include "support/firewall_plan.h"
#include "support/host_log.h"

namespace {

using tandor::test::FirewallDouble;
using tandor::test::FirewallPlan;
using tandor::test::HostLog;
using tandor::test::RuleFor;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr HRESULT kDenied = E_ACCESSDENIED;
const std::wstring kDeniedLine = L"4 (QRT)Nearby::Access is denied, the firewall needs administrator rights.";

std::wstring ThisProgram() {
    wchar_t path[500];
    return {path, ::GetModuleFileNameW(nullptr, path, 500)};
}

class FirewallTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(FirewallDouble::Live(), 0); }

    FirewallPlan plan_;
    FirewallDouble double_;
    HostLog log_;
};

TEST_F(FirewallTest, TheRuleIsSetInOrderWithTextsOf500Characters) {
    EXPECT_EQ(Firewall().AddFirewallRuleWithEdgeTraversal(), S_OK);
    EXPECT_THAT(double_.Asked(),
                ElementsAre(L"get_Rules", L"put_Name PVAMessageCenter/500", L"put_Grouping PV Assistant/500",
                            L"put_Description PVAMessageCenter.exe/500", L"put_Direction 1", L"put_Action 1",
                            L"put_ApplicationName " + ThisProgram() + L"/500", L"put_Protocol 256",
                            L"put_Profiles 2147483647", L"put_Enabled -1", L"Add"));
    EXPECT_THAT(log_.Take(),
                ElementsAre(L"3 (QRT)Nearby::Add Firewall rule success.(Firewall::AddFirewallRuleWithEdgeTraversal)"));
    ASSERT_EQ(double_->rules.size(), 1U);
    EXPECT_EQ(double_->rules[0].texts[L"Name"], std::wstring(L"PVAMessageCenter") + std::wstring(484, L'\0'));
}

TEST_F(FirewallTest, TextsOfTheCallerEndAtTheirFirstZeroAndAfter499Characters) {
    Firewall(std::wstring(L"手机\0hidden", 9), std::wstring(600, L'x')).AddFirewallRuleWithEdgeTraversal();
    const std::vector<std::wstring> asked = double_.Asked();
    EXPECT_THAT(asked, Contains(L"put_Name 手机/500"));
    EXPECT_THAT(asked, Contains(L"put_Description " + std::wstring(499, L'x') + L"/500"));
    EXPECT_EQ(double_->rules.at(0).texts[L"Name"].find(L"hidden"), std::wstring::npos);
}

TEST_F(FirewallTest, OnlyThePlanOneAddsAndOldRulesGoInAnyCase) {
    for (const std::optional<std::wstring>& plan :
         {std::optional<std::wstring>(L"1"), {}, {L""}, {L"0"}, {L"11"}, {L"1 "}, {std::wstring(L"yes")}}) {
        plan_.user.Set(plan);
        double_->rules = {RuleFor(L"PVAMessageCenter", L"old"), RuleFor(L"Other", L"x"),
                          RuleFor(L"PVAMessageCenter", L"older")};
        log_.Take();
        EXPECT_EQ(Firewall().AddFirewallRules(), S_OK);
        if (plan == L"1") {
            EXPECT_THAT(double_.Names(), ElementsAre(L"Other", L"PVAMessageCenter"));
            EXPECT_THAT(log_.Take(),
                        ElementsAre(HasSubstr(L"3 (QRT)Nearby::Firewall plan is on, we add the firewall rule here.("),
                                    HasSubstr(L"Add Firewall rule success.")));
        } else {
            EXPECT_THAT(double_.Names(), ElementsAre(L"Other"));
            EXPECT_THAT(log_.Take(), ElementsAre(L"3 (QRT)Nearby::Firewall plan is off, we do nothing here."
                                                 L"(Firewall::AddFirewallRules)"));
        }
    }
}

TEST_F(FirewallTest, TheUsersPlanStandsBeforeTheMachines) {
    EXPECT_EQ(SystemEnvironment::GetUserFireWallPlan(), "");
    plan_.machine.Set(L"1");
    EXPECT_EQ(SystemEnvironment::GetUserFireWallPlan(), "1");
    plan_.user.Set(L"aus 手");
    EXPECT_EQ(SystemEnvironment::GetUserFireWallPlan(), "aus 手");
}

TEST_F(FirewallTest, OneRuleOrAllOfTheNameAreRemoved) {
    double_->rules = {RuleFor(L"Mine", L"a"), RuleFor(L"Other", L"b"), RuleFor(std::wstring(L"Mine\0\0", 6), L"c"),
                      RuleFor(L"Mine", L"d")};
    Firewall firewall(L"Mine", L"");
    EXPECT_EQ(firewall.DeleteFirewallRule(), S_OK);
    EXPECT_THAT(double_.Names(), ElementsAre(L"Other", L"Mine", L"Mine"));
    EXPECT_EQ(firewall.DeleteExistFirewallRules(), S_OK);
    EXPECT_THAT(double_.Names(), ElementsAre(L"Other"));
    EXPECT_EQ(firewall.DeleteFirewallRule(), S_OK);
    EXPECT_EQ(firewall.DeleteExistFirewallRules(), S_OK);
    EXPECT_THAT(log_.Take(), IsEmpty());
}

TEST_F(FirewallTest, ARuleThatOnlySeemsToGoEndsTheRemoval) {
    double_->rules = {RuleFor(L"PVAMessageCenter", L"a")};
    double_->removes = false;
    EXPECT_LT(Firewall().DeleteExistFirewallRules(), 0);
    EXPECT_THAT(log_.Take(), ElementsAre(HasSubstr(L"4 (QRT)Nearby::DeleteExistFirewallRules() Remove() error.")));
}

TEST_F(FirewallTest, EachFailureIsReturnedAndLogged) {
    struct Case {
        const wchar_t* failing;
        HRESULT status;
        long (Firewall::*operation)();
        std::vector<std::wstring> lines;
        std::size_t rules_left;
    };
    const std::wstring add = L"(Firewall::AddFirewallRuleWithEdgeTraversal)";
    const std::wstring remove = L"(Firewall::DeleteExistFirewallRules)";
    const auto kAdd = &Firewall::AddFirewallRuleWithEdgeTraversal;
    const Case cases[] = {
        {L"get_Rules", E_FAIL, kAdd, {L"4 (QRT)Nearby::Add FireWall rule get_Rules() failed " + add}, 1},
        {L"rule",
         REGDB_E_CLASSNOTREG,
         kAdd,
         {L"4 (QRT)Nearby::CoCreateInstance for Firewall Rule failed: 0x80040154" + add},
         1},
        {L"put_ApplicationName", E_INVALIDARG, kAdd, {L"4 (QRT)Nearby::Add Firewall rule failed: 0x80070057" + add}, 1},
        {L"Add", kDenied, kAdd, {L"4 (QRT)Nearby::Add Firewall rule failed: 0x80070005" + add, kDeniedLine + add}, 1},
        {L"Add",
         kDenied,
         &Firewall::AddFirewallRules,
         {L"3 (QRT)Nearby::Firewall plan is on, we add the firewall rule here.(Firewall::AddFirewallRules)",
          L"4 (QRT)Nearby::Add Firewall rule failed: 0x80070005" + add, kDeniedLine + add,
          L"4 (QRT)Nearby::Firewall plan is on, we add the firewall rule failed.(Firewall::AddFirewallRules)"},
         0},
        {L"Remove",
         kDenied,
         &Firewall::AddFirewallRules,
         {L"4 (QRT)Nearby::DeleteExistFirewallRules() Remove() error." + remove, kDeniedLine + remove,
          L"4 (QRT)Nearby::DeleteExistFirewallRules() failed.(Firewall::AddFirewallRules)"},
         1},
        {L"get_Rules",
         E_FAIL,
         &Firewall::DeleteExistFirewallRules,
         {L"4 (QRT)Nearby::DeleteExistFirewallRules() get_Rules() error." + remove},
         1},
        {L"Item",
         E_NOTIMPL,
         &Firewall::DeleteExistFirewallRules,
         {L"4 (QRT)Nearby::Item() failed: 0x80004001" + remove},
         1},
        {L"get_Rules",
         E_FAIL,
         &Firewall::DeleteFirewallRule,
         {L"4 (QRT)Nearby::DeleteFirewallRule() get_Rules() error.(Firewall::DeleteFirewallRule)"},
         1},
        {L"Remove",
         E_FAIL,
         &Firewall::DeleteFirewallRule,
         {L"4 (QRT)Nearby::DeleteExistFirewallRules() Remove() error.(Firewall::DeleteFirewallRule)"},
         1},
    };
    plan_.user.Set(L"1");
    for (const Case& c : cases) {
        double_->rules = {RuleFor(L"PVAMessageCenter", L"a")};
        double_->failing = {{c.failing, c.status}};
        log_.Take();
        EXPECT_EQ((Firewall().*c.operation)(), c.status);
        EXPECT_EQ(log_.Take(), c.lines);
        EXPECT_EQ(double_->rules.size(), c.rules_left);
    }
}

TEST_F(FirewallTest, GroupQueriesAnswerOneZeroOrTheFailure) {
    Firewall firewall;
    double_->group_enabled = VARIANT_TRUE;
    EXPECT_EQ(firewall.IsRuleGroupEnabled(), 1);
    EXPECT_EQ(firewall.IsRuleGroupCurrentlyEnabled(), 1);
    EXPECT_THAT(double_.Asked(),
                ElementsAre(L"IsRuleGroupEnabled 6 PV Assistant", L"get_IsRuleGroupCurrentlyEnabled PV Assistant"));
    double_->group_enabled = VARIANT_FALSE;
    EXPECT_EQ(firewall.IsRuleGroupEnabled(), 0);
    EXPECT_EQ(firewall.IsRuleGroupCurrentlyEnabled(), 0);
    double_->failing = {{L"IsRuleGroupEnabled", E_FAIL}, {L"get_IsRuleGroupCurrentlyEnabled", E_INVALIDARG}};
    EXPECT_LT(firewall.IsRuleGroupEnabled(), 0);
    EXPECT_LT(firewall.IsRuleGroupCurrentlyEnabled(), 0);
    EXPECT_THAT(
        log_.Take(),
        ElementsAre(L"4 (QRT)Nearby::Failed calling API IsRuleGroupCurrentlyEnabled.(Firewall::IsRuleGroupEnabled)",
                    L"4 (QRT)Nearby::Failed calling API IsRuleGroupCurrentlyEnabled. Error: 0x 80070057."
                    L"(Firewall::IsRuleGroupCurrentlyEnabled)"));
}

TEST_F(FirewallTest, WithoutConnectionEverythingFailsUntilItIsMadeAnew) {
    double_->failing = {{L"policy", kDenied}};
    Firewall firewall;
    EXPECT_THAT(log_.Take(), Contains(L"4 (QRT)Nearby::CoCreateInstance() failed.(Firewall::Firewall)"));
    firewall.InitRules();
    EXPECT_THAT(log_.Take(), Contains(L"4 (QRT)Nearby::CoCreateInstance() failed.(Firewall::InitRules)"));
    for (const auto operation : {&Firewall::AddFirewallRules, &Firewall::AddFirewallRuleWithEdgeTraversal,
                                 &Firewall::DeleteExistFirewallRules, &Firewall::DeleteFirewallRule}) {
        EXPECT_EQ((firewall.*operation)(), kDenied);
        EXPECT_THAT(log_.Take(), Contains(HasSubstr(L"4 netFwPolicy2 is null.(Firewall::")));
    }
    EXPECT_EQ(firewall.IsRuleGroupEnabled(), kDenied);
    EXPECT_EQ(firewall.IsRuleGroupCurrentlyEnabled(), kDenied);
    double_->failing.clear();
    firewall.InitRules();
    EXPECT_EQ(firewall.AddFirewallRuleWithEdgeTraversal(), S_OK);
    double_->failing = {{L"policy", E_FAIL}};
    firewall.InitRules();  // the connection that was there is given up
    EXPECT_LT(firewall.DeleteFirewallRule(), 0);
}

// Entering once more tells what the thread was left in: S_OK nothing, S_FALSE the same apartment, else another one.
HRESULT LeftIn(DWORD before, DWORD after) {
    HRESULT left = E_FAIL;
    std::thread([&] {
        const bool entered = before != 0xFFFF && SUCCEEDED(::CoInitializeEx(nullptr, before));
        {
            Firewall first;
            const Firewall second;
            EXPECT_EQ(first.AddFirewallRuleWithEdgeTraversal(), S_OK);
        }
        left = ::CoInitializeEx(nullptr, after);
        if (SUCCEEDED(left)) ::CoUninitialize();
        if (entered) ::CoUninitialize();
    }).join();
    return left;
}

TEST_F(FirewallTest, TheThreadsApartmentIsLeftAsItWas) {
    EXPECT_EQ(LeftIn(0xFFFF, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(LeftIn(COINIT_MULTITHREADED, COINIT_MULTITHREADED), S_FALSE);
    EXPECT_EQ(LeftIn(COINIT_APARTMENTTHREADED, COINIT_APARTMENTTHREADED), S_FALSE);
}

DWORD Handles() {
    DWORD count = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &count);
    return count;
}

TEST_F(FirewallTest, AHundredCallsOfEachOperationLeaveNothingBehind) {
    plan_.user.Set(L"1");
    const auto round = [] {
        Firewall firewall;
        firewall.InitRules();
        firewall.AddFirewallRules();
        firewall.AddFirewallRuleWithEdgeTraversal();
        firewall.IsRuleGroupEnabled();
        firewall.IsRuleGroupCurrentlyEnabled();
        firewall.DeleteFirewallRule();
        firewall.DeleteExistFirewallRules();
    };
    round();
    const DWORD handles = Handles();
    for (int i = 0; i < 100; ++i) {
        round();
        if (i % 3 == 0) double_->failing = {{i % 2 == 0 ? L"put_Protocol" : L"get_Rules", E_FAIL}};
        if (i % 3 == 1) double_->failing.clear();
    }
    EXPECT_EQ(FirewallDouble::Live(), 0);
    EXPECT_LE(Handles(), handles + 2);
}

}  // namespace
