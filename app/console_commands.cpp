// console: devices and drivers.
#include <fmt/format.h>
#include <windows.h>

#include <setupapi.h>

#include <algorithm>
#include <memory>

#include "app/consent.h"
#include "app/device_order.h"
#include "app/device_report.h"
#include "base/utf.h"
#include "tandor/device_console.h"

namespace tandor::app {
namespace {

using Vxa::Exp::DeviceConsole;
using Vxa::Exp::DeviceInventory;
using Vxa::Exp::DeviceNode;

struct ConsoleOptions {
    DeviceOrder order;
    std::string text;  // what find looks for, or the class that list shows
    Consent consent;
    bool again = false;
};

bool Contains(const std::wstring& text, const std::wstring& part) {
    return ::FindStringOrdinal(FIND_FROMSTART, text.c_str(), static_cast<int>(text.size()), part.c_str(),
                               static_cast<int>(part.size()), TRUE) >= 0;
}

bool Mentions(const DeviceNode& node, const std::wstring& text) {
    return Contains(node.instance, text) || Contains(node.class_name, text) || Contains(node.description, text) ||
           std::ranges::any_of(node.hardware_ids, [&](const std::wstring& one) { return Contains(one, text); });
}

std::vector<DeviceNode> AllDevices() {
    std::vector<DeviceNode> nodes;
    if (const unsigned long error = DeviceInventory::List(nodes); error != 0)
        throw DeviceError("the list of devices", error);
    return nodes;
}

void Show(const Context& context, const std::vector<DeviceNode>& nodes) {
    if (context.json) return PrintJson({{"devices", JsonOf(nodes)}});
    ShowDevices(nodes);
    PrintLine(fmt::format("{} device{}", nodes.size(), nodes.size() == 1 ? "" : "s"));
}

void List(Context& context, const ConsoleOptions& options) {
    std::vector<DeviceNode> nodes = AllDevices();
    const std::wstring kind = WideFromUtf8(options.text);
    if (!kind.empty()) {
        std::erase_if(nodes, [&](const DeviceNode& node) {
            return node.class_name.size() != kind.size() || !Contains(node.class_name, kind);
        });
    }
    Show(context, nodes);
}

void Find(Context& context, const ConsoleOptions& options) {
    std::vector<DeviceNode> nodes = AllDevices();
    std::erase_if(nodes, [&](const DeviceNode& node) { return !Mentions(node, WideFromUtf8(options.text)); });
    context.exit_code = nodes.empty() ? 1 : 0;
    Show(context, nodes);
}

void Status(Context& context, const ConsoleOptions& options) {
    const std::vector<DeviceNode> nodes = Targets(options.order);
    const bool all_started =
        std::ranges::all_of(nodes, [](const DeviceNode& node) { return node.state == DeviceNode::State::kStarted; });
    context.exit_code = nodes.empty() || !all_started ? 1 : 0;
    Show(context, nodes);
}

// What can be seen before the system is asked.
void ExpectTargets(const DeviceOrder& order, bool again) {
    const std::string thing = order.command + " " + order.hardware_id;
    if (order.command == "install" && !again && !Targets(order).empty())
        throw CommandError(thing, "a device with this identifier is there", "use update, or --again for one more");
    if (order.command == "update" && Targets(order).empty()) throw DeviceError(thing, ERROR_NO_SUCH_DEVINST);
}

void Execute(Context& context, const ConsoleOptions& options) {
    DeviceOrder order = options.order;
    const std::string thing = order.command + " " + order.hardware_id;
    ExpectTargets(order, options.again);
    // The system takes complete paths only. What is taken out may be there without its INF.
    if (order.command == "remove")
        order.inf = TextOf(std::filesystem::absolute(PathFrom(order.inf)));
    else if (!order.inf.empty())
        order.inf = Utf8FromWideLossy(ReadInf(order).path);
    const std::wstring words[] = {WideFromUtf8(order.command), WideFromUtf8(order.hardware_id),
                                  WideFromUtf8(order.inf)};
    const bool done = CarryOut(context, options.consent, "console " + thing, [&] {
        if (!DeviceConsole::GetInstance().ExecCommand(words[0], words[1], words[2]))
            throw DeviceError(thing, ::GetLastError());
    });
    if (!done) return;
    const std::vector<DeviceNode> nodes = Targets(order);
    if (context.json) {
        return PrintJson({{"command", order.command}, {"hardware_id", order.hardware_id}, {"devices", JsonOf(nodes)}});
    }
    PrintLine(thing + ": done");
    ShowDevices(nodes);
}

const char* StagedMeaning(DWORD exit_code) {
    if (exit_code == ERROR_SUCCESS) return "staged";
    return exit_code == ERROR_NO_MORE_ITEMS ? "staged; no device took it, or what they have is as good"
                                            : "staged; the PC must be restarted";
}

void Stage(Context& context, const ConsoleOptions& options) {
    const std::string thing = "stage " + options.order.inf;
    const std::wstring inf = ReadInf(options.order).path;
    DWORD code = 0;
    const bool done = CarryOut(context, options.consent, "console " + thing, [&] {
        const bool staged = DeviceConsole::GetInstance().ExecPnpCommand(inf);
        code = ::GetLastError();
        if (code == ERROR_FILE_NOT_FOUND)  // the INF is there
            throw CommandError(thing, "the system's pnputil.exe or a file of the package is missing",
                               "compare the package's folder with its INF file");
        if (!staged) throw DeviceError(thing, code);
    });
    if (!done) return;
    Vxa::Exp::DriverInf driver;
    Json folders = Json::array();
    if (DeviceInventory::ReadInf(inf, driver) == ERROR_SUCCESS)
        for (const std::wstring& folder : driver.store_folders) folders.push_back(Utf8FromWideLossy(folder));
    if (context.json) {
        return PrintJson(
            {{"command", "stage"}, {"exit_code", code}, {"meaning", StagedMeaning(code)}, {"store_folders", folders}});
    }
    PrintLine(StagedMeaning(code));
    for (const Json& folder : folders) PrintLine("  " + folder.get<std::string>());
}

using Run = void (*)(Context& context, const ConsoleOptions& options);

CLI::App* AddVerb(CLI::App& console, Context& context, const std::shared_ptr<ConsoleOptions>& options, const char* verb,
                  const char* help, Run run) {
    CLI::App* const command = console.add_subcommand(verb, help);
    command->callback([options, &context, verb, run] {
        options->order.command = verb;
        run(context, *options);
    });
    return command;
}

void AddOrder(CLI::App& command, ConsoleOptions& options, bool needs_id, bool needs_inf) {
    const auto fits = [](const std::string& id) {
        return id.empty() || WideFromUtf8(id).size() > 200 ? std::string("a hardware id has 1 to 200 characters") : "";
    };
    if (needs_id) {
        command.add_option("HARDWARE_ID", options.order.hardware_id, "As the device has it, as in Root\\VirtualPad")
            ->required()
            ->check(fits);
    }
    if (needs_inf)
        command.add_option("INF", options.order.inf, "The driver package's INF file")->required()->check(NotEmpty());
}

void AddChanges(CLI::App& console, Context& context, const std::shared_ptr<ConsoleOptions>& options) {
    struct Verb {
        const char* name;
        const char* help;
        bool needs_id, needs_inf;
        Run run;
    };
    for (const Verb& verb : {
             Verb{"install", "A new device with this hardware id, and its driver", true, true, Execute},
             Verb{"update", "Another driver for the devices with a hardware id", true, true, Execute},
             Verb{"enable", "Enable the devices with a hardware id", true, false, Execute},
             Verb{"disable", "Disable the devices with a hardware id", true, false, Execute},
             Verb{"remove", "Take out the devices with a hardware id, and their driver", true, true, Execute},
             Verb{"stage", "Put a driver package into the system's driver store", false, true, Stage},
         }) {
        CLI::App* const command = AddVerb(console, context, options, verb.name, verb.help, verb.run);
        AddOrder(*command, *options, verb.needs_id, verb.needs_inf);
        AddConsent(*command, options->consent);
        command->footer(fmt::format(
            "Needs an administrator's rights; --dry-run needs none.\nExample:\n  tandorctl console {}{}{} --dry-run",
            verb.name, verb.needs_id ? " Root\\VirtualPad" : "", verb.needs_inf ? " C:\\drivers\\pad.inf" : ""));
        if (verb.name == std::string_view("install"))
            command->add_flag("--again", options->again, "Also when a device with this hardware id is there");
    }
}

}  // namespace

void AddConsoleCommands(CLI::App& app, Context& context) {
    const auto options = std::make_shared<ConsoleOptions>();
    CLI::App* const console = app.add_subcommand("console", "Virtual devices and their drivers: see, install, remove");
    console->require_subcommand(1);
    console->footer(
        "list, find, status and --dry-run need no rights; the rest needs an administrator's.\nExample:\n"
        "  tandorctl console install Root\\VirtualPad C:\\drivers\\pad.inf --dry-run");
    CLI::App* const list = AddVerb(*console, context, options, "list", "All devices that are present", List);
    list->add_option("--class", options->text, "Only devices of this class, as in Display");
    list->footer("Example:\n  tandorctl console list --class Display");
    CLI::App* const find = AddVerb(*console, context, options, "find", "Devices with a text in any column", Find);
    find->add_option("TEXT", options->text, "In either case of letters")->required()->check(NotEmpty());
    find->footer("Exit code 1 when there is none.\nExample:\n  tandorctl console find pad");
    CLI::App* const status =
        AddVerb(*console, context, options, "status", "How the devices with a hardware id are", Status);
    AddOrder(*status, *options, true, false);
    status->footer(
        "Exit code 1 when there is none or one is not started.\nExample:\n  tandorctl console status Root\\VirtualPad");
    AddChanges(*console, context, options);
}

}  // namespace tandor::app
