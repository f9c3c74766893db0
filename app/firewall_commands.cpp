#include <fmt/format.h>
#include <windows.h>

#include <algorithm>

#include "app/consent.h"
#include "app/firewall_view.h"
#include "app/places.h"
#include "base/utf.h"
#include "base/win_error.h"
#include "pelora/log_service.h"
#include "pelora/registry.h"
#include "pelora/system_environment.h"
#include "tandor/firewall.h"

namespace tandor::app {
namespace {

struct Options {
    std::string name;
    std::string description;
    bool all = false;
    bool replace = false;
    Consent consent;
    bool by_service = false;
};

std::string GroupText(int state) {
    if (state >= 0) return state > 0 ? "yes" : "no";
    return "unknown: " + WindowsErrorText(static_cast<DWORD>(state));
}
Json GroupJson(int state) { return state >= 0 ? Json(state > 0) : Json(nullptr); }

// What stands between what is wanted and what is there; empty when nothing does.
std::string ToDo(const FirewallView& view, std::size_t rules, bool enabled) {
    if (!view.trouble.empty()) return "unknown, the rules cannot be read";
    if (!IsPlanOn(view.plan)) return rules == 0 ? "" : fmt::format("remove {} rule(s): the plan is off", rules);
    if (rules == 0) return "add the rule: the plan is on";
    return enabled ? "" : "enable the rule: the plan is on";
}

void Status(const Context& context) {
    const FirewallView view = LookAtFirewall();
    const std::vector<FirewallRule> rules = RulesNamed(view.rules, kMessageCentreRule);
    const bool enabled = std::ranges::any_of(rules, &FirewallRule::enabled);
    Firewall firewall;
    const int group = firewall.IsRuleGroupEnabled();
    const int current = firewall.IsRuleGroupCurrentlyEnabled();
    const std::string to_do = ToDo(view, rules.size(), enabled);
    if (context.json) {
        Json found = Json::array();
        for (const FirewallRule& rule : rules) found.push_back(JsonOf(rule));
        return PrintJson({{"plan", view.plan},
                          {"plan_on", IsPlanOn(view.plan)},
                          {"noted_as_enabled", view.noted},
                          {"rules", view.trouble.empty() ? found : Json(nullptr)},
                          {"group_enabled", GroupJson(group)},
                          {"group_currently_enabled", GroupJson(current)},
                          {"to_do", to_do},
                          {"trouble", view.trouble}});
    }
    std::vector<std::vector<std::string>> rows{{"WHAT", "STATE"}};
    rows.push_back({"wanted: the user's firewall plan", PlanText(view.plan)});
    rows.push_back({"noted as enabled by the feature", view.noted ? "yes" : "no"});
    rows.push_back({"rules named " + Utf8FromWide(kMessageCentreRule),
                    view.trouble.empty() ? std::to_string(rules.size()) : "unknown: " + view.trouble});
    for (const FirewallRule& rule : rules)
        rows.push_back({rule.enabled ? "  enabled, for" : "  disabled, for", Utf8FromWideLossy(rule.application)});
    rows.push_back({"group enabled (private, public)", GroupText(group)});
    rows.push_back({"group enabled on current networks", GroupText(current)});
    rows.push_back({"to do", to_do.empty() ? "nothing" : to_do});
    PrintTable(rows);
}

void ExpectRules(const FirewallView& view) {
    if (view.trouble.empty()) return;
    throw CommandError("the firewall's rules", view.trouble, "see 'tandorctl doctor' for what works on this machine");
}

void List(const Context& context, const Options& options) {
    const FirewallView view = LookAtFirewall();
    ExpectRules(view);
    std::vector<std::vector<std::string>> rows{{"NAME", "DIR", "ACTION", "ENABLED", "PROGRAM"}};
    Json document = Json::array();
    for (const FirewallRule& rule : view.rules) {
        if (!options.all && rule.group != kRuleGroup && rule.name != kMessageCentreRule) continue;
        rows.push_back({Utf8FromWideLossy(rule.name), rule.inbound ? "in" : "out", rule.allows ? "allow" : "block",
                        rule.enabled ? "yes" : "no", Utf8FromWideLossy(rule.application)});
        document.push_back(JsonOf(rule));
    }
    context.json ? PrintJson({{"rules", document}}) : PrintTable(rows);
}

// Whose plan holds: the user's own stands before the machine's.
std::string PlanOwner() {
    std::wstring ignored;
    const auto has = [&](DE::RegistryRoot root) {
        return DE::Registry::GetValue(root, L"SOFTWARE\\Vextro\\Pelora", L"FireWallPlan", ignored);
    };
    if (has(DE::RegistryRoot::kUser)) return "user";
    return has(DE::RegistryRoot::kLocalMachine) ? "machine" : "nobody";
}

void Plan(const Context& context) {
    const std::string plan = SystemEnvironment::GetUserFireWallPlan();
    const std::string owner = PlanOwner();
    const bool on = IsPlanOn(plan);
    if (context.json) return PrintJson({{"plan", plan}, {"plan_on", on}, {"set_by", owner}});
    PrintTable({{"WHAT", "STATE"},
                {"the firewall plan", PlanText(plan)},
                {"set by", owner},
                {"so rules", on ? "may be added" : "of the feature are removed, and none is added"}});
}

void ExpectName(const std::string& name) {
    constexpr std::size_t kLongest = 499;  // characters that a rule is given
    if (name.empty()) throw CommandError("the rule's name", "it is empty", "give one with --name");
    if (WideFromUtf8Lossy(name).size() > kLongest) {
        throw CommandError("the rule's name", "it has more than 499 characters", "give a shorter one with --name");
    }
}

void Expect(long status, const std::string& name) {
    if (status >= 0) return;
    const bool denied = status == E_ACCESSDENIED;
    throw CommandError("rule " + name, WindowsErrorText(static_cast<DWORD>(status)),
                       denied ? "run as administrator" : "see the host log, or run again with --follow");
}

void ShowRequest(const Context& context, const char* request, bool sent) {
    if (!sent) throw CommandError("the assistant service", "it does not take requests", "start the suite's assistant");
    if (context.json) return PrintJson({{"asked_the_service_to", request}});
    PrintLine(std::string("asked the assistant service to ") + request + " the rule");
}

// The rule is one for tandorctl when it is added from here: another program's must not get lost by accident.
void ExpectOurs(const FirewallView& view, const Options& options) {
    if (options.replace) return;
    const std::vector<FirewallRule> rules = RulesNamed(view.rules, WideFromUtf8Lossy(options.name));
    const auto foreign = std::ranges::find_if(
        rules, [own = ProgramFile().native()](const FirewallRule& rule) { return rule.application != own; });
    if (foreign == rules.end()) return;
    throw CommandError("rule " + options.name, "it is there for " + Utf8FromWideLossy(foreign->application),
                       "--replace puts the one for this program in its place");
}

void ShowDone(const Context& context, const std::string& command, const Options& options, const std::string& result) {
    if (context.json) return PrintJson({{"command", command}, {"rule", options.name}, {"result", result}});
    PrintLine("rule " + options.name + ": " + result);
}

// Without the plan nothing is added, which is no failure for the library, but for who wanted the rule.
void ExpectPlan(Context& context, const FirewallView& view, const std::string& name) {
    if (IsPlanOn(view.plan)) return;
    context.exit_code = 1;
    std::fprintf(stderr,
                 "error: rule %s: the user's firewall plan is %s, so nothing is added; set the text FireWallPlan under "
                 "HKCU\\SOFTWARE\\Vextro\\Pelora to 1\n",
                 name.c_str(), PlanText(view.plan).c_str());
}

void Add(Context& context, const Options& options) {
    ExpectName(options.name);
    const FirewallView view = LookAtFirewall();
    ExpectOurs(view, options);
    const std::wstring name = WideFromUtf8Lossy(options.name), description = WideFromUtf8Lossy(options.description);
    const bool done = CarryOut(context, options.consent, "firewall add " + options.name,
                               [&] { Expect(Firewall(name, description).AddFirewallRules(), options.name); });
    if (done) ShowDone(context, "add", options, IsPlanOn(view.plan) ? "added" : "not added");
    ExpectPlan(context, view, options.name);
}

void Remove(const Context& context, const Options& options) {
    ExpectName(options.name);
    const std::wstring name = WideFromUtf8Lossy(options.name);
    const bool done = CarryOut(context, options.consent, "firewall remove " + options.name,
                               [&] { Expect(Firewall(name, L"").DeleteExistFirewallRules(), options.name); });
    if (done) ShowDone(context, "remove", options, "removed");
}

// The manager says no more than that it failed; why stands in the last line of the host log.
void ExpectManaged(bool (FireWallRuleManger::*operation)(), const std::string& name) {
    const auto last = std::make_shared<std::string>();
    const auto subscription = VxLogger::GetInstance().Subscribe(
        LOG_MESSAGE_INFO, [last](LOG_MESSAGE_LEVEL, std::wstring_view message) { *last = Utf8FromWideLossy(message); });
    const bool done = (FireWallRuleManger::GetInstance().*operation)();
    VxLogger::GetInstance().Unsubscribe(subscription);
    if (!done) throw CommandError("rule " + name, *last, "run as administrator; --follow shows each step");
}

void Enable(Context& context, const Options& options) {
    if (options.by_service) {
        Confirm(options.consent, "firewall enable --by-service");
        return ShowRequest(context, "enable", FireWallRuleManger::GetInstance().EnableRuleByService());
    }
    const FirewallView view = LookAtFirewall();
    ExpectOurs(view, options);
    const bool done = CarryOut(context, options.consent, "firewall enable",
                               [&] { ExpectManaged(&FireWallRuleManger::EnableRule, options.name); });
    if (done) ShowDone(context, "enable", options, IsPlanOn(view.plan) ? "enabled" : "noted as enabled, not added");
    ExpectPlan(context, view, options.name);
}

void Disable(const Context& context, const Options& options) {
    if (options.by_service) {
        Confirm(options.consent, "firewall disable --by-service");
        return ShowRequest(context, "disable", FireWallRuleManger::GetInstance().DisableRuleByService());
    }
    const bool done = CarryOut(context, options.consent, "firewall disable",
                               [&] { ExpectManaged(&FireWallRuleManger::DisableRule, options.name); });
    if (done) ShowDone(context, "disable", options, "disabled");
}

void CleanDhcp(const Context& context, const Options& options) {
    int removed = 0;
    const bool done = CarryOut(context, options.consent, "firewall clean-dhcp",
                               [&] { Expect(Firewall::RemoveDHCPRulesAndWait(removed), "of DHCP or sharing"); });
    if (!done) return;
    if (context.json) return PrintJson({{"command", "clean-dhcp"}, {"removed", removed}});
    PrintLine(fmt::format("{} rules for DHCP and connection sharing removed", removed));
}

using Run = void (*)(Context& context, const Options& options);

CLI::App* AddVerb(CLI::App& firewall, Context& context, const std::shared_ptr<Options>& options, const char* verb,
                  const char* help, const char* footer, Run run) {
    CLI::App* const command = firewall.add_subcommand(verb, help);
    command->footer(footer);
    command->callback([options, &context, run] { run(context, *options); });
    return command;
}

// What adds or removes the rules of any name.
void AddNamedVerbs(CLI::App& firewall, Context& context, const std::shared_ptr<Options>& options) {
    CLI::App* const add =
        AddVerb(firewall, context, options, "add",
                "Replace the rules of a name by one that allows inbound connections to this program, if the plan is on",
                "Needs an administrator's rights.\nExample:\n  tandorctl firewall add --name Probe --dry-run", Add);
    CLI::App* const remove =
        AddVerb(firewall, context, options, "remove", "Remove all rules of a name",
                "Needs an administrator's rights.\nExample:\n  tandorctl firewall remove --name Probe --dry-run",
                [](Context& c, const Options& o) { Remove(c, o); });
    for (CLI::App* const verb : {add, remove}) {
        verb->add_option("--name", options->name, "The rules' name")->required();
        AddConsent(*verb, options->consent);
    }
    add->add_option("--description", options->description, "The rule's description");
    add->add_flag("--replace", options->replace, "Also when a rule of that name is there for another program");
}

// What is about the message centre's rule, and about the system's own.
void AddFeatureVerbs(CLI::App& firewall, Context& context, const std::shared_ptr<Options>& options) {
    CLI::App* const enable =
        AddVerb(firewall, context, options, "enable", "Note that the feature's rule is enabled, and put it in place",
                "Needs an administrator's rights.\nExample:\n  tandorctl firewall enable --dry-run", Enable);
    CLI::App* const disable =
        AddVerb(firewall, context, options, "disable", "Remove the feature's rule, and note that it is disabled",
                "Needs an administrator's rights.\nExample:\n  tandorctl firewall disable --dry-run",
                [](Context& c, const Options& o) { Disable(c, o); });
    enable->add_flag("--replace", options->replace, "Also when the rule is there for another program");
    for (CLI::App* const verb : {enable, disable}) {
        options->name = Utf8FromWide(kMessageCentreRule);
        AddConsent(*verb, options->consent);
        CLI::Option* const by_service =
            verb->add_flag("--by-service", options->by_service,
                           "Ask the suite's assistant service to do it for this program, which needs no rights");
        by_service->excludes(verb->get_option("--dry-run"));
        if (verb == enable) by_service->excludes(verb->get_option("--replace"));
    }
    CLI::App* const clean = AddVerb(
        firewall, context, options, "clean-dhcp", "Remove the system's rules for DHCP and Internet connection sharing",
        "Needs an administrator's rights.\nExample:\n  tandorctl firewall clean-dhcp --dry-run",
        [](Context& c, const Options& o) { CleanDhcp(c, o); });
    AddConsent(*clean, options->consent);
}

}  // namespace

void AddFirewallCommands(CLI::App& app, Context& context) {
    CLI::App* const firewall =
        app.add_subcommand("firewall", "The firewall rule of the message centre: wanted against actual");
    firewall->require_subcommand(1);
    firewall->footer(
        "Looking and --dry-run need no rights; the rest needs an administrator's.\n"
        "Example:\n  tandorctl firewall status\n  tandorctl firewall enable --dry-run");
    const auto options = std::make_shared<Options>();
    AddVerb(*firewall, context, options, "status", "What is wanted, what is there, and what is to do",
            "Example:\n  tandorctl firewall status --json", [](Context& c, const Options&) { Status(c); });
    AddVerb(*firewall, context, options, "plan", "Whether rules may be added, and who said so",
            "Example:\n  tandorctl firewall plan", [](Context& c, const Options&) { Plan(c); });
    CLI::App* const list =
        AddVerb(*firewall, context, options, "list", "List the feature's rules",
                "Example:\n  tandorctl firewall list --all", [](Context& c, const Options& o) { List(c, o); });
    list->add_flag("--all", options->all, "All rules of the firewall");
    AddFeatureVerbs(*firewall, context, options);
    AddNamedVerbs(*firewall, context, options);
}

}  // namespace tandor::app
