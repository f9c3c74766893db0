#include "system/firewall_reader.h"

namespace tandor {
namespace {

bool ReadText(INetFwRule& rule, HRESULT (STDMETHODCALLTYPE INetFwRule::*get)(BSTR*), std::wstring& text) {
    ComText value;
    const HRESULT status = (rule.*get)(value.Receive());
    if (SUCCEEDED(status)) text = value.Visible();
    return SUCCEEDED(status);
}

// What cannot be read besides the name stays at its default.
bool ReadRule(INetFwRule& source, FirewallRule& rule) {
    if (!ReadText(source, &INetFwRule::get_Name, rule.name)) return false;
    ReadText(source, &INetFwRule::get_Grouping, rule.group);
    ReadText(source, &INetFwRule::get_Description, rule.description);
    ReadText(source, &INetFwRule::get_ApplicationName, rule.application);
    NET_FW_RULE_DIRECTION direction = NET_FW_RULE_DIR_OUT;
    rule.inbound = SUCCEEDED(source.get_Direction(&direction)) && direction == NET_FW_RULE_DIR_IN;
    NET_FW_ACTION action = NET_FW_ACTION_BLOCK;
    rule.allows = SUCCEEDED(source.get_Action(&action)) && action == NET_FW_ACTION_ALLOW;
    VARIANT_BOOL enabled = VARIANT_FALSE;
    rule.enabled = SUCCEEDED(source.get_Enabled(&enabled)) && enabled != VARIANT_FALSE;
    LONG number = 0;
    if (SUCCEEDED(source.get_Protocol(&number))) rule.protocol = number;
    if (SUCCEEDED(source.get_Profiles(&number))) rule.profiles = number;
    return true;
}

ComPtr<INetFwRule> RuleIn(const VARIANT& entry) {
    const bool object = (entry.vt == VT_DISPATCH || entry.vt == VT_UNKNOWN) && entry.punkVal != nullptr;
    ComPtr<INetFwRule> rule;
    if (object && FAILED(entry.punkVal->QueryInterface(__uuidof(INetFwRule), rule.ReceiveVoid()))) rule.Reset();
    return rule;
}

void Walk(IEnumVARIANT& entries, RuleReading& reading) {
    for (ReadingStep step = ReadingStep::kFirstRule;; step = ReadingStep::kLaterRule) {
        ComVariant entry;
        ULONG count = 0;
        VARIANT* const value = entry.Receive();
        const HRESULT status = entries.Next(1, value, &count);
        if (FAILED(status)) {
            reading.failed = step;
            reading.status = status;
        }
        if (status != S_OK || count == 0) return;
        const ComPtr<INetFwRule> source = RuleIn(*value);
        FirewallRule rule;
        if (source && ReadRule(*source.Get(), rule)) {
            reading.rules.push_back(std::move(rule));
        } else {
            ++reading.unreadable;
        }
    }
}

}  // namespace

RuleReading ReadFirewallRules() {
    RuleReading reading;
    const auto failed = [&](ReadingStep step, HRESULT status, bool there) {
        reading.status = SUCCEEDED(status) && !there ? E_POINTER : status;
        reading.failed = FAILED(reading.status) ? step : ReadingStep::kDone;
        return FAILED(reading.status);
    };
    ComPtr<INetFwPolicy2> policy;
    HRESULT status = policy.Create(__uuidof(NetFwPolicy2));
    if (failed(ReadingStep::kPolicy, status, static_cast<bool>(policy))) return reading;
    status = policy->get_Rules(reading.firewall.Receive());
    if (failed(ReadingStep::kRules, status, static_cast<bool>(reading.firewall))) return reading;
    ComPtr<IUnknown> enumeration;
    status = reading.firewall->get__NewEnum(enumeration.Receive());
    if (failed(ReadingStep::kEnumeration, status, static_cast<bool>(enumeration))) return reading;
    ComPtr<IEnumVARIANT> entries;
    status = enumeration->QueryInterface(__uuidof(IEnumVARIANT), entries.ReceiveVoid());
    if (failed(ReadingStep::kVariants, status, static_cast<bool>(entries))) return reading;
    Walk(*entries.Get(), reading);
    return reading;
}

}  // namespace tandor
