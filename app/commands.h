// The families of commands, and what their options have in common. Apart from command.h because the parser's header
// costs every file that includes it seconds of compiling.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

#include "app/command.h"

namespace tandor::app {

// What options and arguments must be; anything else is a usage error. In order: a file that is there, whatever letters
// its name has; the whole address of a web server; not empty; a number that is not below `least`; one of these words.
CLI::Validator FileThatIsThere();
CLI::Validator WebAddress();
CLI::Validator NotEmpty();
CLI::Validator AtLeast(long long least);
CLI::Validator OneOf(const std::vector<std::string>& words);

// The families of commands, each in its own file, in the order of the help.
void AddLogCommands(CLI::App& app, Context& context);
void AddTextCommands(CLI::App& app, Context& context);
void AddVersionCommands(CLI::App& app, Context& context);
void AddClassifyCommand(CLI::App& app, Context& context);
void AddDeviceCommands(CLI::App& app, Context& context);
void AddScreenCommands(CLI::App& app, Context& context);
void AddPanelCommand(CLI::App& app, Context& context);
void AddHashCommand(CLI::App& app, Context& context);
void AddSealCommands(CLI::App& app, Context& context);
void AddFetchCommand(CLI::App& app, Context& context);
void AddReportCommands(CLI::App& app, Context& context);
void AddOutboxCommands(CLI::App& app, Context& context);
void AddIpcCommands(CLI::App& app, Context& context);
void AddQueueCommand(CLI::App& app, Context& context);
void AddWatchCommand(CLI::App& app, Context& context);
void AddLookCommands(CLI::App& app, Context& context);
void AddConsoleCommands(CLI::App& app, Context& context);
void AddFirewallCommands(CLI::App& app, Context& context);
void AddDoctorCommand(CLI::App& app, Context& context);
void AddTourCommand(CLI::App& app, Context& context);
void AddCompletionCommand(CLI::App& app, Context& context);

}  // namespace tandor::app
