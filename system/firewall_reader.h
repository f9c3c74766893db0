// The firewall's rules, read one after the other.
#pragma once

#include <cstddef>
#include <vector>

#include "base/win_com_ptr.h"
#include "system/firewall_rule.h"

#include <netfw.h>

namespace tandor {

// Where reading ended before the last rule.
enum class ReadingStep { kDone, kPolicy, kRules, kEnumeration, kVariants, kFirstRule, kLaterRule };

struct RuleReading {
    std::vector<FirewallRule> rules;  // those read until then
    std::size_t unreadable = 0;       // entries that are no rule, or whose name cannot be read: they are passed over
    ReadingStep failed = ReadingStep::kDone;
    HRESULT status = S_OK;         // of the step that failed
    ComPtr<INetFwRules> firewall;  // the rules themselves, for changes; null when they could not be reached
};

// Reads all rules before anything is changed: what is removed during a walk can make the walk pass over others. The
// thread must be in a COM apartment until the result is gone. Texts end at their first zero.
RuleReading ReadFirewallRules();

}  // namespace tandor
