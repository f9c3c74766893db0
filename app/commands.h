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

// The option --file, by which a command takes from a file or standard input what it else takes as arguments.
class FileInput {
public:
    // Adds it to the command. It excludes `arguments`, and without it all of them are required.
    FileInput(CLI::App& command, std::vector<CLI::Option*> arguments, const std::string& help);

    // Whether it stands there. Throws a usage error when neither it nor the arguments do.
    [[nodiscard]] bool IsGiven() const;
    // As ReadInput and ReadLines.
    [[nodiscard]] std::string Content() const { return ReadInput(file_); }
    [[nodiscard]] std::vector<std::string> Lines() const { return ReadLines(file_); }
    [[nodiscard]] const std::string& Name() const { return file_; }

private:
    std::string file_;
    std::vector<CLI::Option*> arguments_;
    CLI::Option* option_;
};

// The families of commands, each in its own file.
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
void AddQueueCommand(CLI::App& app, Context& context);
void AddWatchCommand(CLI::App& app, Context& context);
void AddLookCommands(CLI::App& app, Context& context);
void AddWindowsCommand(CLI::App& app, Context& context);
void AddConsoleCommands(CLI::App& app, Context& context);
void AddFirewallCommands(CLI::App& app, Context& context);
void AddDoctorCommand(CLI::App& app, Context& context);
void AddTourCommand(CLI::App& app, Context& context);
void AddCompletionCommand(CLI::App& app, Context& context);

}  // namespace tandor::app
