#include "system/firewall_rule.h"

#include <gtest/gtest.h>

namespace {

using tandor::FirewallRule;

TEST(FirewallRule, SharedConnectionRulesAreTheHostsWithTheThreeMarks) {
    struct Case {
        const wchar_t* name;
        const wchar_t* application;
        bool removable;
    };
    constexpr const wchar_t* kHost = L"C:\\Windows\\system32\\svchost.exe";
    const Case cases[] = {
        {L"Internet Connection Sharing (DHCPv4-In)", kHost, true},
        {L"Internet Connection Sharing (DHCP Server-In)", L"svchost.exe", true},
        {L"Internet Connection Sharing (SharedAccess-Out)", L"%SystemRoot%\\System32\\svchost.exe", true},
        {L"Internet Connection Sharing (DHCPv4-In)", L"vchost.exe", false},
        {L"Internet Connection Sharing (DHCPv4-In)", L"", false},
        {L"Core Networking (DHCPv4-In)", kHost, false},
        {L"Internet Connection Sharing (DHCPv6-In)", kHost, false},
    };
    for (const Case& c : cases) {
        FirewallRule rule;
        rule.name = c.name;
        rule.application = c.application;
        EXPECT_EQ(IsSharedConnectionRule(rule), c.removable) << testing::PrintToString(std::wstring(c.name));
    }
}

TEST(FirewallRule, AddingTakesAwayEveryRuleOfTheNameAndAddsOneOnlyWhenThePlanIsOn) {
    for (const char* const off : {"", "0", "11", "1 ", " 1"}) EXPECT_FALSE(tandor::IsPlanOn(off)) << off;
    FirewallRule mine, other;
    mine.name = L"Mine";
    other.name = L"Mine too";
    const std::vector<FirewallRule> rules{mine, other, mine};
    EXPECT_EQ(ChangesOfAdding(rules, mine, tandor::IsPlanOn("0")).size(), 2U);
    const auto changes = ChangesOfAdding(rules, mine, tandor::IsPlanOn("1"));
    ASSERT_EQ(changes.size(), 3U);
    EXPECT_FALSE(changes[1].adds);
    EXPECT_TRUE(changes[2].adds);
}

}  // namespace
