#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "app/commands.h"
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

void AddCommands(CLI::App& app, Context& context) {
    app.add_flag("--json", context.json, "Print data as JSON");
    app.add_flag("--follow", context.follow, "Show what this command writes to the host log, on standard error");
    app.set_version_flag("--version", "tandorctl " TANDOR_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.formatter(tandor::app::HelpFormat());
    app.footer(
        "Try 'tandorctl tour' to see everything at work, 'tandorctl doctor' to see what works on this machine,\n"
        "'tandorctl COMMAND --help' for one command. Exit codes: 0 done, 1 failed, 2 usage.");
    using namespace tandor::app;
    for (const auto add : {
             AddLogCommands,     AddTextCommands,     AddVersionCommands, AddClassifyCommand, AddDeviceCommands,
             AddScreenCommands,  AddPanelCommand,     AddHashCommand,     AddSealCommands,    AddFetchCommand,
             AddReportCommands,  AddOutboxCommands,   AddQueueCommand,    AddWatchCommand,    AddLookCommands,
             AddConsoleCommands, AddFirewallCommands, AddDoctorCommand,   AddTourCommand,     AddCompletionCommand,
         }) {
        add(app, context);
    }
}

// Output that did not arrive is a failure, whatever the command thought of itself.
int Finish(int exit_code) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return exit_code;
    std::fputs("error: standard output: not all could be written; its reader has gone, or the disk is full\n", stderr);
    return exit_code == 0 ? 1 : exit_code;
}

int Run(std::vector<std::string> arguments) {
    CLI::App app("Command line over the multi-device utility library", "tandorctl");
    Context context;
    AddCommands(app, context);
    if (arguments.empty()) arguments.emplace_back("--help");
    std::unique_ptr<Follower> follower;
    app.parse_complete_callback([&] {
        if (context.follow) follower = std::make_unique<Follower>();
    });
    try {
        app.parse(
            std::vector<std::string>(arguments.rbegin(), arguments.rend()));  // the parser takes them from the back
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return Finish(app.exit(error));  // help and version
        std::fprintf(stderr, "%s\n", tandor::app::UsageError(app, error).c_str());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return dynamic_cast<const tandor::app::UsageFailure*>(&error) != nullptr ? 2 : 1;
    }
    return Finish(context.exit_code);
}

}  // namespace

int wmain(int count, wchar_t** words) {
    ::SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) arguments.push_back(tandor::Utf8FromWideLossy(words[i]));
    return Run(std::move(arguments));
}
