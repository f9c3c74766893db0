#include <algorithm>

#include "app/commands.h"
#include "app/places.h"
#include "base/utf.h"
#include "pelora/log_service.h"
#include "tandor/logging.h"

namespace tandor::app {
namespace {

const LogChannel& FindChannel(const std::string& name) {
    return *std::ranges::find(LogChannels(), name, &LogChannel::name);  // the argument was checked
}

// The argument that names a channel.
void AddChannel(CLI::App& command, std::string& channel) {
    std::vector<std::string> names;
    for (const LogChannel& one : LogChannels()) names.push_back(one.name);
    command.add_option("CHANNEL", channel, "The channel")->required()->check(OneOf(names));
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
    if (context.json) return PrintJson({{"channels", document}, {"host_log_directory", host}});
    PrintTable(rows);
    PrintLine("The host logs, one for each process, are in " + host);
}

void Write(const std::string& name, int level, const std::string& text) {
    std::wstringstream message;
    message << WideFromUtf8Lossy(text);
    const Logger logger(name);
    logger.Log(static_cast<LOG_MESSAGE_LEVEL>(level), message);
}

void Show(const Context& context, const std::string& name, std::size_t count) {
    const std::string content = ReadInput(TextOf(FindChannel(name).file));
    std::vector<std::string> lines;
    for (std::size_t begin = 0, end = 0; (end = content.find("\r\n", begin)) != std::string::npos; begin = end + 2) {
        lines.push_back(content.substr(begin, end - begin));
    }
    lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(std::min(count, lines.size())));
    if (context.json) return PrintJson(lines);
    for (const std::string& line : lines) PrintLine(line);
}

}  // namespace

void AddLogCommands(CLI::App& app, Context& context) {
    CLI::App* const log =
        app.add_subcommand("log", "Channel log files: where they are, what they hold, writing to them");
    log->require_subcommand(1);
    log->footer(
        "Example:\n  tandorctl log write KoViewTandor \"pairing began\"\n  tandorctl log show KoViewTandor --count 5");

    CLI::App* const list = log->add_subcommand("list", "List the channels and their files");
    list->footer("Example:\n  tandorctl log list");
    list->callback([&] { List(context); });

    struct Options {
        std::string channel, text;
        int level = 3;
        std::size_t lines = 20;
    };
    const auto options = std::make_shared<Options>();
    CLI::App* const write = log->add_subcommand("write", "Write one line to a channel");
    AddChannel(*write, options->channel);
    write->add_option("TEXT", options->text, "The line")->required();
    write->add_option("--level", options->level, "3 information (default), 4 failure; 0 to 6")->check(CLI::Range(0, 6));
    write->footer("Example:\n  tandorctl log write KoViewTandor \"pairing began\" --level 3");
    write->callback([options] { Write(options->channel, options->level, options->text); });

    CLI::App* const show = log->add_subcommand("show", "Print the last lines of a channel");
    AddChannel(*show, options->channel);
    show->add_option("-n,--count", options->lines, "How many (default 20)")->check(AtLeast(0));
    show->footer("Example:\n  tandorctl log show KoViewTandor --count 5");
    show->callback([options, &context] { Show(context, options->channel, options->lines); });
}

}  // namespace tandor::app
