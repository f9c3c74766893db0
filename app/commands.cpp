#include "app/commands.h"

#include <algorithm>
#include <filesystem>

namespace tandor::app {

CLI::Validator FileThatIsThere() {
    return {[](const std::string& text) {
                std::error_code ignored;
                return std::filesystem::is_regular_file(PathFrom(text), ignored) ? std::string()
                                                                                 : "'" + text + "' is not a file";
            },
            "FILE"};
}

CLI::Validator WebAddress() {
    return {[](const std::string& text) {
                const bool known = (text.starts_with("https://") && text.size() > 8) ||
                                   (text.starts_with("http://") && text.size() > 7);
                return known
                           ? std::string()
                           : "'" + text + "' is not the address of a web server; write it whole, as https://host/path";
            },
            "URL"};
}

CLI::Validator NotEmpty() {
    return {[](const std::string& text) { return text.empty() ? std::string("it is empty") : std::string(); }, ""};
}

CLI::Validator AtLeast(long long least) {
    return {[least](const std::string& text) {
                double number = 0;
                const bool good =
                    CLI::detail::lexical_cast(text, number) && number >= static_cast<double>(least) && number < 1e15;
                return good ? std::string() : "'" + text + "' is not a number of at least " + std::to_string(least);
            },
            ""};
}

CLI::Validator OneOf(const std::vector<std::string>& words) {
    return {[words](const std::string& text) {
                const bool known = std::ranges::find(words, text) != words.end();
                return known ? std::string() : "'" + text + "' is not one of " + CLI::detail::join(words, ", ");
            },
            "{" + CLI::detail::join(words, ",") + "}"};
}

FileInput::FileInput(CLI::App& command, std::vector<CLI::Option*> arguments, const std::string& help)
    : arguments_(std::move(arguments)), option_(command.add_option("--file", file_, help)->type_name("FILE")) {
    for (CLI::Option* const argument : arguments_) option_->excludes(argument);
}

bool FileInput::IsGiven() const {
    if (option_->count() > 0) return true;
    std::string names;
    for (const CLI::Option* const argument : arguments_) names += argument->get_name(true) + " ";
    if (std::ranges::any_of(arguments_, [](const CLI::Option* argument) { return argument->count() == 0; }))
        throw CLI::RequiredError(names + "or --file");
    return false;
}

}  // namespace tandor::app
