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
                return known ? std::string()
                             : "'" + text + "' is not an address of https; write it whole, as https://host/path";
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

}  // namespace tandor::app
