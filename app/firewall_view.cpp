#include "app/firewall_view.h"

#include <windows.h>

#include "base/utf.h"
#include "base/win_apartment.h"
#include "base/win_error.h"
#include "pelora/registry.h"
#include "pelora/system_environment.h"
#include "system/firewall_reader.h"

namespace tandor::app {

FirewallView LookAtFirewall() {
    FirewallView view;
    view.plan = SystemEnvironment::GetUserFireWallPlan();
    std::wstring note;
    view.noted =
        DE::Registry::GetValue(DE::RegistryRoot::kLocalMachine, L"SOFTWARE\\Pelora\\VXLoginGuide", L"Fireware", note) &&
        note == L"1";
    const Apartment apartment;
    RuleReading reading = ReadFirewallRules();
    if (reading.failed != ReadingStep::kDone) view.trouble = WindowsErrorText(static_cast<DWORD>(reading.status));
    view.rules = std::move(reading.rules);
    return view;
}

std::string PlanText(const std::string& plan) {
    if (IsPlanOn(plan)) return "on";
    return plan.empty() ? "off (not set)" : "off ('" + plan + "')";
}

Json JsonOf(const FirewallRule& rule) {
    return {{"name", Utf8FromWideLossy(rule.name)},
            {"group", Utf8FromWideLossy(rule.group)},
            {"description", Utf8FromWideLossy(rule.description)},
            {"program", Utf8FromWideLossy(rule.application)},
            {"direction", rule.inbound ? "in" : "out"},
            {"action", rule.allows ? "allow" : "block"},
            {"enabled", rule.enabled},
            {"protocol", rule.protocol},
            {"profiles", rule.profiles}};
}

}  // namespace tandor::app
