#include "system/firewall_rule.h"

#include <gtest/gtest.h>

namespace {

using tandor::ChangesOfAdding;
using tandor::FirewallRule;
using tandor::IsPlanOn;
using tandor::IsSharedConnectionRule;

TEST(FirewallRule, SharedConnectionRulesAreTheHostsWithTheThreeMarks) {
    struct Case {
        const wchar_t* name;
        const wchar_t* application;
        bool removable;
    };
    const Case cases[] = {
        {L"Internet Connection Sharing (DHCPv4-In)", L"C:\\Windows\\system32\\svchost.exe", true},
        {L"Internet Connection Sharing (DHCP Server-In)", L"svchost.exe", true},
        {L"Internet Connection Sharing (SharedAccess-Out)", L"%SystemRoot%\\System32\\svchost.exe", true},
        {L"Internet Connection Sharing (DHCPv4-In)", L"C:\\Windows\\System32\\dhcp.exe", false},
        {L"Internet Connection Sharing (DHCPv4-In)", L"vchost.exe", false},
        {L"Internet Connection Sharing (DHCPv4-In)", L"", false},
        {L"Core Networking (DHCPv4-In)", L"C:\\Windows\\System32\\svchost.exe", false},
        {L"Internet Connection Sharing (DHCPv6-In)", L"C:\\Windows\\System32\\svchost.exe", false},
        {L"Internet Connection Sharing (UPnP-Out)", L"C:\\Windows\\System32\\svchost.exe", false},
    };
    for (const Case& c : cases) {
        FirewallRule rule;
        rule.name = c.name;
        rule.application = c.application;
        EXPECT_EQ(IsSharedConnectionRule(rule), c.removable)
            << testing::PrintToString(std::wstring(c.name)) << c.application;
    }
}

TEST(FirewallRule, AddingTakesAwayEveryRuleOfTheNameAndAddsOneOnlyWhenThePlanIsOn) {
    for (const char* const off : {"", "0", "11", "1 ", " 1", "true"}) EXPECT_FALSE(IsPlanOn(off)) << off;
    FirewallRule mine, other;
    mine.name = L"Mine";
    other.name = L"Mine too";
    const std::vector<FirewallRule> rules{mine, other, mine};
    EXPECT_EQ(ChangesOfAdding(rules, mine, IsPlanOn("")).size(), 2U);
    const auto changes = ChangesOfAdding(rules, mine, IsPlanOn("1"));
    ASSERT_EQ(changes.size(), 3U);
    EXPECT_FALSE(changes[1].adds);
    EXPECT_TRUE(changes[2].adds);
    EXPECT_EQ(changes[2].rule.name, L"Mine");
}

}  // namespace
