#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdio>

#include "app/commands.h"
#include "app/terminal.h"
#include "app/usage.h"
#include "base/utf.h"
#include "pelora/log_service.h"

namespace {

using tandor::app::Context;

// Shows the host log's lines of this process on standard error while a command runs.
class Follower {
public:
    Follower() : subscription_(VxLogger::GetInstance().Subscribe(LOG_MESSAGE_TRACE, ShowLine)) {}
    ~Follower() { VxLogger::GetInstance().Unsubscribe(subscription_); }
    Follower(const Follower&) = delete;
    Follower& operator=(const Follower&) = delete;

private:
    static void ShowLine(LOG_MESSAGE_LEVEL level, std::wstring_view message) {
        std::fprintf(stderr, "log %d %s\n", static_cast<int>(level), tandor::Utf8FromWideLossy(message).c_str());
    }
    std::uint64_t subscription_;
};

// The help shows the commands in this order.
struct Group {
    const char* name;
    std::vector<void (*)(CLI::App&, Context&)> families;
};

const std::vector<Group>& Groups() {
    using namespace tandor::app;
    static const std::vector<Group> groups{
        {"Start", {AddTourCommand, AddDoctorCommand, AddCompletionCommand}},
        {"Text", {AddLogCommands, AddTextCommands, AddVersionCommands, AddClassifyCommand}},
        {"Devices", {AddDeviceCommands, AddConsoleCommands}},
        {"Screens", {AddScreenCommands, AddPanelCommand}},
        {"Security", {AddHashCommand, AddSealCommands}},
        {"Reports", {AddReportCommands, AddOutboxCommands}},
        {"Processes", {AddQueueCommand, AddWatchCommand, AddLookCommands, AddWindowsCommand}},
        {"Network", {AddFetchCommand, AddFirewallCommands}},
    };
    return groups;
}

void AddCommands(CLI::App& app, Context& context) {
    app.add_flag("--json", context.json, "Print one JSON object, also of an error");
    app.add_flag("--follow", context.follow, "Show on standard error what goes to the host log");
    app.set_version_flag("--version", "tandorctl " TANDOR_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.formatter(tandor::app::HelpFormat());
    app.footer(
        "'tandorctl COMMAND --help' has a command's verbs, its options and examples.\n"
        "Exit codes: 0 done, 1 failed, 2 the command line was not understood.");
    for (const Group& group : Groups()) {
        const std::size_t before = app.get_subcommands(nullptr).size();
        for (const auto add : group.families) add(app, context);
        const auto commands = app.get_subcommands(nullptr);
        for (std::size_t i = before; i < commands.size(); ++i) commands[i]->group(group.name);
    }
}

// Output that did not arrive is a failure, whatever the command thought of itself.
int Finish(int exit_code, bool json) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return exit_code;
    tandor::app::ShowTrouble(
        {"standard output", "not all could be written", "its reader has gone, or the disk is full"}, json);
    return exit_code == 0 ? 1 : exit_code;
}

// A line that was not understood has set nothing yet. Behind -- everything is a value.
bool AsksForJson(const std::vector<std::string>& arguments) {
    const auto end = std::ranges::find(arguments, "--");
    return std::find(arguments.begin(), end, "--json") != end;
}

int Run(std::vector<std::string> arguments) {
    CLI::App app("Command line over the multi-device utility library", "tandorctl");
    Context context;
    AddCommands(app, context);
    if (arguments.empty()) arguments.emplace_back("--help");
    const bool json = AsksForJson(arguments);
    std::unique_ptr<Follower> follower;
    app.parse_complete_callback([&] {
        if (context.follow) follower = std::make_unique<Follower>();
    });
    try {
        app.parse(
            std::vector<std::string>(arguments.rbegin(), arguments.rend()));  // the parser takes them from the back
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return Finish(app.exit(error), json);  // help and version
        tandor::app::ShowTrouble(tandor::app::UsageError(app, error), json);
        return 2;
    } catch (const std::exception& error) {
        const std::string task = "'tandorctl" + tandor::app::PathOf(tandor::app::Reached(app)) + "'";
        tandor::app::ShowTrouble(tandor::app::TroubleOf(error, task), json);
        return dynamic_cast<const tandor::app::UsageFailure*>(&error) != nullptr ? 2 : 1;
    }
    if (json && !tandor::app::HasPrinted()) tandor::app::PrintJson({{"done", context.exit_code == 0}});
    return Finish(context.exit_code, json);
}

}  // namespace

int wmain(int count, wchar_t** words) {
    const tandor::app::ConsoleSetup console;
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) arguments.push_back(tandor::Utf8FromWideLossy(words[i]));
    return Run(std::move(arguments));
}
