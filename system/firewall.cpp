#include "tandor/firewall.h"

#include "base/win_apartment.h"
#include "base/win_com_ptr.h"
#include "foundation/message.h"
#include "pelora/system_environment.h"
#include "system/change.h"
#include "system/firewall_reader.h"

#include <netfw.h>

#include <algorithm>
#include <climits>
#include <cwchar>

namespace {

using tandor::ComPtr;
using tandor::ComText;
using tandor::kFailure;
using tandor::kInfo;
using tandor::LogMessage;

constexpr std::size_t kTextLength = 500;  // characters of every text that the firewall is given
constexpr LONG kEveryProtocol = 256;
constexpr LONG kPrivateAndPublic = NET_FW_PROFILE2_PRIVATE | NET_FW_PROFILE2_PUBLIC;
constexpr HRESULT kNoSuchRule = static_cast<HRESULT>(0x80070002);   // ERROR_FILE_NOT_FOUND
constexpr HRESULT kPathTooLong = static_cast<HRESULT>(0x800700CE);  // ERROR_FILENAME_EXCED_RANGE
constexpr int kMostOfOneName = 10'000;  // ends the removal of a rule that says it is gone and is not

ComText FixedText(std::wstring_view text) {
    wchar_t buffer[kTextLength]{};
    text = text.substr(0, std::min(text.find(L'\0'), kTextLength - 1));
    text.copy(buffer, text.size());
    return ComText(buffer, kTextLength);
}

// Empty when the path does not fit.
ComText ProgramPath() {
    wchar_t buffer[kTextLength]{};
    const DWORD length = ::GetModuleFileNameW(nullptr, buffer, kTextLength);
    return length == 0 || length >= kTextLength ? ComText() : ComText(buffer, kTextLength);
}

template <std::size_t Size>
struct Text {
    wchar_t text[Size];
};

// The text with its one number.
Text<128> Formatted(const wchar_t* format, HRESULT status) {
    Text<128> line{};
    std::swprintf(line.text, std::size(line.text), format, static_cast<unsigned long>(status));
    return line;
}

int CountRules(std::wstring_view name) {
    return static_cast<int>(tandor::RulesNamed(tandor::ReadFirewallRules().rules, name).size());
}

// Logs a failed step and hands its status on.
HRESULT Failed(const wchar_t* function, HRESULT status, const wchar_t* text) {
    LogMessage(kFailure, function, text);
    if (status == E_ACCESSDENIED) {
        LogMessage(kFailure, function, L"(QRT)Nearby::Access is denied, the firewall needs administrator rights.");
    }
    return status;
}

}  // namespace

struct Firewall::State {
    State(std::wstring_view rule, std::wstring_view about)
        : name(FixedText(rule)),
          group(FixedText(tandor::kRuleGroup)),
          description(FixedText(about)),
          program(ProgramPath()) {
        if (name.Get() == nullptr || group.Get() == nullptr || description.Get() == nullptr) throw std::bad_alloc();
        Connect(L"Firewall::Firewall");
    }

    void Connect(const wchar_t* function) {
        connected = policy.Create(__uuidof(NetFwPolicy2));
        if (FAILED(connected)) Failed(function, connected, L"(QRT)Nearby::CoCreateInstance() failed.");
    }

    // The status of a connection that is not there; S_OK when it is.
    [[nodiscard]] HRESULT Connection(const wchar_t* function) const {
        return policy ? S_OK : Failed(function, FAILED(connected) ? connected : E_POINTER, L"netFwPolicy2 is null.");
    }

    HRESULT Rules(const wchar_t* function, const wchar_t* trouble, ComPtr<INetFwRules>& rules) const {
        HRESULT status = Connection(function);
        if (FAILED(status)) return status;
        status = policy->get_Rules(rules.Receive());
        if (SUCCEEDED(status) && !rules) status = E_POINTER;
        return FAILED(status) ? Failed(function, status, trouble) : status;
    }

    HRESULT Remove(const wchar_t* function, const wchar_t* no_rules, bool all) const;
    HRESULT Configure(INetFwRule& rule) const;

    tandor::Apartment apartment{COINIT_APARTMENTTHREADED};  // first: what follows lives in it
    ComText name;
    ComText group;
    ComText description;
    ComText program;
    ComPtr<INetFwPolicy2> policy;
    HRESULT connected = S_OK;
};

HRESULT Firewall::State::Remove(const wchar_t* function, const wchar_t* no_rules, bool all) const {
    constexpr const wchar_t* kRemoveError = L"(QRT)Nearby::DeleteExistFirewallRules() Remove() error.";
    ComPtr<INetFwRules> rules;
    HRESULT status = Rules(function, no_rules, rules);
    if (FAILED(status)) return status;
    // A rehearsal would find its rules for ever.
    const int most = tandor::Rehearsing() ? CountRules(name.Visible()) : INT_MAX;
    for (int removed = 0; removed < kMostOfOneName; ++removed) {
        ComPtr<INetFwRule> rule;
        status = rules->Item(name.Get(), rule.Receive());
        if (status == kNoSuchRule || (SUCCEEDED(status) && !rule)) return S_OK;
        if (FAILED(status))
            return Failed(function, status, Formatted(L"(QRT)Nearby::Item() failed: 0x%08lx", status).text);
        status = tandor::Change([&] { return rules->Remove(name.Get()); },
                                [&] { return L"INetFwRules::Remove(" + std::wstring(name.Visible()) + L")"; });
        if (FAILED(status)) return Failed(function, status, kRemoveError);
        if (!all || removed + 1 >= most) return S_OK;
    }
    return Failed(function, E_FAIL, kRemoveError);
}

// Stops at the first setting that is refused: a rule without its program would open the machine for every program.
HRESULT Firewall::State::Configure(INetFwRule& rule) const {
    HRESULT status = rule.put_Name(name.Get());
    if (SUCCEEDED(status)) status = rule.put_Grouping(group.Get());
    if (SUCCEEDED(status)) status = rule.put_Description(description.Get());
    if (SUCCEEDED(status)) status = rule.put_Direction(NET_FW_RULE_DIR_IN);
    if (SUCCEEDED(status)) status = rule.put_Action(NET_FW_ACTION_ALLOW);
    if (SUCCEEDED(status)) status = rule.put_ApplicationName(program.Get());
    if (SUCCEEDED(status)) status = rule.put_Protocol(kEveryProtocol);
    if (SUCCEEDED(status)) status = rule.put_Profiles(NET_FW_PROFILE2_ALL);
    if (SUCCEEDED(status)) status = rule.put_Enabled(VARIANT_TRUE);
    return status;
}

Firewall::Firewall() : Firewall(tandor::kMessageCentreRule, tandor::kMessageCentreDescription) {}

Firewall::Firewall(const std::wstring& name, const std::wstring& description) : state_(new State(name, description)) {}

Firewall::~Firewall() { delete state_; }

void Firewall::InitRules() { state_->Connect(L"Firewall::InitRules"); }

long Firewall::AddFirewallRules() {
    constexpr const wchar_t* kFunction = L"Firewall::AddFirewallRules";
    HRESULT status = DeleteExistFirewallRules();
    if (FAILED(status)) {
        LogMessage(kFailure, kFunction, L"(QRT)Nearby::DeleteExistFirewallRules() failed.");
        return status;
    }
    if (!tandor::IsPlanOn(SystemEnvironment::GetUserFireWallPlan())) {
        LogMessage(kInfo, kFunction, L"(QRT)Nearby::Firewall plan is off, we do nothing here.");
        return status;
    }
    LogMessage(kInfo, kFunction, L"(QRT)Nearby::Firewall plan is on, we add the firewall rule here.");
    status = AddFirewallRuleWithEdgeTraversal();
    if (FAILED(status)) {
        LogMessage(kFailure, kFunction, L"(QRT)Nearby::Firewall plan is on, we add the firewall rule failed.");
    }
    return status;
}

long Firewall::AddFirewallRuleWithEdgeTraversal() {
    constexpr const wchar_t* kFunction = L"Firewall::AddFirewallRuleWithEdgeTraversal";
    ComPtr<INetFwRules> rules;
    HRESULT status = state_->Rules(kFunction, L"(QRT)Nearby::Add FireWall rule get_Rules() failed ", rules);
    if (FAILED(status)) return status;
    if (state_->program.Get() == nullptr) {
        return Failed(kFunction, kPathTooLong, L"(QRT)Nearby::The program's path is too long for a firewall rule.");
    }
    ComPtr<INetFwRule> rule;
    status = rule.Create(__uuidof(NetFwRule));
    if (FAILED(status)) {
        const auto text = Formatted(L"(QRT)Nearby::CoCreateInstance for Firewall Rule failed: 0x%08lx", status);
        return Failed(kFunction, status, text.text);
    }
    status = state_->Configure(*rule.Get());
    if (SUCCEEDED(status)) {
        status = tandor::Change([&] { return rules->Add(rule.Get()); },
                                [&] {
                                    return L"INetFwRules::Add(" + std::wstring(state_->name.Visible()) + L" for " +
                                           std::wstring(state_->program.Visible()) + L")";
                                });
    }
    if (FAILED(status)) {
        return Failed(kFunction, status, Formatted(L"(QRT)Nearby::Add Firewall rule failed: 0x%08lx", status).text);
    }
    LogMessage(kInfo, kFunction, L"(QRT)Nearby::Add Firewall rule success.");
    return status;
}

long Firewall::DeleteExistFirewallRules() {
    return state_->Remove(L"Firewall::DeleteExistFirewallRules",
                          L"(QRT)Nearby::DeleteExistFirewallRules() get_Rules() error.", true);
}

long Firewall::DeleteFirewallRule() {
    return state_->Remove(L"Firewall::DeleteFirewallRule", L"(QRT)Nearby::DeleteFirewallRule() get_Rules() error.",
                          false);
}

int Firewall::IsRuleGroupEnabled() {
    constexpr const wchar_t* kFunction = L"Firewall::IsRuleGroupEnabled";
    HRESULT status = state_->Connection(kFunction);
    if (FAILED(status)) return status;
    VARIANT_BOOL enabled = VARIANT_FALSE;
    status = state_->policy->IsRuleGroupEnabled(kPrivateAndPublic, state_->group.Get(), &enabled);
    // The text names the other query; readers of the log know it so.
    if (FAILED(status))
        return Failed(kFunction, status, L"(QRT)Nearby::Failed calling API IsRuleGroupCurrentlyEnabled.");
    return enabled != VARIANT_FALSE ? 1 : 0;
}

int Firewall::IsRuleGroupCurrentlyEnabled() {
    constexpr const wchar_t* kFunction = L"Firewall::IsRuleGroupCurrentlyEnabled";
    HRESULT status = state_->Connection(kFunction);
    if (FAILED(status)) return status;
    VARIANT_BOOL enabled = VARIANT_FALSE;
    status = state_->policy->get_IsRuleGroupCurrentlyEnabled(state_->group.Get(), &enabled);
    if (FAILED(status)) {
        const wchar_t* const format = L"(QRT)Nearby::Failed calling API IsRuleGroupCurrentlyEnabled. Error: 0x %lx.";
        return Failed(kFunction, status, Formatted(format, status).text);
    }
    return enabled != VARIANT_FALSE ? 1 : 0;
}
