#include "app/usage.h"

#include <algorithm>
#include <numeric>
#include <sstream>
#include <utility>

namespace tandor::app {
namespace {

constexpr std::size_t kLineLength = 79;  // a terminal of 80 wraps after its last column
constexpr std::size_t kGroup = 2, kName = 12, kText = 23, kOptionText = 30;  // columns

// `left` in column 2 and the text from `column` on, broken where the line ends.
std::string Row(const std::string& left, const std::string& text, std::size_t column) {
    std::string row = "  " + left;
    if (row.size() >= column) row += '\n' + std::string(column, ' ');
    const auto begin = row.rfind('\n') + 1;
    row.resize(std::max(row.size(), begin + column), ' ');
    std::size_t used = column;
    std::istringstream words(text);
    for (std::string word; words >> word; used += word.size() + 1) {
        if (used > column && used + word.size() > kLineLength) {
            row.back() = '\n';
            row += std::string(column, ' ');
            used = column;
        }
        row += word + " ";
    }
    return row.substr(0, row.find_last_not_of(' ') + 1) + "\n";
}

class Format final : public CLI::Formatter {
public:
    std::string make_option_opts(const CLI::Option* option) const override {
        if (option->get_type_size() == 0) return "";
        const bool set = !WordsOf(*option).empty();
        const std::string word = option->get_positional() && !set ? "" : " " + ValueWord(*option);
        const bool many = option->get_items_expected_max() > 1;
        return word + (many ? " ..." : "") + (option->get_required() && !option->get_positional() ? " (required)" : "");
    }

    std::string make_option(const CLI::Option* option, bool positional) const override {
        return Row(make_option_name(option, positional) + make_option_opts(option), make_option_desc(option),
                   kOptionText);
    }

    std::string make_subcommands(const CLI::App* command, CLI::AppFormatMode) const override {
        const bool grouped = command->get_parent() == nullptr;
        std::string text, group;
        for (const CLI::App* const verb : command->get_subcommands({})) {
            std::string left = verb->get_name();
            if (grouped) left = std::string(kName - kGroup, ' ') + left;
            if (grouped && group != verb->get_group()) left.replace(0, verb->get_group().size(), verb->get_group());
            group = verb->get_group();
            // One screen has room for what stands before a colon.
            const std::string about = verb->get_description();
            text += grouped ? Row(left, about.substr(0, about.find(": ")), kText) : Row(left, about, kOptionText);
        }
        return text.empty() ? text : "\nCommands:\n" + text;
    }

    // Before the footer, the options that may stand here as well because every command above has them.
    std::string make_footer(const CLI::App* command) const override {
        std::string inherited;
        for (const CLI::App* level = command->get_parent(); level != nullptr; level = level->get_parent()) {
            if (level->get_require_subcommand_min() == 0) continue;
            for (const CLI::Option* const option : level->get_options()) {
                const bool once = option == level->get_help_ptr() || option->check_lname("version");
                const bool hidden = command->get_option_no_throw(option->get_name()) != nullptr;  // by one of its own
                if (!once && !hidden) inherited += make_option(option, false);
            }
        }
        return (inherited.empty() ? "" : "Options of the commands above:\n" + inherited + "\n") +
               Formatter::make_footer(command);
    }
};

// How many letters must be put in, taken out or changed.
std::size_t Distance(const std::string& left, const std::string& right) {
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < right.size(); ++j) {
            const std::size_t changed = diagonal + (left[i] == right[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

std::string Suggestion(const std::string& word, const std::vector<std::string>& known) {
    const auto closer = [&](const auto& left, const auto& right) {
        return Distance(word, left) < Distance(word, right);
    };
    const auto nearest = std::ranges::min_element(known, closer);
    if (nearest == known.end() || Distance(word, *nearest) > (word.size() + 2) / 3) return "";
    return "; perhaps '" + *nearest + "' is meant";
}

std::vector<std::string> VerbsOf(const CLI::App& command) {
    std::vector<std::string> verbs;
    for (const CLI::App* const verb : command.get_subcommands(nullptr)) verbs.push_back(verb->get_name());
    return verbs;
}

std::string Unknown(const CLI::App& command, const std::string& word) {
    if (word.starts_with("-")) {
        std::vector<std::string> options;
        for (const CLI::App* level = &command; level != nullptr; level = level->get_parent()) {
            for (const CLI::Option* const option : level->get_options()) {
                if (!option->get_lnames().empty()) options.push_back("--" + option->get_lnames().front());
            }
        }
        return "'" + word + "': there is no such option" + Suggestion(word, options) +
               "; a value that begins with - goes behind --";
    }
    const std::vector<std::string> verbs = VerbsOf(command);
    if (verbs.empty()) return "'" + word + "': that is one argument too many";
    return "'" + word + "': there is no such command" + Suggestion(word, verbs);
}

// "Could not convert: --lines = abc" and its like are the parser's words.
std::string ConversionText(std::string text) {
    const std::size_t begin = text.find(": "), sign = text.find(" = ");
    if (begin == std::string::npos || sign == std::string::npos || sign < begin) return text;
    return text.substr(begin + 2, sign - begin - 2) + ": '" + text.substr(sign + 3) +
           "' is not a number, or one that is too large";
}

}  // namespace

std::string ValueWord(const CLI::Option& option) {
    const std::vector<std::string> words = WordsOf(option);
    if (!words.empty()) return "{" + CLI::detail::join(words, ",") + "}";
    const std::string type = option.get_type_name();
    std::size_t end = type.find(':');  // behind it stands what a check calls its values; a word may have one too
    while (end != std::string::npos && type.substr(end + 1, 1) == " ") end = type.find(':', end + 1);
    const std::string word = type.substr(0, end);
    const std::size_t range = type.find(" in [");
    const bool number = word == "INT" || word == "UINT" || word == "FLOAT";
    return (number ? "N" : word) + (range == std::string::npos ? "" : type.substr(range));
}

std::shared_ptr<CLI::FormatterBase> HelpFormat() {
    const auto format = std::make_shared<Format>();
    format->label("Positionals", "Arguments");
    format->label("SUBCOMMAND", "COMMAND");
    format->label("SUBCOMMANDS", "COMMAND");
    return format;
}

std::vector<std::string> WordsOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t begin = type.find('{'), end = type.find('}');
    if (begin == std::string::npos || end == std::string::npos || end < begin) return {};
    return CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
}

const CLI::App& Reached(const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    return chosen.empty() ? app : Reached(*chosen.front());
}

std::string PathOf(const CLI::App& command) {
    return command.get_parent() == nullptr ? "" : PathOf(*command.get_parent()) + " " + command.get_name();
}

Trouble UsageError(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App& command = Reached(app);
    std::vector<std::string> unknown = app.remaining(true);
    std::erase(unknown, "--");
    const std::string what = error.what();
    std::string text = what;
    if (!unknown.empty()) {
        text = Unknown(command, unknown.front());
    } else if (error.get_name() == "ConversionError") {
        text = ConversionText(what);
    } else if (what.starts_with("A subcommand")) {
        text = "'tandorctl" + PathOf(command) + "' needs one of " + CLI::detail::join(VerbsOf(command), ", ");
    }
    const std::string remedy = "see 'tandorctl" + PathOf(command) + " --help'";
    const std::size_t colon = text.find(": ");
    if (colon == std::string::npos) return {"the command line", text, remedy};
    return {text.substr(0, colon), text.substr(colon + 2), remedy};
}

}  // namespace tandor::app
