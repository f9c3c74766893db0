// files and cmdline: looking at what other processes do.
#include <fmt/format.h>
#include <windows.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <memory>

#include "app/commands.h"
#include "app/processes.h"
#include "base/utf.h"
#include "base/win_error.h"
#include "base/win_handle.h"
#include "tandor/state_watch.h"

namespace tandor::app {
namespace {

using Outcome = TdOpenFile::Outcome;

std::string Reason(const TdOpenFile& file) {
    switch (file.outcome) {
        case Outcome::kNamed:
            return {};
        case Outcome::kNotDuplicated:
            return "not looked at: " + WindowsErrorText(file.error);
        case Outcome::kNotOnDisk:
            return "a pipe or a device, whose name is never asked for because that can wait for ever";
        case Outcome::kNoName:
            return "on a disk, but without a name: " + WindowsErrorText(file.error);
    }
    return {};
}

Json JsonOf(const TdOpenFile& file) {
    if (file.outcome != Outcome::kNamed) return {{"handle", file.handle}, {"not_looked_at", Reason(file)}};
    return {{"handle", file.handle}, {"directory", file.is_directory}, {"path", Utf8FromWideLossy(file.path)}};
}

void ShowFiles(const std::vector<TdOpenFile>& files) {
    std::vector<std::vector<std::string>> rows{{"HANDLE", "KIND", "PATH"}};
    std::map<std::string, std::vector<std::string>> reasons;
    for (const TdOpenFile& file : files) {
        const std::string number = fmt::format("0x{:X}", file.handle);
        if (file.outcome == Outcome::kNamed) {
            rows.push_back({number, file.is_directory ? "directory" : "file", Utf8FromWideLossy(file.path)});
        } else {
            reasons[Reason(file)].push_back(number);
        }
    }
    PrintTable(rows);
    PrintLine(fmt::format("{} of {} file handles are files or directories on a disk", rows.size() - 1, files.size()));
    PrintNotLookedAt(reasons);
}

CommandError NoProcess(unsigned long process) {
    return {fmt::format("process {}", process), "there is none with this number",
            "the task manager and 'tasklist' show the numbers"};
}

// Throws CommandError for a process that may not be looked into.
std::vector<TdOpenFile> FilesOf(unsigned long process) {
    std::vector<TdOpenFile> files;
    const unsigned long error = TdOpenFiles::List(process, files);
    if (error == ERROR_INVALID_PARAMETER) throw NoProcess(process);
    if (error == ERROR_SUCCESS) return files;
    throw CommandError(fmt::format("process {}", process), WindowsErrorText(error),
                       "processes of other users need an administrator");
}

Json JsonOf(unsigned long process, const std::vector<TdOpenFile>& files) {
    Json list = Json::array();
    for (const TdOpenFile& file : files) list.push_back(JsonOf(file));
    return {{"process", process}, {"handles", list}};
}

// Several processes may have one name, and some of them may be closed to us.
void FilesOfAll(Context& context, const std::string& name) {
    const std::vector<RunningProcess> processes = ProcessesNamed(WideFromUtf8(name));
    if (processes.empty())
        throw CommandError("process '" + name + "'", "no program of this name is running",
                           "start it, or name one by its number");
    Json list = Json::array();
    std::size_t closed = 0;
    for (const RunningProcess& process : processes) {
        if (!context.json) PrintLine(fmt::format("process {}, {}", process.id, Utf8FromWideLossy(process.program)));
        try {
            const std::vector<TdOpenFile> files = FilesOf(process.id);
            context.json ? list.push_back(JsonOf(process.id, files)) : ShowFiles(files);
        } catch (const CommandError& error) {
            ++closed;
            if (!context.json) PrintLine(std::string("not looked at: ") + error.what());
            list.push_back({{"process", process.id}, {"not_looked_at", error.what()}});
        }
    }
    if (context.json) PrintJson({{"processes", list}});
    if (!context.json)
        PrintLine(fmt::format("{} of {} processes looked at", processes.size() - closed, processes.size()));
    if (closed == processes.size()) context.exit_code = 1;
}

void Files(Context& context, const std::string& process) {
    unsigned long id = 0;
    const char* const end = process.data() + process.size();
    if (const auto [rest, error] = std::from_chars(process.data(), end, id); rest != end || error != std::errc())
        return FilesOfAll(context, process);
    const std::vector<TdOpenFile> files = FilesOf(id);
    context.json ? PrintJson({{"processes", Json::array({JsonOf(id, files)})}}) : ShowFiles(files);
}

void CommandLine(const Context& context, unsigned long process) {
    const std::unique_ptr<TdProcessDetectorInterface> detector(TdProcessDetectorFactory::Create());
    std::wstring line;
    if (detector == nullptr || detector->GetProcessCmdline(process, line) != 1) {
        const KernelHandle handle(::OpenProcess(SYNCHRONIZE, FALSE, process));
        if (!handle && ::GetLastError() == ERROR_INVALID_PARAMETER) throw NoProcess(process);
        throw CommandError(fmt::format("process {}", process), "its command line cannot be read",
                           "processes of other users need an administrator; --follow shows which step failed");
    }
    if (context.json) return PrintJson({{"process", process}, {"command_line", Utf8FromWideLossy(line)}});
    PrintLine(Utf8FromWideLossy(line));
}

}  // namespace

void AddLookCommands(CLI::App& app, Context& context) {
    const auto target = std::make_shared<std::string>();
    CLI::App* const files = app.add_subcommand("files", "The files and directories that a process holds open");
    files->add_option("PROCESS", *target, "The process's number, or its program's name")->required()->check(NotEmpty());
    files->footer(
        "Says also what could not be looked at, and why. A name stands for all processes of that program.\n"
        "Example:\n  tandorctl files 4711\n  tandorctl files explorer");
    files->callback([target, &context] { Files(context, *target); });

    const auto process = std::make_shared<unsigned long>(0);
    CLI::App* const cmdline = app.add_subcommand("cmdline", "The command line that a process was started with");
    cmdline->add_option("PID", *process, "The process's number")->required()->check(AtLeast(0));
    cmdline->footer("Example:\n  tandorctl cmdline 4711");
    cmdline->callback([process, &context] { CommandLine(context, *process); });
}

}  // namespace tandor::app
