#include <fmt/format.h>
#include <windows.h>

#include <algorithm>

#include "app/commands.h"
#include "app/firewall_view.h"
#include "base/utf.h"
#include "base/win_error.h"
#include "tandor/firewall.h"

namespace tandor::app {
namespace {

struct Options {
    std::string name = Utf8FromWide(kMessageCentreRule);
    std::string description = Utf8FromWide(kMessageCentreDescription);
    bool all = false;
    bool dry_run = false;
    bool replace = false;
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
    const auto rules = ChangesOfRemoving(view.rules, kMessageCentreRule);
    const bool enabled = std::any_of(rules.begin(), rules.end(), [](const auto& found) { return found.rule.enabled; });
    Firewall firewall;
    const int group = firewall.IsRuleGroupEnabled();
    const int current = firewall.IsRuleGroupCurrentlyEnabled();
    const std::string to_do = ToDo(view, rules.size(), enabled);
    if (context.json) {
        Json found = Json::array();
        for (const FirewallChange& rule : rules) found.push_back(JsonOf(rule.rule));
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
    for (const FirewallChange& found : rules) {
        rows.push_back(
            {found.rule.enabled ? "  enabled, for" : "  disabled, for", Utf8FromWideLossy(found.rule.application)});
    }
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
    context.json ? PrintJson(document) : PrintTable(rows);
}

void ShowChanges(const Context& context, const std::vector<FirewallChange>& changes, bool done) {
    Json document = Json::array();
    for (const FirewallChange& change : changes) {
        if (context.json) {
            document.push_back(
                {{"change", change.adds ? "add" : "remove"}, {"done", done}, {"rule", JsonOf(change.rule)}});
        } else {
            PrintLine(fmt::format("{}{} {} for {}", done ? "" : "would ",
                                  change.adds ? (done ? "added" : "add") : (done ? "removed" : "remove"),
                                  Utf8FromWideLossy(change.rule.name), Utf8FromWideLossy(change.rule.application)));
        }
    }
    if (context.json) return PrintJson(document);
    if (changes.empty()) PrintLine("nothing to change");
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

// A dry run must know what is there; otherwise changing what cannot be read fails on its own, with its own cause.
void ExpectReadable(const FirewallView& view, bool needed) {
    if (needed) ExpectRules(view);
}

void Add(Context& context, const Options& options) {
    ExpectName(options.name);
    if (options.by_service)
        return ShowRequest(context, "enable", FireWallRuleManger::GetInstance().EnableRuleByService());
    const FirewallView view = LookAtFirewall();
    ExpectReadable(view, options.dry_run);
    const FirewallRule wanted = RuleForThisProgram(options.name, options.description);
    const bool plan_on = IsPlanOn(view.plan);
    const auto changes = ChangesOfAdding(view.rules, wanted, plan_on);
    const auto foreign = std::find_if(changes.begin(), changes.end(), [&](const FirewallChange& change) {
        return !change.adds && change.rule.application != wanted.application;
    });
    if (foreign != changes.end() && !options.replace) {
        throw CommandError("rule " + options.name, "it is there for " + Utf8FromWideLossy(foreign->rule.application),
                           "--replace puts the one for this program in its place, --name takes another name");
    }
    if (!options.dry_run) {
        Expect(Firewall(wanted.name, wanted.description).AddFirewallRules(), options.name);
    }
    ShowChanges(context, changes, !options.dry_run);
    if (plan_on) return;
    context.exit_code = 1;
    std::fprintf(stderr,
                 "error: rule %s: the user's firewall plan is %s, so nothing is added; set the text FireWallPlan under "
                 "HKCU\\SOFTWARE\\Vextro\\Pelora to 1\n",
                 options.name.c_str(), PlanText(view.plan).c_str());
}

void Remove(const Context& context, const Options& options) {
    ExpectName(options.name);
    if (options.by_service)
        return ShowRequest(context, "disable", FireWallRuleManger::GetInstance().DisableRuleByService());
    const FirewallView view = LookAtFirewall();
    ExpectReadable(view, options.dry_run);
    if (!options.dry_run) {
        Expect(Firewall(WideFromUtf8Lossy(options.name), L"").DeleteExistFirewallRules(), options.name);
    }
    ShowChanges(context, ChangesOfRemoving(view.rules, WideFromUtf8Lossy(options.name)), !options.dry_run);
}

}  // namespace

void AddFirewallCommands(CLI::App& app, Context& context) {
    CLI::App* const firewall =
        app.add_subcommand("firewall", "The firewall rule of the message centre: wanted against actual");
    firewall->require_subcommand(1);
    firewall->footer(
        "Looking needs no rights; adding and removing need an administrator's.\n"
        "Example:\n  tandorctl firewall status\n  tandorctl firewall add --name Probe --dry-run");
    const auto options = std::make_shared<Options>();
    CLI::App* const status = firewall->add_subcommand("status", "What is wanted, what is there, and what is to do");
    status->footer("Example:\n  tandorctl firewall status --json");
    status->callback([&context] { Status(context); });
    CLI::App* const list = firewall->add_subcommand("list", "List the feature's rules");
    list->add_flag("--all", options->all, "All rules of the firewall");
    list->footer("Example:\n  tandorctl firewall list --all");
    list->callback([&context, options] { List(context, *options); });

    CLI::App* const add = firewall->add_subcommand(
        "add", "Replace the rules of a name by one that allows inbound connections to this program, if the plan is on");
    add->footer(
        "Needs an administrator's rights; --dry-run needs none.\nExample:\n  tandorctl firewall add --name Probe "
        "--dry-run");
    add->callback([&context, options] { Add(context, *options); });
    CLI::App* const remove = firewall->add_subcommand("remove", "Remove all rules of a name");
    remove->footer(
        "Needs an administrator's rights; --dry-run needs none.\nExample:\n  tandorctl firewall remove --name Probe "
        "--dry-run");
    remove->callback([&context, options] { Remove(context, *options); });
    for (CLI::App* const verb : {add, remove}) {
        verb->add_option("--name", options->name, "The rule's name (default PVAMessageCenter)");
        if (verb == add) {
            add->add_option("--description", options->description,
                            "The rule's description (default PVAMessageCenter.exe)");
            add->add_flag("--replace", options->replace, "Also when a rule of that name is there for another program");
        }
        verb->add_flag("--dry-run", options->dry_run, "Say what would change, change nothing");
        const auto others = verb->get_options([](const CLI::Option* option) { return !option->check_lname("help"); });
        CLI::Option* const by_service = verb->add_flag(
            "--by-service", options->by_service,
            "Ask the suite's assistant service to do it, which needs no rights; goes with none of these");
        for (CLI::Option* const other : others) by_service->excludes(other);
    }
}

}  // namespace tandor::app
