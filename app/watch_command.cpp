#include <fmt/format.h>
#include <windows.h>

#include "app/commands.h"
#include "app/stop_signal.h"
#include "base/utf.h"
#include "tandor/state_watch.h"

namespace tandor::app {
namespace {

// Asking costs microseconds; a process that ends is seen after at most this long.
constexpr unsigned kIntervalMilliseconds = 200;
constexpr const char* kStates[] = {"not running", "started, not initialised", "initialised", "initialised and started"};

struct WatchOptions {
    std::string name_a, name_b;
    double seconds = 0;
    bool follow = false;
    bool until_gone = false;
    bool initialised_only = false;
};

std::string TimeOfDay() {
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    return fmt::format("{:02}:{:02}:{:02}.{:03}", now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
}

void ShowState(const Context& context, unsigned state) {
    const std::string time = TimeOfDay();
    PrintLine(context.json ? Json{{"time", time}, {"state", state}, {"meaning", kStates[state]}}.dump()
                           : fmt::format("{}  {}  {}", time, state, kStates[state]));
    std::fflush(stdout);
}

void State(Context& context, const WatchOptions& options) {
    const TdProcessStateWatcher watcher(WideFromUtf8(options.name_a), WideFromUtf8(options.name_b));
    unsigned state = watcher.QueryProcessState();
    ShowState(context, state);
    if (!options.follow) {
        context.exit_code = state == 0 ? 1 : 0;
        return;
    }
    const StopSignal stop(options.seconds);
    while (!options.until_gone || state != 0) {
        if (stop.WaitFor(kIntervalMilliseconds)) {
            context.exit_code = options.until_gone ? 1 : 0;
            return;
        }
        const unsigned before = std::exchange(state, watcher.QueryProcessState());
        if (state != before) ShowState(context, state);
    }
}

// Why an event could not be made; the library's answer is only that it could not.
CommandError NotAnnounced(const TdProcessStatePresenter& presenter, const std::string& name) {
    const TdProcessStateWatcher watcher(presenter.GetEventAName(), presenter.GetEventBName());
    if (watcher.QueryEventState(WideFromUtf8(name)))
        return {"event '" + name + "'", "another process announces itself under this name",
                "end it or choose another name"};
    return {"event '" + name + "'", "cannot be created", "with --follow the log line shows the system's error number"};
}

void Present(const Context& context, const WatchOptions& options) {
    const StopSignal stop(options.seconds);  // before anybody sees the process, and may want it stopped
    TdProcessStatePresenter presenter(WideFromUtf8(options.name_a), WideFromUtf8(options.name_b));
    if (!presenter.Init()) throw NotAnnounced(presenter, options.name_a);
    if (!options.initialised_only && !presenter.Start()) throw NotAnnounced(presenter, options.name_b);
    ShowState(context, options.initialised_only ? 2 : 3);
    while (!stop.WaitFor(INFINITE)) {
    }
    presenter.Stop();
    presenter.UnInit();
    ShowState(context, 0);
}

CLI::Option* AddNames(CLI::App& command, WatchOptions& options) {
    command.add_option("NAME_A", options.name_a, "Event that exists while the process is initialised")
        ->required()
        ->check(NotEmpty());
    command.add_option("NAME_B", options.name_b, "Event that exists while the process is started")
        ->required()
        ->check(NotEmpty());
    return command.add_option("--for", options.seconds, "End by itself after so many seconds")
        ->check(AtLeast(0))
        ->type_name("SECONDS");
}

}  // namespace

void AddWatchCommand(CLI::App& app, Context& context) {
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* const watch = app.add_subcommand("watch", "Follow the presence of another process, or announce one");
    watch->require_subcommand(1);
    watch->footer(
        "Example:\n"
        "  tandorctl watch present Local\\MyA Local\\MyB            in one window\n"
        "  tandorctl watch state Local\\MyA Local\\MyB --follow     in another");

    CLI::App* const present = watch->add_subcommand("present", "Hold the two events until Ctrl-C, as a process does");
    AddNames(*present, *options);
    present->add_flag("--initialised-only", options->initialised_only, "Hold only the first event");
    present->footer("Example:\n  tandorctl watch present Local\\MyA Local\\MyB --for 60");
    present->callback([options, &context] { Present(context, *options); });

    CLI::App* const state = watch->add_subcommand("state", "Show whether a process is initialised and started");
    CLI::Option* const seconds = AddNames(*state, *options);
    CLI::Option* const follow =
        state->add_flag("--follow", options->follow, "Go on until Ctrl-C and show every change within 0.2 s");
    seconds->needs(follow);
    state->add_flag("--until-gone", options->until_gone, "End when the process is gone")->needs(follow);
    state->footer(
        "With --json, one object for each line. Exit code 1 when nothing runs, and with --until-gone when the time "
        "was\n"
        "over first. The host log is shown by a --follow in front: 'tandorctl --follow watch state ...'.\n"
        "Example:\n  tandorctl watch state Local\\MyA Local\\MyB --follow");
    state->callback([options, &context] { State(context, *options); });
}

}  // namespace tandor::app
