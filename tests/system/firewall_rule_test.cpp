#include "system/firewall_rule.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

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

TEST(FirewallRule, ThePlanIsOnWhenItIsOne) {
    for (const char* const off : {"", "0", "11", "1 ", " 1"}) EXPECT_FALSE(tandor::IsPlanOn(off)) << off;
    EXPECT_TRUE(tandor::IsPlanOn("1"));
}

}  // namespace
