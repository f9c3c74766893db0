#include "system/firewall_rule.h"

#include <algorithm>
#include <iterator>

namespace tandor {
namespace {

constexpr std::wstring_view kServiceHost = L"svchost.exe";
constexpr std::wstring_view kMarks[] = {L"(DHCPv4-In)", L"(DHCP Server-In)", L"(SharedAccess-Out)"};

bool Contains(std::wstring_view text, std::wstring_view part) { return text.find(part) != std::wstring_view::npos; }

}  // namespace

bool IsSharedConnectionRule(const FirewallRule& rule) {
    return Contains(rule.application, kServiceHost) && Contains(rule.name, L"Internet") &&
           std::any_of(std::begin(kMarks), std::end(kMarks), [&](auto mark) { return Contains(rule.name, mark); });
}

std::vector<FirewallRule> RulesNamed(const std::vector<FirewallRule>& rules, std::wstring_view name) {
    std::vector<FirewallRule> named;
    std::ranges::copy_if(rules, std::back_inserter(named), [&](const FirewallRule& rule) { return rule.name == name; });
    return named;
}

}  // namespace tandor
