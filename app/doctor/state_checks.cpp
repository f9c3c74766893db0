// What processes tell one another, windows and displays, work in the background.
#include <windows.h>

#include <fmt/format.h>

#include <atomic>

#include "app/doctor/doctor.h"
#include "base/win_error.h"
#include "tandor/screen_config.h"
#include "tandor/state_watch.h"
#include "tandor/thread_pool.h"

namespace tandor::app {

void CheckPresence(Findings& findings) {
    const char* const thing = "presence of processes";
    const std::wstring name = L"Local\\tandorctl doctor " + std::to_wstring(::GetCurrentProcessId());
    TdProcessStatePresenter presenter(name + L" A", name + L" B");
    const TdProcessStateWatcher watcher(name + L" A", name + L" B");
    const bool seen = presenter.Init() && presenter.Start() && watcher.QueryProcessState() == 3;
    findings.push_back(seen ? Finding{thing, Verdict::kWorks, "an announced process is seen", ""}
                            : Finding{thing, Verdict::kBroken, "an announced process is not seen",
                                      "the user needs the right to make named events"});
}

void CheckWindows(Findings& findings) {
    const char* const thing = "windows";
    USEROBJECTFLAGS flags{};
    const bool known =
        ::GetUserObjectInformationW(::GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof(flags), nullptr) != 0;
    const bool interactive = known && (flags.dwFlags & WSF_VISIBLE) != 0;
    findings.push_back(interactive
                           ? Finding{thing, Verdict::kWorks, "this process has an interactive window station", ""}
                           : Finding{thing, Verdict::kLimited,
                                     "no interactive window station: no window is seen, and the user is never asked",
                                     "run it in a signed-in user's session"});
}

void CheckDisplays(Findings& findings) {
    const char* const thing = "displays";
    UINT32 paths = 0, modes = 0;
    const LONG error = ::GetDisplayConfigBufferSizes(QDC_ONLY_ACTIVE_PATHS, &paths, &modes);
    if (error != ERROR_SUCCESS || paths == 0) {
        const std::string cause =
            error == ERROR_SUCCESS ? "there is none" : WindowsErrorText(static_cast<DWORD>(error));
        findings.push_back({thing, Verdict::kLimited, "no active display: " + cause,
                            "the extended screen takes its defaults until there is one"});
        return;
    }
    findings.push_back({thing, Verdict::kWorks,
                        fmt::format("{} active, {} for the extended screen", paths,
                                    ExScreen::ConfigMgr::IsHorizontal() ? "3:2 in landscape" : "not 3:2 in landscape"),
                        ""});
}

void CheckWorkers(Findings& findings) {
    std::atomic<int> done = 0;
    {
        TandorUtil::ThreadPool pool(2);
        pool.Start();
        for (int i = 0; i < 2; ++i) pool.Submit([&] { ++done; });
    }
    findings.push_back(done == 2 ? Finding{"thread pool", Verdict::kWorks, "runs what it is given", ""}
                                 : Finding{"thread pool", Verdict::kBroken, "tasks were lost", "end other programs"});
    // Asks for nothing: what this thread requires stays as it is.
    findings.push_back(::SetThreadExecutionState(ES_CONTINUOUS) != 0
                           ? Finding{"keeping the PC awake", Verdict::kWorks, "the system takes such requests", ""}
                           : Finding{"keeping the PC awake", Verdict::kLimited, WindowsErrorText(::GetLastError()),
                                     "the PC may sleep during transfers"});
}

}  // namespace tandor::app
