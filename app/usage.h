// How tandorctl shows its help, and what it says of arguments that it does not understand.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

#include "app/trouble.h"

namespace tandor::app {

// Help with one word for one idea: FILE, N, TEXT and so on, fixed sets as {a,b}, ranges as they are. The program's own
// help is one screen: each group of commands with its name beside the first of them.
std::shared_ptr<CLI::FormatterBase> HelpFormat();

// What stands for the option's value in a usage line: "FILE", "N", "{a,b}".
std::string ValueWord(const CLI::Option& option);

// The words that the option or argument takes, when they are a fixed set.
std::vector<std::string> WordsOf(const CLI::Option& option);

// The command that was reached: "text base64" of "tandorctl text base64 --bogus".
const CLI::App& Reached(const CLI::App& app);

// " text base64" for that command, nothing for the program itself.
std::string PathOf(const CLI::App& command);

// What was wrong with the command line; the remedy is the help of the command that was reached.
Trouble UsageError(const CLI::App& app, const CLI::ParseError& error);

}  // namespace tandor::app
