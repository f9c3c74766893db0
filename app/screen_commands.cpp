#include <fmt/format.h>

#include "app/commands.h"
#include "app/places.h"
#include "app/screen_view.h"
#include "tandor/screen_config.h"

namespace tandor::app {
namespace {

Json ListOf(const ExScreen::ResolutionList& list) {
    Json out = Json::array();
    for (const ExScreen::Resolution& one : list) out.push_back(fmt::format("{}x{}", one.width, one.height));
    return out;
}

Json TableOf(const ExScreen::ResolutionTable& table) {
    Json out = Json::object();
    for (const auto& [ratio, list] : table) out[ratio] = ListOf(list);
    return out;
}

std::string Joined(const Json& list) {
    std::string text;
    for (const Json& one : list) text += (text.empty() ? "" : ", ") + one.get<std::string>();
    return text.empty() ? "(none)" : text;
}

void AddLists(const ScreenSettings& settings, Json& document, std::vector<std::vector<std::string>>& rows) {
    document["mirror"] = ListOf(settings.mirror);
    document["extend"] = ListOf(settings.extend);
    document["monitor"] = TableOf(settings.monitor);
    document["pad"] = TableOf(settings.pad);
    for (const char* const name : {"mirror", "extend"}) {
        rows.push_back({fmt::format("resolutions, {}", name), Joined(document[name]),
                        document[name].empty() ? "default" : "file", ""});
    }
    for (const char* const name : {"monitor", "pad"}) {
        for (const auto& [ratio, list] : document[name].items()) {
            rows.push_back({fmt::format("resolutions, {}, {}", name, ratio), Joined(list), "file", ""});
        }
    }
}

struct Options {
    std::string device_type;
    std::string folder;
    std::vector<std::string> files;
};

std::filesystem::path Folder(const Options& options) {
    const std::filesystem::path folder = options.folder.empty() ? ProgramFolder() : PathFrom(options.folder);
    if (!std::filesystem::is_directory(folder)) {
        throw CommandError(options.folder, "there is no such folder",
                           "name the folder that holds config and cloundConfig");
    }
    return folder;
}

void Show(Context& context, const Options& options) {
    const std::string type = options.device_type.empty() ? ExScreen::ConfigMgr::GetDeviceType() : options.device_type;
    if (type.empty()) {
        throw CommandError("this PC's device type", "neither the registry nor the BIOS names one",
                           "give --device-type, or set the text value DeviceType under HKLM\\SOFTWARE\\Vextro\\Pelora");
    }
    ScreenView viewer(type, Folder(options));
    ScreenSettings settings;
    LoadScreenSettings(viewer, settings);

    std::vector<std::vector<std::string>> rows{{"VALUE", "ANSWER", "FROM", "LINE"}};
    Json values = Json::array();
    for (std::size_t i = 0; i < kScreenValues; ++i) {
        const auto value = static_cast<ScreenValue>(i);
        const StoredValue& stored = settings.Stored(value);
        const std::string line = stored.line == 0 ? "" : std::to_string(stored.line);
        rows.push_back({RuleOf(value).name, std::to_string(settings.Answer(value)), Origin(settings, value), line});
        values.push_back({{"name", RuleOf(value).name},
                          {"answer", settings.Answer(value)},
                          {"from", Origin(settings, value)},
                          {"line", stored.line}});
    }
    Json document{{"device_type", type}, {"folder", TextOf(Folder(options))}, {"values", values}};
    AddLists(settings, document, rows);
    document["messages"] = viewer.notes;
    for (const Json& note : viewer.notes) {
        if (note["level"] == static_cast<int>(LOG_MESSAGE_ERROR)) context.exit_code = 1;
    }
    if (context.json) return PrintJson(document);
    PrintLine(fmt::format("device type {}, files below {}", type, TextOf(Folder(options))));
    PrintTable(rows);
    for (const Json& note : viewer.notes) {
        if (note["level"] != static_cast<int>(LOG_MESSAGE_ERROR)) continue;
        PrintLine(fmt::format("{} ({})", note["text"].get<std::string>(), note["function"].get<std::string>()));
    }
}

void Check(Context& context, const Options& options) {
    std::vector<std::filesystem::path> files;
    for (const std::string& file : options.files) files.push_back(PathFrom(file));
    if (files.empty()) files = {Folder(options) / kScreenConfigFile, Folder(options) / kPadResolutionFile};
    Json problems = Json::array();
    for (const auto& file : files) {
        for (const Json& problem : ScreenProblems(file)) problems.push_back(problem);
    }
    context.exit_code = problems.empty() ? 0 : 1;
    if (context.json) return PrintJson({{"files", files.size()}, {"problems", problems}});
    for (const Json& problem : problems) {
        const int line = problem["line"].get<int>();
        PrintLine(fmt::format("{}:{} {}", problem["file"].get<std::string>(),
                              line == 0 ? "" : std::to_string(line) + ":", problem["problem"].get<std::string>()));
    }
    PrintLine(problems.empty() ? fmt::format("{} file(s) looked over, nothing to complain about", files.size())
                               : fmt::format("{} problem(s)", problems.size()));
}

}  // namespace

void AddScreenCommands(CLI::App& app, Context& context) {
    CLI::App* const screen = app.add_subcommand("screen", "The extended screen's configuration");
    screen->require_subcommand(1);
    screen->footer("Example:\n  tandorctl screen show --device-type PLR-W14A\n  tandorctl screen check");
    const auto options = std::make_shared<Options>();
    const auto add_folder = [&](CLI::App* command) {
        return command
            ->add_option("--config", options->folder,
                         "The folder that holds config and cloundConfig; tandorctl's own when left out")
            ->type_name("FOLDER");
    };

    CLI::App* const show = screen->add_subcommand("show", "Every value, with where it comes from");
    show->add_option("--device-type", options->device_type, "As if the PC were of this type");
    add_folder(show);
    show->footer(
        "FROM is file, default (the file does not say), out of range or unreadable (both answered with the default).\n"
        "Exit code 1 when a file could not be read.\nExample:\n  tandorctl screen show --device-type PLR-W14A");
    show->callback([options, &context] { Show(context, *options); });

    CLI::App* const check =
        screen->add_subcommand("check", "Look configuration files over and name each problem with its line");
    CLI::Option* const files = check->add_option("FILE", options->files, "The files; without one, both of the folder");
    add_folder(check)->excludes(files);
    check->footer("Exit code 1 when there are problems.\nExample:\n  tandorctl screen check VxExScreenConfig.xml");
    check->callback([options, &context] { Check(context, *options); });
}

}  // namespace tandor::app
