#include <algorithm>

#include "app/commands.h"
#include "app/log_follow.h"
#include "app/places.h"
#include "app/stop_signal.h"
#include "base/utf.h"
#include "pelora/log_service.h"
#include "tandor/logging.h"

namespace tandor::app {
namespace {

std::vector<std::string> ChannelNames() {
    std::vector<std::string> names;
    for (const LogChannel& one : LogChannels()) names.push_back(one.name);
    return names;
}

// A channel, or the host log of a process.
struct Log {
    std::string channel;
    unsigned long process = 0;
    std::size_t lines = 20;
    double seconds = 0;

    [[nodiscard]] std::filesystem::path File() const {
        if (process == 0) {
            if (channel.empty()) throw CLI::RequiredError("CHANNEL or --host");
            return std::ranges::find(LogChannels(), channel, &LogChannel::name)->file;  // the argument was checked
        }
        const std::filesystem::path file = HostLogFile(process);
        if (file.empty())
            throw CommandError("process " + std::to_string(process), "it has no host log",
                               "the files in " + TextOf(HostLogFolder()) + " are named by program and process");
        return file;
    }
};

void AddLog(CLI::App& command, Log& log) {
    CLI::Option* const channel =
        command.add_option("CHANNEL", log.channel, "The channel")->check(OneOf(ChannelNames()));
    command.add_option("--host", log.process, "Instead of a channel, the host log of the process with this number")
        ->type_name("PID")
        ->check(AtLeast(1))
        ->excludes(channel);
    command.add_option("-n,--count", log.lines, "How many of the last lines (default 20)")->check(AtLeast(0));
}

void List(const Context& context) {
    std::vector<std::vector<std::string>> rows{{"CHANNEL", "BYTES", "FILE"}};
    Json document = Json::array();
    for (const LogChannel& channel : LogChannels()) {
        std::error_code error;
        const auto size = std::filesystem::file_size(channel.file, error);
        rows.push_back({channel.name, error ? "none yet" : std::to_string(size), TextOf(channel.file)});
        document.push_back(
            {{"channel", channel.name}, {"bytes", error ? Json(nullptr) : Json(size)}, {"file", TextOf(channel.file)}});
    }
    const std::string host = TextOf(HostLogFolder());
    if (context.json) return PrintJson({{"channels", document}, {"host_log_folder", host}});
    PrintTable(rows);
    PrintLine("The host logs, one for each process, are in " + host);
}

struct WriteOptions {
    std::string channel, text;
    int level = LOG_MESSAGE_INFO;
};

void Write(const WriteOptions& options, const FileInput& input) {
    const std::vector<std::string> lines = input.IsGiven() ? input.Lines() : std::vector{options.text};
    const Logger logger(options.channel);
    for (const std::string& line : lines) {
        std::wstringstream message;
        message << WideFromUtf8Lossy(line);
        logger.Log(static_cast<LOG_MESSAGE_LEVEL>(options.level), message);
    }
}

void KeepLast(std::size_t count, std::vector<std::string>& lines) {
    lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(std::min(count, lines.size())));
}

void Show(const Context& context, const Log& log) {
    const std::filesystem::path file = log.File();
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored))
        throw CommandError(TextOf(file), "there is no such file", "a log begins with its first line");
    std::vector<std::string> lines = LogFollower(file).NewLines();
    KeepLast(log.lines, lines);
    if (context.json) return PrintJson({{"file", TextOf(file)}, {"lines", lines}});
    for (const std::string& line : lines) PrintLine(line);
}

void Follow(const Context& context, const Log& log) {
    constexpr unsigned kIntervalMilliseconds = 200;
    LogFollower follower(log.File());
    std::vector<std::string> lines = follower.NewLines();
    KeepLast(log.lines, lines);
    const StopSignal stop(log.seconds);
    for (bool ended = false;; lines = follower.NewLines()) {
        for (const std::string& line : lines) {
            PrintLine(context.json ? Json{{"line", line}}.dump(-1, ' ', false, Json::error_handler_t::replace) : line);
        }
        std::fflush(stdout);
        if (ended) return;
        ended = stop.WaitFor(kIntervalMilliseconds);
    }
}

void AddWrite(CLI::App& log, Context&) {
    const auto options = std::make_shared<WriteOptions>();
    CLI::App* const write = log.add_subcommand("write", "Write one line to a channel, or each line of a file");
    write->add_option("CHANNEL", options->channel, "The channel")->required()->check(OneOf(ChannelNames()));
    CLI::Option* const text = write->add_option("TEXT", options->text, "The line");
    const auto input = std::make_shared<FileInput>(*write, std::vector{text},
                                                   "Write the lines of this file instead; - is standard input");
    write
        ->add_option("--level", options->level,
                     "3 information (default), 4 failure, 5 critical; the files take no other")
        ->check(CLI::Range(3, 5));
    write->footer(
        "Example:\n  tandorctl log write KoViewTandor \"pairing began\" --level 3\n"
        "  tandorctl log write KoViewTandor --file notes.txt");
    write->callback([options, input] { Write(*options, *input); });
}

void AddReading(CLI::App& log, Context& context) {
    const auto options = std::make_shared<Log>();
    CLI::App* const show = log.add_subcommand("show", "Print the last lines of a log");
    AddLog(*show, *options);
    show->footer("Example:\n  tandorctl log show KoViewTandor --count 5\n  tandorctl log show --host 4711");
    show->callback([options, &context] { Show(context, *options); });

    CLI::App* const follow = log.add_subcommand("follow", "Print the last lines of a log, and each that comes");
    AddLog(*follow, *options);
    follow->add_option("--for", options->seconds, "End by itself after so many seconds")
        ->check(AtLeast(0))
        ->type_name("SECONDS");
    follow->footer(
        "Until Ctrl-C, also through the renames of a full file. With --json, one object for each line.\nExample:\n"
        "  tandorctl log follow KoViewTandor --count 5 --for 60");
    follow->callback([options, &context] { Follow(context, *options); });
}

}  // namespace

void AddLogCommands(CLI::App& app, Context& context) {
    CLI::App* const log = app.add_subcommand("log", "Log files: where they are, what they hold, writing to them");
    log->require_subcommand(1);
    log->footer("Example:\n  tandorctl log write KoViewTandor \"pairing began\"\n  tandorctl log follow KoViewTandor");

    CLI::App* const list = log->add_subcommand("list", "List the channels and their files");
    list->footer("Example:\n  tandorctl log list");
    list->callback([&] { List(context); });

    AddWrite(*log, context);
    AddReading(*log, context);
}

}  // namespace tandor::app
