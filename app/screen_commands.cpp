#include <fmt/format.h>

#include "app/commands.h"
#include "app/places.h"
#include "app/screen_view.h"
#include "config/display_query.h"
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

struct ListRow {
    std::string label;
    const char* element;
    ScreenList which;
    Json list;
};

std::vector<ListRow> ListsOf(const ScreenSettings& settings) {
    std::vector<ListRow> rows{{"mirror", "Mirror", ScreenList::kMirror, ListOf(settings.mirror)},
                              {"extend", "Extend", ScreenList::kExtend, ListOf(settings.extend)}};
    for (const auto& [name, first, table] :
         {std::tuple("monitor", ScreenList::kMonitor, &settings.monitor), {"pad", ScreenList::kPad, &settings.pad}}) {
        for (std::size_t i = 0; i < kAspectRatios.size(); ++i) {
            const char* const key = kAspectRatios[i].key;
            const auto entry = table->find(key);
            rows.push_back({fmt::format("{}, {}", name, key), key,
                            static_cast<ScreenList>(static_cast<std::size_t>(first) + i),
                            entry == table->end() ? Json::array() : ListOf(entry->second)});
        }
    }
    return rows;
}

void AddLists(const ScreenSettings& settings, Json& document, std::vector<std::vector<std::string>>& rows) {
    document["mirror"] = ListOf(settings.mirror);
    document["extend"] = ListOf(settings.extend);
    document["monitor"] = TableOf(settings.monitor);
    document["pad"] = TableOf(settings.pad);
    Json& origins = document["lists"] = Json::array();
    const std::string file = TextOf(std::filesystem::path(kPadResolutionFile).filename());
    for (const ListRow& row : ListsOf(settings)) {
        Origin origin{"", "", settings.list_lines[static_cast<std::size_t>(row.which)]};
        if (origin.line != 0) origin.file = file;
        if (!settings.lists_read) {
            origin.why = file + " was not read";
        } else if (row.list.empty()) {
            origin.why = origin.line == 0 ? fmt::format("no <{}> in <{}>", row.element, SectionOf(row.which))
                                          : "no resolution in it";
        }
        origins.push_back({{"name", row.label}, {"file", origin.file}, {"line", origin.line}, {"why", origin.why}});
        rows.push_back({"resolutions, " + row.label, Joined(row.list), TextOf(origin)});
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
    const ScreenReading reading = LookAtScreen(Folder(options), type);
    const ScreenSettings& settings = reading.settings;
    std::vector<std::vector<std::string>> rows{{"VALUE", "ANSWER", "FROM"}};
    Json values = Json::array();
    for (std::size_t i = 0; i < kScreenValues; ++i) {
        const auto value = static_cast<ScreenValue>(i);
        const Origin origin = OriginOf(settings, value, type);
        rows.push_back({RuleOf(value).name, std::to_string(settings.Answer(value)), TextOf(origin)});
        values.push_back({{"name", RuleOf(value).name},
                          {"answer", settings.Answer(value)},
                          {"from", origin.why.empty() ? "file" : "default"},
                          {"file", origin.file},
                          {"line", origin.line},
                          {"why", origin.why}});
    }
    Json document{{"device_type", type}, {"folder", TextOf(Folder(options))}, {"values", values}};
    AddLists(settings, document, rows);
    document["messages"] = MessagesOf(reading, false);
    const Json failures = MessagesOf(reading, true);
    if (!failures.empty()) context.exit_code = 1;
    if (context.json) return PrintJson(document);
    PrintLine(fmt::format("device type {}, files below {}", type, TextOf(Folder(options))));
    PrintTable(rows);
    for (const Json& failure : failures) {
        PrintLine(fmt::format("{} ({})", failure["text"].get<std::string>(), failure["function"].get<std::string>()));
    }
}

void Horizontal(const Context& context) {
    const std::optional<ChosenDisplay> display = RecommendedDisplay();
    if (!display) {
        throw CommandError("the displays", "the system does not tell their configuration",
                           "run this in a session with a display");
    }
    constexpr const char* kBecause[] = {"the built-in one", "the one at the desktop's origin", "the first active one"};
    const char* const because = kBecause[static_cast<std::size_t>(display->because)];
    const bool horizontal = IsThreeByTwo(display->size);
    if (context.json) {
        return PrintJson({{"width", display->size.width},
                          {"height", display->size.height},
                          {"display", because},
                          {"horizontal", horizontal}});
    }
    PrintTable(
        {{"DISPLAY", "RECOMMENDED", "3:2 IN LANDSCAPE"},
         {because, fmt::format("{} x {}", display->size.width, display->size.height), horizontal ? "yes" : "no"}});
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
            ->add_option("--dir", options->folder,
                         "The folder that holds config and cloundConfig; tandorctl's own when left out")
            ->type_name("FOLDER");
    };

    CLI::App* const show = screen->add_subcommand("show", "Every value, with where it comes from");
    show->add_option("--device-type", options->device_type, "As if the PC were of this type");
    add_folder(show);
    show->footer(
        "FROM is the file and line, or why the default is answered.\n"
        "Exit code 1 when a file could not be read.\nExample:\n  tandorctl screen show --device-type PLR-W14A");
    show->callback([options, &context] { Show(context, *options); });

    CLI::App* const check =
        screen->add_subcommand("check", "Look configuration files over and name each problem with its line");
    CLI::Option* const files = check->add_option("FILE", options->files, "The files; without one, both of the folder");
    add_folder(check)->excludes(files);
    check->footer("Exit code 1 when there are problems.\nExample:\n  tandorctl screen check VxExScreenConfig.xml");
    check->callback([options, &context] { Check(context, *options); });

    CLI::App* const horizontal =
        screen->add_subcommand("horizontal", "Whether the display that counts is 3:2 in landscape");
    horizontal->footer(
        "Horizontal layouts count for such a display, vertical ones for every other. Exit code 1 when the system does "
        "not tell.\nExample:\n  tandorctl screen horizontal");
    horizontal->callback([&context] { Horizontal(context); });
}

}  // namespace tandor::app
