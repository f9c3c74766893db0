#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "app/command.h"
#include "base/utf.h"
#include "pelora/log_service.h"

namespace {

using tandor::app::Context;

// Shows the host log's lines of this process on standard error while a command runs.
class Follower {
public:
    Follower() : subscription_(VxLogger::GetInstance().Subscribe(ShowLine)) {}
    ~Follower() { VxLogger::GetInstance().Unsubscribe(subscription_); }
    Follower(const Follower&) = delete;
    Follower& operator=(const Follower&) = delete;

private:
    static void ShowLine(LOG_MESSAGE_LEVEL level, std::wstring_view message) {
        std::fprintf(stderr, "log %d %s\n", static_cast<int>(level), tandor::Utf8FromWideLossy(message).c_str());
    }
    std::uint64_t subscription_;
};

void AddCommands(CLI::App& app, Context& context) {
    app.add_flag("--json", context.json, "Print data as JSON");
    app.add_flag("--follow", context.follow, "Show what this command writes to the host log, on standard error");
    app.set_version_flag("--version", "tandorctl " TANDOR_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.footer(
        "Try 'tandorctl tour' to see everything at work, 'tandorctl doctor' to see what works on this machine,\n"
        "'tandorctl COMMAND --help' for one command. Exit codes: 0 done, 1 failed, 2 usage.");
    using namespace tandor::app;
    for (const auto add : {
             AddLogCommands,     AddTextCommands,     AddVersionCommands, AddClassifyCommand, AddDeviceCommands,
             AddScreenCommands,  AddPanelCommand,     AddHashCommand,     AddSealCommands,    AddFetchCommand,
             AddReportCommands,  AddOutboxCommands,   AddQueueCommand,    AddWatchCommand,    AddLookCommands,
             AddConsoleCommands, AddFirewallCommands, AddDoctorCommand,   AddTourCommand,
         }) {
        add(app, context);
    }
}

// The command words that were understood, as " text base64".
std::string ChosenVerbs(const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    return chosen.empty() ? "" : " " + chosen.front()->get_name() + ChosenVerbs(*chosen.front());
}

int Run(const std::vector<std::string>& arguments) {
    CLI::App app("Command line over the multi-device utility library", "tandorctl");
    Context context;
    AddCommands(app, context);
    std::unique_ptr<Follower> follower;
    app.parse_complete_callback([&] {
        if (context.follow) follower = std::make_unique<Follower>();
    });
    try {
        app.parse(
            std::vector<std::string>(arguments.rbegin(), arguments.rend()));  // the parser takes them from the back
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);  // help and version
        const auto unknown = app.remaining(true);
        std::fprintf(stderr, "error: %s%s; see 'tandorctl%s --help'\n", error.what(),
                     unknown.empty() ? "" : (" (unknown: " + unknown.front() + ")").c_str(), ChosenVerbs(app).c_str());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return 1;
    }
    return context.exit_code;
}

}  // namespace

int wmain(int count, wchar_t** words) {
    ::SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) arguments.push_back(tandor::Utf8FromWideLossy(words[i]));
    return Run(arguments);
}
