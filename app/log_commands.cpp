#include <array>

#include "app/command.h"
#include "base/utf.h"
#include "pelora/file_info.h"
#include "pelora/log_service.h"
#include "tandor/logging.h"

namespace tandor::app {
namespace {

struct Channel {
    const char* name;
    const char* file;
};
constexpr std::array kChannels{
    Channel{"KoViewTandor", "C:\\ProgramData\\Comms\\Pelora\\log\\admin\\KoViewTandor.log"},
    Channel{"KoViewMirror", "C:\\ProgramData\\Comms\\Pelora\\log\\usr\\KoViewMirror.log"},
    Channel{"KoViewAccountCred", "C:\\ProgramData\\Comms\\Pelora\\log\\admin\\KoViewAccountCred.log"},
};

const Channel& FindChannel(const std::string& name) {
    const auto* const found =
        std::find_if(kChannels.begin(), kChannels.end(), [&](const Channel& c) { return c.name == name; });
    if (found == kChannels.end()) {
        throw CommandError("channel '" + name + "'", "there is no such channel",
                           "the channels are KoViewTandor, KoViewMirror and KoViewAccountCred");
    }
    return *found;
}

void List(const Context& context) {
    std::vector<std::vector<std::string>> rows{{"CHANNEL", "BYTES", "FILE"}};
    Json document = Json::array();
    for (const Channel& channel : kChannels) {
        std::error_code error;
        const auto size = std::filesystem::file_size(PathFrom(channel.file), error);
        rows.push_back({channel.name, error ? "none yet" : std::to_string(size), channel.file});
        document.push_back(
            {{"channel", channel.name}, {"bytes", error ? Json(nullptr) : Json(size)}, {"file", channel.file}});
    }
    const std::string host = FileInfo::GetPeloraCommDir() + "\\log\\host";
    if (context.json) return PrintJson({{"channels", document}, {"host_log_directory", host}});
    PrintTable(rows);
    PrintLine("The host logs, one for each process, are in " + host);
}

void Write(const std::string& name, int level, const std::string& text) {
    FindChannel(name);
    std::wstringstream message;
    message << WideFromUtf8Lossy(text);
    const Logger logger(name);
    logger.Log(static_cast<LOG_MESSAGE_LEVEL>(level), message);
}

void Show(const Context& context, const std::string& name, std::size_t count) {
    const Channel& channel = FindChannel(name);
    const std::string content = ReadInput(channel.file);
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
        "Example:\n  tandorctl log write KoViewTandor 'pairing began'\n  tandorctl log show KoViewTandor --lines 5");

    log->add_subcommand("list", "List the channels and their files")->callback([&] { List(context); });

    struct Options {
        std::string channel, text;
        int level = 3;
        std::size_t lines = 20;
    };
    const auto options = std::make_shared<Options>();
    CLI::App* const write = log->add_subcommand("write", "Write one line to a channel");
    write->add_option("CHANNEL", options->channel, "KoViewTandor, KoViewMirror or KoViewAccountCred")->required();
    write->add_option("TEXT", options->text, "The line")->required();
    write->add_option("--level", options->level, "3 information (default), 4 failure; 0 to 6")->check(CLI::Range(0, 6));
    write->callback([options] { Write(options->channel, options->level, options->text); });

    CLI::App* const show = log->add_subcommand("show", "Print the last lines of a channel");
    show->add_option("CHANNEL", options->channel, "KoViewTandor, KoViewMirror or KoViewAccountCred")->required();
    show->add_option("--lines", options->lines, "How many (default 20)");
    show->callback([options, &context] { Show(context, options->channel, options->lines); });
}

}  // namespace tandor::app
