// A firewall rule as it reads, and what is decided about rules from their texts alone.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tandor {

inline constexpr const wchar_t* kMessageCentreRule = L"PVAMessageCenter";
inline constexpr const wchar_t* kMessageCentreDescription = L"PVAMessageCenter.exe";
inline constexpr const wchar_t* kRuleGroup = L"PV Assistant";

struct FirewallRule {
    std::wstring name;
    std::wstring group;
    std::wstring description;
    std::wstring application;  // full path; empty for a rule that is not about one program
    bool inbound = false;
    bool allows = false;
    bool enabled = false;
    long protocol = 0;  // number of the Internet protocol; 256 for all
    long profiles = 0;  // sum of 1 domain, 2 private, 4 public; 0x7FFFFFFF for all
};

// Whether the user's firewall plan lets rules be added: it is "1" and nothing else.
constexpr bool IsPlanOn(std::string_view plan) { return plan == "1"; }

// One of the system's rules for DHCP and shared Internet connections, which the feature removes on request.
bool IsSharedConnectionRule(const FirewallRule& rule);

std::vector<FirewallRule> RulesNamed(const std::vector<FirewallRule>& rules, std::wstring_view name);

}  // namespace tandor
