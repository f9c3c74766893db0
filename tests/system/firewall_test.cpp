#include "tandor/firewall.h"
#include "pelora/system_environment.h"
#include "support/apartments.h"
#include "support/firewall_double.h"
#include "support/testing.h"
#include "tandor/rehearsal.h"

namespace {

using namespace tandor::test;

using Operation = std::function<long(Firewall&)>;
const Operation kAddAll = &Firewall::AddFirewallRules, kAdd = &Firewall::AddFirewallRuleWithEdgeTraversal,
                kRemoveAll = &Firewall::DeleteExistFirewallRules, kRemove = &Firewall::DeleteFirewallRule,
                kEnabled = &Firewall::IsRuleGroupEnabled, kCurrently = &Firewall::IsRuleGroupCurrentlyEnabled;
constexpr HRESULT kDenied = E_ACCESSDENIED;

// A line of the host log as the library's functions write it.
std::wstring Line(int level, const std::wstring& text, const std::wstring& function) {
    return std::to_wstring(level) + L" (QRT)Nearby::" + text + L"(Firewall::" + function + L")";
}

class FirewallTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(FirewallDouble::Live(), 0); }

    FirewallPlan plan_;
    FirewallDouble double_;
    HostLog log_;
};

TEST_F(FirewallTest, TheRuleIsSetInOrderWithTextsOf500Characters) {
    wchar_t program[500];
    ::GetModuleFileNameW(nullptr, program, 500);
    const auto asked = [&](const std::wstring& name, const std::wstring& description) {
        return ElementsAre(L"get_Rules", L"put_Name " + name + L"/500", L"put_Grouping PV Assistant/500",
                           L"put_Description " + description + L"/500", L"put_Direction 1", L"put_Action 1",
                           L"put_ApplicationName " + std::wstring(program) + L"/500", L"put_Protocol 256",
                           L"put_Profiles 2147483647", L"put_Enabled -1", L"Add");
    };
    EXPECT_EQ(Firewall().AddFirewallRuleWithEdgeTraversal(), S_OK);
    EXPECT_THAT(double_.Asked(), asked(L"PVAMessageCenter", L"PVAMessageCenter.exe"));
    EXPECT_EQ(double_->rules.at(0).texts[L"Name"], std::wstring(L"PVAMessageCenter") + std::wstring(484, L'\0'));
    EXPECT_THAT(log_.Take(), ElementsAre(Line(3, L"Add Firewall rule success.", L"AddFirewallRuleWithEdgeTraversal")));
    // Texts of the caller end at their first zero and after 499 characters.
    Firewall(std::wstring(L"手机\0hidden", 9), std::wstring(600, L'x')).AddFirewallRuleWithEdgeTraversal();
    EXPECT_THAT(double_.Asked(), asked(L"手机", std::wstring(499, L'x')));
    EXPECT_EQ(double_->rules.at(1).texts[L"Name"].find(L"hidden"), std::wstring::npos);
}

TEST_F(FirewallTest, OnlyThePlanOneAddsAndOldRulesGoInAnyCase) {
    const std::wstring function = L"AddFirewallRules";
    for (const std::optional<std::wstring>& plan : {std::optional<std::wstring>(L"1"), {}, {L"11"}}) {
        plan_.user.Set(plan);
        double_->rules = {RuleFor(L"PVAMessageCenter", L"old"), RuleFor(L"Other", L"x"),
                          RuleFor(L"PVAMessageCenter", L"older")};
        EXPECT_EQ(Firewall().AddFirewallRules(), S_OK);
        if (plan == L"1") {
            EXPECT_THAT(double_.Names(), ElementsAre(L"Other", L"PVAMessageCenter"));
            EXPECT_THAT(log_.Take(),
                        ElementsAre(Line(3, L"Firewall plan is on, we add the firewall rule here.", function),
                                    HasSubstr(L"Add Firewall rule success.")));
        } else {
            EXPECT_THAT(double_.Names(), ElementsAre(L"Other"));
            EXPECT_THAT(log_.Take(), ElementsAre(Line(3, L"Firewall plan is off, we do nothing here.", function)));
        }
    }
    // The user's plan stands before the machine's.
    plan_.user.Set(std::nullopt);
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
    double_->removes = false;  // a rule that only seems to go ends the removal
    EXPECT_LT(Firewall(L"Other", L"").DeleteExistFirewallRules(), 0);
}

TEST_F(FirewallTest, EachCallThatFailsIsReturnedAndLogged) {
    plan_.user.Set(L"1");
    struct Case {
        Operation operation;
        const wchar_t* name;
        std::size_t calls;
    };
    const Case cases[] = {
        {kAddAll, L"AddFirewallRules", 18},           {kAdd, L"AddFirewallRuleWithEdgeTraversal", 13},
        {kRemoveAll, L"DeleteExistFirewallRules", 6}, {kRemove, L"DeleteFirewallRule", 3},
        {kEnabled, L"IsRuleGroupEnabled", 1},         {kCurrently, L"IsRuleGroupCurrentlyEnabled", 1},
    };
    std::map<std::wstring, std::set<std::wstring>> said;  // by the call that failed
    for (const Case& c : cases) {
        std::optional<Firewall> firewall;
        long status = S_OK;
        std::size_t failures = 0;
        double_.FailEach(
            [&] {
                double_->rules = {RuleFor(L"PVAMessageCenter", L"a"), RuleFor(L"PVAMessageCenter", L"b")};
                firewall.emplace();
                log_.Take();
            },
            [&] { status = c.operation(*firewall); },
            [&](const std::wstring& failed) {
                ++failures;
                EXPECT_EQ(status, E_FAIL);
                const auto lines = log_.Take();
                EXPECT_THAT(lines.back(), AllOf(StartsWith(L"4 "), EndsWith(std::wstring(L"::") + c.name + L")")));
                said[failed].insert(lines.begin(), lines.end());
                firewall.reset();
                EXPECT_EQ(FirewallDouble::Live(), 0);
            });
        EXPECT_EQ(status, S_OK);
        EXPECT_GE(failures, c.calls);
    }
    const std::wstring all = L"AddFirewallRules", add = L"AddFirewallRuleWithEdgeTraversal";
    const std::wstring remove_all = L"DeleteExistFirewallRules",
                       not_told = L"Failed calling API IsRuleGroupCurrentlyEnabled.";
    for (const auto& [failed, text, function] : std::vector<std::tuple<std::wstring, std::wstring, std::wstring>>{
             {L"get_Rules", L"Add FireWall rule get_Rules() failed ", add},
             {L"get_Rules", L"DeleteFirewallRule() get_Rules() error.", L"DeleteFirewallRule"},
             {L"Item", L"Item() failed: 0x80004005", remove_all},
             {L"Remove", L"DeleteExistFirewallRules() Remove() error.", remove_all},
             {L"Remove", L"DeleteExistFirewallRules() failed.", all},
             {L"rule", L"CoCreateInstance for Firewall Rule failed: 0x80004005", add},
             {L"put_Protocol", L"Add Firewall rule failed: 0x80004005", add},
             {L"Add", L"Firewall plan is on, we add the firewall rule failed.", all},
             {L"IsRuleGroupEnabled", not_told, L"IsRuleGroupEnabled"},
             {L"get_IsRuleGroupCurrentlyEnabled", not_told + L" Error: 0x 80004005.", L"IsRuleGroupCurrentlyEnabled"}})
        EXPECT_THAT(said[failed], Contains(Line(4, text, function)));
}

TEST_F(FirewallTest, ADenialIsExplainedAndNothingWhereSomethingShouldBeIsNoRule) {
    const std::wstring remove_all = L"DeleteExistFirewallRules";
    double_->rules = {RuleFor(L"PVAMessageCenter", L"a")};
    double_->failing = {{L"Remove", kDenied}};
    Firewall firewall;
    EXPECT_EQ(firewall.DeleteExistFirewallRules(), kDenied);
    EXPECT_THAT(log_.Take(),
                ElementsAre(Line(4, L"DeleteExistFirewallRules() Remove() error.", remove_all),
                            Line(4, L"Access is denied, the firewall needs administrator rights.", remove_all)));
    double_->nothing = L"Item";
    EXPECT_EQ(firewall.DeleteExistFirewallRules(), S_OK);
    double_->nothing = L"get_Rules";
    EXPECT_EQ(firewall.DeleteExistFirewallRules(), E_POINTER);
    EXPECT_THAT(log_.Take(), ElementsAre(Line(4, L"DeleteExistFirewallRules() get_Rules() error.", remove_all)));
}

// What a rehearsal lists is what the real run then asks of the firewall.
TEST_F(FirewallTest, ARehearsalListsTheChangesAndMakesNone) {
    plan_.user.Set(L"1");
    wchar_t program[500];
    ::GetModuleFileNameW(nullptr, program, 500);
    const std::wstring removal = L"INetFwRules::Remove(PVAMessageCenter)";
    const std::wstring dhcp = L"Internet Connection Sharing (DHCPv4-In)";
    double_->rules = {RuleFor(L"PVAMessageCenter", L"a"), RuleFor(dhcp, L"C:\\svchost.exe"),
                      RuleFor(L"PVAMessageCenter", L"b")};
    int removed = 0;
    {
        const Rehearsal rehearsal;
        EXPECT_EQ(Firewall().AddFirewallRules(), S_OK);
        EXPECT_EQ(Firewall().DeleteFirewallRule(), S_OK);
        EXPECT_EQ(Firewall::RemoveDHCPRulesAndWait(removed), S_OK);
        EXPECT_EQ(removed, 1);
        EXPECT_THAT(
            rehearsal.Calls(),
            ElementsAre(removal, removal, L"INetFwRules::Add(PVAMessageCenter for " + std::wstring(program) + L")",
                        removal, L"INetFwRules::Remove(" + dhcp + L")"));
        const Rehearsal inner;
        InThreads(1, [&](int) { Firewall(L"Elsewhere", L"").AddFirewallRuleWithEdgeTraversal(); });
        EXPECT_EQ(Firewall().DeleteExistFirewallRules(), S_OK);
        EXPECT_THAT(inner.Calls(), SizeIs(2));
        EXPECT_THAT(rehearsal.Calls(), SizeIs(5));
    }
    EXPECT_THAT(double_.Names(), ElementsAre(L"PVAMessageCenter", dhcp, L"PVAMessageCenter", L"Elsewhere"));
    double_.Asked();
    EXPECT_EQ(Firewall().AddFirewallRules(), S_OK);
    auto changes = double_.Asked();
    std::erase_if(changes, [](const auto& call) { return !call.starts_with(L"Remove") && call != L"Add"; });
    EXPECT_THAT(changes, ElementsAre(L"Remove PVAMessageCenter", L"Remove PVAMessageCenter", L"Add"));
}

TEST_F(FirewallTest, WithoutConnectionEverythingFailsUntilItIsMadeAnew) {
    Firewall firewall;
    double_->failing = {{L"policy", kDenied}};
    firewall.InitRules();  // gives up the connection that was there
    EXPECT_THAT(log_.Take(), Contains(Line(4, L"CoCreateInstance() failed.", L"InitRules")));
    for (const Operation& operation : {kAddAll, kAdd, kRemoveAll, kRemove, kEnabled, kCurrently}) {
        EXPECT_EQ(operation(firewall), kDenied);
        EXPECT_THAT(log_.Take(), Contains(HasSubstr(L"4 netFwPolicy2 is null.(Firewall::")));
    }
    const Firewall another;
    EXPECT_THAT(log_.Take(), Contains(Line(4, L"CoCreateInstance() failed.", L"Firewall")));
    double_->failing.clear();
    firewall.InitRules();
    for (const VARIANT_BOOL enabled : {VARIANT_TRUE, VARIANT_FALSE}) {
        double_->group_enabled = enabled;
        EXPECT_EQ(firewall.IsRuleGroupEnabled(), enabled == VARIANT_TRUE ? 1 : 0);
        EXPECT_EQ(firewall.IsRuleGroupCurrentlyEnabled(), enabled == VARIANT_TRUE ? 1 : 0);
        EXPECT_THAT(double_.Asked(), ElementsAre(L"IsRuleGroupEnabled 6 PV Assistant/500",
                                                 L"get_IsRuleGroupCurrentlyEnabled PV Assistant/500"));
    }
}

TEST_F(FirewallTest, TheThreadsApartmentIsLeftAsItWas) {
    InEachApartment([] {
        Firewall first;
        const Firewall second;
        EXPECT_EQ(first.AddFirewallRuleWithEdgeTraversal(), S_OK);
    });
}

}  // namespace
