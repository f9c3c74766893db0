// The firewall as commands, the tour and the doctor look at it: what is wanted, and what is there.
#pragma once

#include <string>
#include <vector>

#include "app/command.h"
#include "system/firewall_rule.h"

namespace tandor::app {

struct FirewallView {
    std::string plan;    // the user's
    bool noted = false;  // the registry says that the feature has enabled its rule
    std::vector<FirewallRule> rules;
    std::string trouble;  // why not all rules could be read; empty when they were
};

FirewallView LookAtFirewall();

// "on", "off (not set)" or "off ('0')".
std::string PlanText(const std::string& plan);

Json JsonOf(const FirewallRule& rule);

}  // namespace tandor::app
