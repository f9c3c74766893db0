#include "app/command_table.h"

#include <sstream>

#include "app/usage.h"

namespace tandor::app {
namespace {

// "[-n,--count N]", "CHANNEL", "[PATH ...]"
std::string Usage(const CLI::Option& option) {
    const bool positional = option.get_positional();
    std::string usage = option.get_name(positional, !positional);
    if (!positional && option.get_items_expected_max() > 0) usage += " " + ValueWord(option);
    if (option.get_items_expected_max() > 1) usage += " ...";
    return option.get_required() ? usage : "[" + usage + "]";
}

std::string Call(const CLI::App& command) {
    std::string call = PathOf(command).substr(1);
    for (const bool positional : {true, false}) {
        for (const CLI::Option* const option : command.get_options()) {
            if (option != command.get_help_ptr() && option->get_positional() == positional)
                call += " " + Usage(*option);
        }
    }
    return call;
}

// The first that the help shows.
std::string Example(const CLI::App& command) {
    std::istringstream footer(command.get_footer());
    for (std::string line; std::getline(footer, line);) {
        if (line.starts_with("  tandorctl ")) return line.substr(2);
    }
    return "";
}

// A bar would end the cell.
std::string Cell(const std::string& text) { return CLI::detail::find_and_replace(text, "|", "\\|"); }
std::string Code(const std::string& text) { return text.empty() ? text : "`" + Cell(text) + "`"; }

void AddRows(const CLI::App& command, std::string& table) {
    if (command.get_require_subcommand_min() == 0) {
        table += "| " + Code(Call(command)) + " | " + Cell(command.get_description()) + " | " + Code(Example(command)) +
                 " |\n";
    }
    for (const CLI::App* const verb : command.get_subcommands({})) AddRows(*verb, table);
}

}  // namespace

std::string CommandTable(const CLI::App& app) {
    std::string table, group;
    for (const CLI::App* const command : app.get_subcommands({})) {
        if (command->get_group() != group) {
            group = command->get_group();
            table += "\n| " + group + " | what it does | for example |\n|---|---|---|\n";
        }
        AddRows(*command, table);
    }
    return table.substr(1);
}

}  // namespace tandor::app
