// files, process and windows: looking at what other processes do.
#include <fmt/format.h>
#include <windows.h>

#include <algorithm>
#include <map>
#include <memory>

#include "app/commands.h"
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
    std::map<std::string, std::size_t> reasons;
    for (const TdOpenFile& file : files) {
        if (file.outcome == Outcome::kNamed) {
            rows.push_back({fmt::format("0x{:X}", file.handle), file.is_directory ? "directory" : "file",
                            Utf8FromWideLossy(file.path)});
        } else {
            ++reasons[Reason(file)];
        }
    }
    PrintTable(rows);
    PrintLine(fmt::format("{} of {} file handles are files or directories on a disk", rows.size() - 1, files.size()));
    for (const auto& [reason, count] : reasons) PrintLine(fmt::format("{} more: {}", count, reason));
}

CommandError NoProcess(unsigned long process) {
    return {fmt::format("process {}", process), "there is none with this number",
            "the task manager and 'tasklist' show the numbers"};
}

void Files(const Context& context, unsigned long process) {
    std::vector<TdOpenFile> files;
    const unsigned long error = TdOpenFiles::List(process, files);
    if (error == ERROR_INVALID_PARAMETER) throw NoProcess(process);
    if (error != ERROR_SUCCESS) {
        throw CommandError(fmt::format("process {}", process), WindowsErrorText(error),
                           "processes of other users need an administrator");
    }
    if (!context.json) return ShowFiles(files);
    Json list = Json::array();
    for (const TdOpenFile& file : files) list.push_back(JsonOf(file));
    PrintJson({{"process", process}, {"handles", list}});
}

void Process(const Context& context, unsigned long process) {
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

struct WindowOptions {
    bool tree = false;
    std::string of;
    bool thread = false;
};

HWND RootOf(const WindowOptions& options) {
    if (options.of.empty()) return ::GetDesktopWindow();
    std::size_t used = 0;
    unsigned long long value = 0;
    try {
        value = std::stoull(options.of, &used, 0);
    } catch (const std::logic_error&) {
        used = 0;
    }
    const HWND window = reinterpret_cast<HWND>(value);
    if (used == 0 || used != options.of.size() || ::IsWindow(window) == 0) {
        throw CommandError("window '" + options.of + "'", "there is none with this number",
                           "tandorctl windows --tree shows the numbers");
    }
    return window;
}

struct Window {
    HWND handle;
    std::size_t depth;
};

// The system's walk comes to every descendant; without `tree` the first level stays.
std::vector<Window> Collect(HWND root, const WindowOptions& options) {
    std::vector<Window> windows;
    const std::unique_ptr<TdWindowDetectorInterface> detector(TdWindowDetectorFactory::Create());
    if (detector == nullptr) throw std::bad_alloc();
    const auto depth_of = [&](HWND window) {
        std::size_t depth = 0;
        for (HWND up = ::GetAncestor(window, GA_PARENT); up != nullptr && up != root; up = ::GetAncestor(up, GA_PARENT))
            ++depth;
        return depth;
    };
    // Of a thread, the root is not above its windows: their depth is counted from the desktop's.
    const std::size_t base = options.thread ? 1 : 0;
    const TdWindowEnumOptions walk{.recurse = options.thread && options.tree ? 1u : 0u,
                                   .mode = options.thread ? 1u : 0u};
    detector->EnumWindow(root, walk, [&](HWND window) {
        const std::size_t depth = std::max(depth_of(window), base) - base;
        const bool known = std::ranges::any_of(windows, [&](const Window& one) { return one.handle == window; });
        if (!known && (options.tree || depth == 0)) windows.push_back({window, depth});
        return false;
    });
    return windows;
}

template <class Read>
std::string TextOfWindow(HWND window, Read read) {
    wchar_t text[512];
    const int length = read(window, text, static_cast<int>(std::size(text)));
    return Utf8FromWideLossy({text, static_cast<std::size_t>(std::max(length, 0))});
}

void Windows(const Context& context, const WindowOptions& options) {
    std::vector<std::vector<std::string>> rows{{"WINDOW", "PROCESS", "SHOWN", "CLASS", "TEXT"}};
    Json list = Json::array();
    for (const Window& window : Collect(RootOf(options), options)) {
        DWORD process = 0;
        ::GetWindowThreadProcessId(window.handle, &process);
        const std::string number = fmt::format("0x{:X}", reinterpret_cast<std::uintptr_t>(window.handle));
        const bool shown = ::IsWindowVisible(window.handle) != 0;
        const std::string kind = TextOfWindow(window.handle, ::GetClassNameW);
        const std::string text = TextOfWindow(window.handle, ::GetWindowTextW);
        rows.push_back(
            {std::string(2 * window.depth, ' ') + number, std::to_string(process), shown ? "yes" : "no", kind, text});
        list.push_back({{"window", number},
                        {"depth", window.depth},
                        {"process", process},
                        {"shown", shown},
                        {"class", kind},
                        {"text", text}});
    }
    context.json ? PrintJson(list) : PrintTable(rows);
}

}  // namespace

void AddLookCommands(CLI::App& app, Context& context) {
    const auto process_id = std::make_shared<unsigned long>(0);
    CLI::App* const files = app.add_subcommand("files", "The files and directories that a process holds open");
    files->add_option("PID", *process_id, "The process's number")->required()->check(AtLeast(0));
    files->footer("Says also what could not be looked at, and why.\nExample:\n  tandorctl files 4711");
    files->callback([process_id, &context] { Files(context, *process_id); });

    CLI::App* const process = app.add_subcommand("process", "The command line that a process was started with");
    process->add_option("PID", *process_id, "The process's number")->required()->check(AtLeast(0));
    process->footer("Example:\n  tandorctl process 4711");
    process->callback([process_id, &context] { Process(context, *process_id); });

    const auto options = std::make_shared<WindowOptions>();
    CLI::App* const windows = app.add_subcommand("windows", "The windows on the desktop, or of one window or thread");
    windows->add_flag("--tree", options->tree, "With the windows inside them");
    windows->add_option("--of", options->of, "The windows inside this one (a number as shown)")->type_name("WINDOW");
    windows->add_flag("--thread", options->thread, "With --of: the top-level windows of that window's thread")
        ->needs("--of");
    windows->footer("Example:\n  tandorctl windows --tree\n  tandorctl windows --of 0x10078 --thread");
    windows->callback([options, &context] { Windows(context, *options); });
}

}  // namespace tandor::app
