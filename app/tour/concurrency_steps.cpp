#include <fmt/format.h>
#include <windows.h>

#include <memory>
#include <set>
#include <thread>

#include "app/places.h"
#include "app/tour.h"
#include "base/utf.h"
#include "base/win_error.h"
#include "base/win_process.h"
#include "tandor/operation_queue.h"
#include "tandor/state_watch.h"
#include "tandor/thread_pool.h"

namespace tandor::app {
namespace {

constexpr DWORD kPatience = 30'000;  // milliseconds

// Waits until `holds`, and returns after how many milliseconds it did.
template <class Condition>
std::uint64_t WaitUntil(Condition holds, const char* what) {
    const std::uint64_t begin = ::GetTickCount64();
    while (!holds()) {
        Expect(::GetTickCount64() - begin < kPatience, what);
        ::Sleep(5);
    }
    return ::GetTickCount64() - begin;
}

// This program once more, as another process of the suite, with a file for what it prints.
class SecondProcess {
public:
    SecondProcess(const std::wstring& arguments, const std::filesystem::path& output) {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        const FileHandle file(::CreateFileW(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                            &inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file)
            throw CommandError(TextOf(output), WindowsErrorText(::GetLastError()), "name another folder with --output");
        STARTUPINFOW startup{};
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = startup.hStdError = file.Get();
        process_ = StartProcess(ProgramFile().c_str(), L"tandorctl " + arguments, startup);
        if (!process_.handle)
            throw CommandError("a second process", WindowsErrorText(::GetLastError()), "see 'tandorctl doctor'");
    }
    ~SecondProcess() { Kill(); }
    SecondProcess(const SecondProcess&) = delete;
    SecondProcess& operator=(const SecondProcess&) = delete;

    void Kill() {
        ::TerminateProcess(process_.handle.Get(), 1);
        WaitForExit(process_, kPatience);
    }
    // Whether it ended by itself, and well.
    [[nodiscard]] bool EndsWell() const { return WaitForExit(process_, kPatience) == DWORD{0}; }
    [[nodiscard]] unsigned long Id() const { return process_.id; }

private:
    StartedProcess process_;
};

std::wstring LongForm(const std::filesystem::path& path) {
    wchar_t text[32768];
    const DWORD length = ::GetLongPathNameW(path.c_str(), text, static_cast<DWORD>(std::size(text)));
    return {text, length};
}

void AnnounceTo(const std::wstring& names, const std::wstring& name_a, const std::wstring& name_b,
                const std::filesystem::path& output, TourReport& report) {
    TdProcessStatePresenter presenter(name_a, name_b);
    Expect(presenter.Init() && presenter.Start(), "announcing this process");
    const SecondProcess watcher(L"watch state " + names, output);
    Expect(watcher.EndsWell(), "the second process's look");
    const std::string seen = ReadInput(TextOf(output));
    report.Result("a second process sees this one", seen.substr(0, seen.find_last_not_of("\r\n") + 1));
    Expect(presenter.Stop() && presenter.UnInit(), "taking the announcement back");
}

}  // namespace

void TourPresence(TourReport& report) {
    const std::wstring id = std::to_wstring(::GetCurrentProcessId());
    const std::wstring name_a = L"Local\\tandor-tour-A-" + id, name_b = L"Local\\tandor-tour-B-" + id;
    const std::wstring names = name_a + L" " + name_b;
    const std::filesystem::path output = report.Folder() / L"zweiter Prozess 手机.txt";
    AnnounceTo(names, name_a, name_b, output, report);
    const TdProcessStateWatcher watcher(name_a, name_b);
    Expect(watcher.QueryProcessState() == 0, "nobody announced any more");
    SecondProcess announcer(L"watch present " + names, output);
    WaitUntil([&] { return watcher.QueryProcessState() == 3; }, "the second process's announcement");
    report.Result("a second process announces itself", fmt::format("state 3, process {}", announcer.Id()), 3);

    std::vector<TdOpenFile> files;
    Expect(TdOpenFiles::List(announcer.Id(), files) == ERROR_SUCCESS, "looking at its files");
    const std::wstring expected = LongForm(output);
    const bool found = std::ranges::any_of(files, [&](const TdOpenFile& file) { return file.path == expected; });
    Expect(found, "finding the file that it holds open");
    report.Result("its open file is found", fmt::format("{} (of {} file handles)", TextOf(output), files.size()),
                  TextOf(output));
    const std::unique_ptr<TdProcessDetectorInterface> detector(TdProcessDetectorFactory::Create());
    std::wstring line;
    Expect(detector != nullptr && detector->GetProcessCmdline(announcer.Id(), line) == 1, "reading its command line");
    report.Result("its command line", Utf8FromWideLossy(line));

    announcer.Kill();
    const auto waited = WaitUntil([&] { return watcher.QueryProcessState() == 0; }, "the second process's end");
    report.Result("killed, it is gone after", fmt::format("{} ms", waited), waited);
    std::filesystem::remove(output);
}

void TourPool(TourReport& report) {
    constexpr int kTasks = 1000;
    std::atomic<int> ran{0};
    std::mutex mutex;
    std::set<std::thread::id> threads;
    {
        TandorUtil::ThreadPool pool;
        Expect(pool.Start() == 0 && pool.Start() == -1, "starting the pool once");
        for (int i = 0; i < kTasks; ++i) {
            pool.Submit([&] {
                ++ran;
                const std::lock_guard lock(mutex);
                threads.insert(std::this_thread::get_id());
            });
        }
    }
    Expect(ran == kTasks, "running every task before the pool ends");
    report.Result("tasks on the pool", fmt::format("{} on {} threads", ran.load(), threads.size()), ran.load());
}

void TourQueue(TourReport& report) {
    const SuspendControllerClass awake;
    const std::unique_ptr<IOperationQueue> queue(OperationQueueFactory::Create());
    Expect(queue != nullptr, "creating the queue");
    const auto& counted = static_cast<OperationQueueBase&>(*queue);
    queue->Push([] {});  // before the start: refused
    queue->Start();
    std::atomic<bool> held{false}, release{false};
    queue->Push([&] {
        held = true;
        while (!release) ::Sleep(1);
    });
    WaitUntil([&] { return held.load(); }, "the worker's begin");
    std::vector<int> ran;
    for (int i = 1; i <= 5; ++i) queue->Push([&ran, i] { ran.push_back(i); });
    release = true;
    WaitUntil([&] { return counted.GetCounters().done == 3; }, "the newest operations");
    queue->Stop();
    const auto counters = counted.GetCounters();
    Expect(ran == std::vector<int>{4, 5} && counters.dropped == 3 && counters.refused == 1, "keeping the newest two");
    report.Result("five pushed to a busy queue", "4 and 5 run, 1 to 3 dropped",
                  {{"done", counters.done}, {"dropped", counters.dropped}, {"refused", counters.refused}});
}

}  // namespace tandor::app
