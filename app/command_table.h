// All commands as a table for a page, made from the parser's own tree.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace tandor::app {

// A Markdown table for each group of commands: how each verb is called, what it does, an example of it.
std::string CommandTable(const CLI::App& app);

}  // namespace tandor::app
