// windows: the windows on the desktop, of one window or of a thread.
#include <fmt/format.h>
#include <windows.h>

#include <algorithm>
#include <map>
#include <memory>

#include "app/commands.h"
#include "base/utf.h"
#include "base/win_error.h"
#include "tandor/state_watch.h"

namespace tandor::app {
namespace {

struct WindowOptions {
    bool tree = false;
    std::string of;
    bool thread = false;
};

HWND RootOf(const WindowOptions& options) {
    if (options.of.empty() && !options.thread) return ::GetDesktopWindow();
    if (options.of.empty()) {
        if (const HWND front = ::GetForegroundWindow(); front != nullptr) return front;
        throw CommandError("the window in the foreground", "there is none", "name a window with --of");
    }
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
                           "tandorctl windows list --tree shows the numbers");
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

std::string NumberOf(HWND window) { return fmt::format("0x{:X}", reinterpret_cast<std::uintptr_t>(window)); }

template <class Read>
std::string TextOfWindow(HWND window, Read read) {
    wchar_t text[512];
    const int length = read(window, text, static_cast<int>(std::size(text)));
    return Utf8FromWideLossy({text, static_cast<std::size_t>(std::max(length, 0))});
}

// A window may go away while it is looked at. What there is then to say of it is why.
Json LookAt(const Window& window) {
    DWORD process = 0;
    ::GetWindowThreadProcessId(window.handle, &process);
    const std::string kind = TextOfWindow(window.handle, ::GetClassNameW);
    const DWORD error = ::GetLastError();
    Json seen{{"window", NumberOf(window.handle)},
              {"depth", window.depth},
              {"process", process},
              {"shown", ::IsWindowVisible(window.handle) != 0},
              {"class", kind},
              {"text", TextOfWindow(window.handle, ::GetWindowTextW)}};
    if (::IsWindow(window.handle) == 0)
        return {{"window", NumberOf(window.handle)}, {"not_looked_at", "it was closed meanwhile"}};
    if (process == 0 || kind.empty())
        return {{"window", NumberOf(window.handle)}, {"not_looked_at", WindowsErrorText(error)}};
    return seen;
}

void ShowWindows(const std::vector<Json>& windows) {
    std::vector<std::vector<std::string>> rows{{"WINDOW", "PROCESS", "SHOWN", "CLASS", "TEXT"}};
    std::map<std::string, std::vector<std::string>> reasons;
    for (const Json& one : windows) {
        const std::string number = one["window"];
        if (one.contains("not_looked_at")) {
            reasons[one["not_looked_at"]].push_back(number);
        } else {
            rows.push_back({std::string(2 * one["depth"].get<std::size_t>(), ' ') + number, one["process"].dump(),
                            one["shown"].get<bool>() ? "yes" : "no", one["class"], one["text"]});
        }
    }
    PrintTable(rows);
    PrintNotLookedAt(reasons);
}

void Windows(const Context& context, const WindowOptions& options) {
    const HWND root = RootOf(options);
    std::vector<Json> windows;
    for (const Window& window : Collect(root, options)) windows.push_back(LookAt(window));
    context.json ? PrintJson({{"windows", windows}}) : ShowWindows(windows);
    if (::IsWindow(root) == 0) {
        throw CommandError("window " + NumberOf(root), "it was closed during the look",
                           "there may be windows that are not shown");
    }
}

}  // namespace

void AddWindowsCommand(CLI::App& app, Context& context) {
    const auto options = std::make_shared<WindowOptions>();
    CLI::App* const windows = app.add_subcommand("windows", "The windows on the desktop, or of one window or thread");
    windows->require_subcommand(1);
    windows->footer("Example:\n  tandorctl windows list --tree");
    CLI::App* const list = windows->add_subcommand("list", "List them, and count those that could not be looked at");
    list->add_flag("--tree", options->tree, "With the windows inside them");
    list->add_option("--of", options->of, "The windows inside this one (a number as shown)")->type_name("WINDOW");
    list->add_flag("--thread", options->thread,
                   "The top-level windows of a thread: of the window's with --of, or of the one in the foreground");
    list->footer("Example:\n  tandorctl windows list --tree\n  tandorctl windows list --of 0x10078 --thread");
    list->callback([options, &context] { Windows(context, *options); });
}

}  // namespace tandor::app
