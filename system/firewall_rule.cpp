#include "system/firewall_rule.h"

#include <algorithm>

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

std::vector<FirewallChange> ChangesOfRemoving(const std::vector<FirewallRule>& rules, std::wstring_view name) {
    std::vector<FirewallChange> changes;
    for (const FirewallRule& rule : rules) {
        if (rule.name == name) changes.push_back({false, rule});
    }
    return changes;
}

std::vector<FirewallChange> ChangesOfAdding(const std::vector<FirewallRule>& rules, const FirewallRule& wanted,
                                            bool plan_on) {
    std::vector<FirewallChange> changes = ChangesOfRemoving(rules, wanted.name);
    if (plan_on) changes.push_back({true, wanted});
    return changes;
}

}  // namespace tandor
