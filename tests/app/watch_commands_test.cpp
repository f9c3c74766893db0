// queue, watch, files, cmdline and windows, with real files, processes and windows.
#include <nlohmann/json.hpp>

#include "base/win_process.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;
using nlohmann::json;

TEST(TandorctlQueue, HashesOnThePoolAndTheNewestOnTheQueue) {
    const TemporaryFolder folder;
    std::wstring files;
    for (const wchar_t* const name : {L"a", L"b 手机", L"c"}) {
        WriteAll(folder.path / name, "abc");
        files += L" \"" + (folder.path / name).native() + L"\"";
    }
    for (const std::wstring variant : {L"", L" --resident"}) {
        const ProgramRun run = RunTandorctl(L"queue demo --json --newest 2" + variant + files + L" no-such-file");
        EXPECT_EQ(run.exit_code, 1);
        EXPECT_THAT(run.error, HasSubstr("no-such-file: "));
        const json found = json::parse(run.out);
        std::vector<std::string> on_queue;
        for (const json& file : found["files"]) on_queue.push_back(file["on_queue"]);
        EXPECT_THAT(on_queue, ElementsAre("dropped", "dropped", "same digest", "not read"));
        EXPECT_EQ(found["files"][1]["sha256"], "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
        EXPECT_EQ(found["pool"]["done"], 4);
        EXPECT_EQ(found["queue"]["submitted"], 5);
        EXPECT_EQ(found["queue"]["done"], 3);
        EXPECT_EQ(found["queue"]["dropped"], 2);
    }
}

TEST(TandorctlWatch, FollowsAPresenterUntilItIsKilled) {
    const std::wstring a = SharedName(L"A"), b = SharedName(L"B"), ready = SharedName(L"ready");
    Child presenter(L"announce " + a + L" " + b + L" " + ready, ready);
    EXPECT_THAT(RunTandorctl(L"watch state " + a + L" " + b).out, HasSubstr("  3  initialised and started\n"));
    const TemporaryFolder folder;
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    tandor::FileHandle output(::CreateFileW((folder.path / L"out").c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited,
                                            CREATE_ALWAYS, 0, nullptr));
    STARTUPINFOW startup{};
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.Get();
    const auto watcher = tandor::StartProcess(
        nullptr, L"tandorctl.exe watch state --follow --until-gone --for 60 " + a + L" " + b, startup);
    output.Reset();
    while (ReadAll(folder.path / L"out").find("  3  ") == std::string::npos &&
           ::WaitForSingleObject(watcher.handle.Get(), 1) == WAIT_TIMEOUT) {
    }
    presenter.Kill();
    EXPECT_EQ(tandor::WaitForExit(watcher, 60'000), DWORD{0});
    EXPECT_THAT(ReadAll(folder.path / L"out"), EndsWith("  0  not running\n"));
    EXPECT_EQ(RunTandorctl(L"watch state " + a + L" " + b).exit_code, 1);
}

TEST(TandorctlWatch, AnnouncesUntilCtrlCAndStopsCleanly) {
    const TemporaryFolder folder;
    const std::wstring command = L"tandorctl.exe watch present " + SharedName(L"C") + L" " + SharedName(L"D");
    Child console(L"press-ctrl-c \"" + (folder.path / L"out").native() + L"\" \"" + command + L"\"");
    EXPECT_EQ(console.Wait(), 0);
    EXPECT_THAT(ReadAll(folder.path / L"out"), AllOf(HasSubstr("  3  "), EndsWith("  0  not running\n")));
}

TEST(TandorctlLook, ShowsFilesAndCommandLineOfAProcess) {
    const TemporaryFolder folder;
    const auto file = std::filesystem::canonical(folder.path) / L"Vertrag 手机.txt";
    WriteAll(file, "x");
    const std::wstring ready = SharedName(L"ready");
    const Child child(L"hold-file \"" + file.native() + L"\" " + ready, ready);
    const auto holds = [&](const json& process) {
        return process["process"] == child.Id() &&
               process["handles"].dump().find("Vertrag 手机.txt") != std::string::npos;
    };
    const auto of = [](const std::wstring& process) {
        return json::parse(RunTandorctl(L"files --json " + process).out)["processes"];
    };
    EXPECT_TRUE(holds(of(std::to_wstring(child.Id()))[0]));
    const json named = of(L"TEST_CHILD");
    EXPECT_TRUE(std::any_of(named.begin(), named.end(), holds)) << named;
    EXPECT_THAT(RunTandorctl(L"files test_child.exe").out, HasSubstr("processes looked at\n"));
    EXPECT_THAT(RunTandorctl(L"cmdline " + std::to_wstring(child.Id())).out, HasSubstr("Vertrag 手机.txt"));
}

TEST(TandorctlLook, ShowsTheWindowsOfAWindowAndOfItsThread) {
    const HWND top =
        ::CreateWindowExW(0, L"STATIC", L"Fenster 手机", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    const HWND inside =
        ::CreateWindowExW(0, L"STATIC", L"inside", WS_CHILD, 0, 0, 9, 9, top, nullptr, nullptr, nullptr);
    const auto texts = [&](const std::wstring& options) {
        std::multiset<std::string> found;
        const auto number = std::to_wstring(reinterpret_cast<std::uintptr_t>(inside));
        const json listed = json::parse(RunTandorctl(L"windows list --json " + options + number).out);
        for (const json& one : listed["windows"]) found.insert(one.value("text", ""));
        return found;
    };
    EXPECT_THAT(texts(L"--thread --of "), Contains("Fenster 手机"));
    EXPECT_THAT(texts(L"--thread --of "), Not(Contains("inside")));
    EXPECT_THAT(texts(L"--thread --tree --of "), AllOf(Contains("Fenster 手机"), Contains("inside")));
    ::DestroyWindow(top);
}

}  // namespace
