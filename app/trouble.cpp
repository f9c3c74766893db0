#include "app/trouble.h"

#include <cstdio>
#include <filesystem>
#include <new>
#include <system_error>

#include "app/command.h"
#include "app/terminal.h"

namespace tandor::app {
namespace {

constexpr const char* kLookFurther = "try again with --follow to see what happened; 'tandorctl doctor' says what works";

// "what: why", as errors of the system are thrown here.
Trouble FromText(const std::string& text, const std::string& task) {
    const std::size_t colon = text.find(": ");
    if (colon == std::string::npos) return {task, text, kLookFurther};
    return {text.substr(0, colon), text.substr(colon + 2), kLookFurther};
}

}  // namespace

std::string Trouble::Text() const { return thing + ": " + cause + (remedy.empty() ? "" : "; " + remedy); }

CommandError::CommandError(const std::string& thing, const std::string& cause, const std::string& remedy)
    : std::runtime_error(Trouble{thing, cause, remedy}.Text()), trouble_{thing, cause, remedy} {}

Trouble TroubleOf(const std::exception& error, const std::string& task) {
    if (const auto* known = dynamic_cast<const CommandError*>(&error)) return known->What();
    if (const auto* file = dynamic_cast<const std::filesystem::filesystem_error*>(&error)) {
        return {TextOf(file->path1()), file->code().message(), "check that it exists and that you may use it"};
    }
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr)
        return {task, "there is not enough memory for it", "give it less at a time, or end other programs"};
    if (dynamic_cast<const std::range_error*>(&error) != nullptr)
        return {task, "it was given text that is not valid UTF-8", "save the text as UTF-8"};
    if (dynamic_cast<const std::system_error*>(&error) != nullptr) return FromText(error.what(), task);
    return {task, error.what(), kLookFurther};
}

void ShowTrouble(const Trouble& trouble, bool json) {
    const Json document{{"error", {{"thing", trouble.thing}, {"cause", trouble.cause}, {"remedy", trouble.remedy}}}};
    const std::string line = json ? document.dump(-1, ' ', false, Json::error_handler_t::replace)
                                  : Paint(Colour::kBad, "error:", stderr) + " " + trouble.Text();
    std::fprintf(stderr, "%s\n", line.c_str());
}

}  // namespace tandor::app
