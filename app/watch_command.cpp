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
    bool once = false;
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

void Watch(Context& context, const WatchOptions& options) {
    const TdProcessStateWatcher watcher(WideFromUtf8(options.name_a), WideFromUtf8(options.name_b));
    unsigned state = watcher.QueryProcessState();
    ShowState(context, state);
    if (options.once) {
        context.exit_code = state == 0 ? 1 : 0;
        return;
    }
    const StopSignal stop(options.seconds);
    while (!stop.WaitFor(kIntervalMilliseconds)) {
        const unsigned before = std::exchange(state, watcher.QueryProcessState());
        if (state == before) continue;
        ShowState(context, state);
        if (options.until_gone && state == 0) return;
    }
    if (options.until_gone) context.exit_code = 1;
}

// Why an event could not be made; the library's answer is only that it could not.
CommandError NotAnnounced(const TdProcessStatePresenter& presenter, const std::string& name) {
    const TdProcessStateWatcher watcher(presenter.GetEventAName(), presenter.GetEventBName());
    if (watcher.QueryEventState(WideFromUtf8(name)))
        return {"event '" + name + "'", "another process announces itself under this name",
                "end it or choose another name"};
    return {"event '" + name + "'", "cannot be created", "with --follow the log line shows the system's error number"};
}

void Announce(const Context& context, const WatchOptions& options) {
    TdProcessStatePresenter presenter(WideFromUtf8(options.name_a), WideFromUtf8(options.name_b));
    if (!presenter.Init()) throw NotAnnounced(presenter, options.name_a);
    if (!options.initialised_only && !presenter.Start()) throw NotAnnounced(presenter, options.name_b);
    ShowState(context, options.initialised_only ? 2 : 3);
    const StopSignal stop(options.seconds);
    while (!stop.WaitFor(INFINITE)) {
    }
    presenter.Stop();
    presenter.UnInit();
    ShowState(context, 0);
}

void AddNames(CLI::App& command, WatchOptions& options) {
    command.add_option("NAME_A", options.name_a, "Event that exists while the process is initialised")
        ->check(NotEmpty());
    command.add_option("NAME_B", options.name_b, "Event that exists while the process is started")->check(NotEmpty());
    command.add_option("--for", options.seconds, "End by itself after so many seconds")
        ->check(AtLeast(0))
        ->type_name("SECONDS");
}

}  // namespace

void AddWatchCommand(CLI::App& app, Context& context) {
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* const watch = app.add_subcommand("watch", "Follow the presence of another process, or announce one");
    watch->footer(
        "Shows the state at once and every change within 0.2 s, until Ctrl-C. With --json, one object for each line.\n"
        "Exit code 1 with --once when nothing runs, and with --until-gone when the time was over first.\nExample:\n"
        "  tandorctl watch announce Local\\MyA Local\\MyB     in one window\n"
        "  tandorctl watch Local\\MyA Local\\MyB              in another");
    AddNames(*watch, *options);
    watch->add_flag("--once", options->once, "Show the state and end");
    watch->add_flag("--until-gone", options->until_gone, "End when the process is gone");

    CLI::App* const announce = watch->add_subcommand("announce", "Hold the two events until Ctrl-C, as a process does");
    AddNames(*announce, *options);
    announce->add_flag("--initialised-only", options->initialised_only, "Hold only the first event");
    announce->get_option("NAME_A")->required();
    announce->get_option("NAME_B")->required();
    announce->footer("Example:\n  tandorctl watch announce Local\\MyA Local\\MyB --for 60");
    announce->callback([options, &context] { Announce(context, *options); });
    watch->callback([watch, announce, options, &context] {
        if (announce->parsed()) return;
        for (const char* const name : {"NAME_A", "NAME_B"}) {
            if (watch->count(name) == 0) throw CLI::RequiredError(name);
        }
        Watch(context, *options);
    });
}

}  // namespace tandor::app
