// The roles that tests need a second process for. Each returns 0 when it did its work.
#include <windows.h>

#include <shellapi.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/utf.h"
#include "base/win_handle.h"
#include "base/win_process.h"
#include "pelora/data_report_service.h"
#include "pelora/log_service.h"
#include "pelora/outbox.h"
#include "support/child_roles.h"
#include "tandor/data_report.h"
#include "tandor/event_reporter.h"
#include "tandor/firewall.h"
#include "tandor/screen_config.h"
#include "tandor/sealing.h"
#include "tandor/state_watch.h"

namespace {

using tandor::test::Arguments;
using tandor::test::Stay;

// hold-file PATH READY: opens the file as a viewer that shares nothing but reading, and stays.
int HoldFile(const Arguments& arguments) {
    const tandor::FileHandle file(::CreateFileW(
        arguments.at(0).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    return file ? Stay(arguments.at(1)) : 1;
}

// announce NAME_A NAME_B READY: announces itself as started, and stays.
int Announce(const Arguments& arguments) {
    TdProcessStatePresenter presenter(arguments.at(0), arguments.at(1));
    return presenter.Init() && presenter.Start() ? Stay(arguments.at(2)) : 1;
}

// hold-handles FILE FOLDER PIPE READY: holds a file, a folder, a named pipe on which it waits, another from which it
// reads, and an event; stays.
int HoldHandles(const Arguments& arguments) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const tandor::FileHandle file(
        ::CreateFileW(arguments.at(0).c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    const tandor::FileHandle folder(::CreateFileW(arguments.at(1).c_str(), GENERIC_READ, kShareAll, nullptr,
                                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    const tandor::FileHandle pipe(::CreateNamedPipeW(arguments.at(2).c_str(), PIPE_ACCESS_DUPLEX,
                                                     PIPE_TYPE_BYTE | PIPE_WAIT, 1, 4096, 4096, 0, nullptr));
    const tandor::KernelHandle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    tandor::KernelHandle read, write;
    if (!file || !folder || !pipe || !event || ::CreatePipe(read.Receive(), write.Receive(), nullptr, 0) == 0) return 1;
    // Synchronous waits: questions about these handles would wait too.
    std::thread([&] { ::ConnectNamedPipe(pipe.Get(), nullptr); }).detach();
    std::thread([&] {
        char byte = 0;
        DWORD done = 0;
        ::ReadFile(read.Get(), &byte, 1, &done, nullptr);
    }).detach();
    return Stay(arguments.at(3));
}

// press-ctrl-c FILE COMMAND: runs COMMAND with its output in FILE, in a console of its own with this process alone, and
// presses Ctrl-C there once it has printed something. Ends with COMMAND's exit code.
int PressCtrlC(const Arguments& arguments) {
    ::FreeConsole();
    if (::AllocConsole() == 0) return 101;
    ::SetConsoleCtrlHandler(nullptr, FALSE);  // COMMAND is to hear it
    ::SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE);
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    const tandor::FileHandle output(
        ::CreateFileW(arguments.at(0).c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr));
    STARTUPINFOW startup{};
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.Get();
    const tandor::StartedProcess command = tandor::StartProcess(nullptr, arguments.at(1), startup);
    LARGE_INTEGER printed{};
    while (::GetFileSizeEx(output.Get(), &printed) != 0 && printed.QuadPart == 0 &&
           ::WaitForSingleObject(command.handle.Get(), 1) == WAIT_TIMEOUT) {
    }
    if (::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) == 0) return 102;
    const std::optional<DWORD> code = tandor::WaitForExit(command, 30'000);
    if (!code.has_value()) ::TerminateProcess(command.handle.Get(), 103);
    return static_cast<int>(code.value_or(103));
}

// ask-unseen: asks the user in a window station that nobody sees. 0 when that counts as declined at once, and is said.
int AskUnseen(const Arguments&) {
    const HWINSTA unseen = ::CreateWindowStationW(nullptr, 0, WINSTA_ALL_ACCESS, nullptr);
    if (unseen == nullptr || ::SetProcessWindowStation(unseen) == 0) return 3;
    bool said = false;
    const auto subscription =
        VxLogger::GetInstance().Subscribe(LOG_MESSAGE_ERROR, [&](LOG_MESSAGE_LEVEL, std::wstring_view message) {
            said = said || message.starts_with(L"the user cannot be asked: this process has no interactive window");
        });
    const bool agreed = FireWallRuleManger::GetInstance().ShowDialog(L"unseen", L"Allow connections?");
    VxLogger::GetInstance().Unsubscribe(subscription);
    return !agreed && said ? 0 : 1;
}

// remove-dhcp: begins to remove the system's rules, and ends.
int RemoveDhcp(const Arguments&) {
    Firewall::RemoveDHCPRules();
    return 0;
}

// screen-values: prints the extended screen's configuration as this program finds it, first asked for by several
// threads at once: the host log's lines, then values.
int ScreenValues(const Arguments&) {
    std::vector<std::wstring> lines;
    const auto subscription =
        VxLogger::GetInstance().Subscribe(LOG_MESSAGE_TRACE, [&](LOG_MESSAGE_LEVEL level, std::wstring_view message) {
            lines.push_back(std::to_wstring(level) + L" " + std::wstring(message));
        });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([] { ExScreen::ConfigMgr::GetInstance(); });
    for (std::thread& thread : threads) thread.join();
    VxLogger::GetInstance().Unsubscribe(subscription);
    const ExScreen::ConfigMgr& config = ExScreen::ConfigMgr::GetInstance();
    for (const std::wstring& line : lines) std::cout << tandor::Utf8FromWideLossy(line) << "\n";
    std::cout << "type " << config.GetDeviceType() << "\n";
    const auto numbers = [](const char* what, std::initializer_list<unsigned int> values) {
        std::cout << what;
        for (const unsigned int value : values) std::cout << " " << value;
        std::cout << "\n";
    };
    numbers("follow pc", {config.GetFollowPCWidth(), config.GetFollowPCHeight(), config.GetFollowPCDpi()});
    numbers("follow pad", {config.GetFollowPadHideWidth(), config.GetFollowPadHideHeight(),
                           config.GetFollowPadShowWidth(), config.GetFollowPadShowHeight()});
    numbers("extend",
            {config.GetExtendPrimWidth(), config.GetExtendPrimHeight(), config.GetExtendHideSecWidth(),
             config.GetExtendHideSecHeight(), config.GetExtendShowSecWidth(), config.GetExtendShowSecHeight()});
    numbers("video", {config.GetFpsThreshold(), config.GetEncoderBitrate(), config.GetEncoderIdrInterval(),
                      config.GetDisplayFrequency()});
    numbers("configured", {config.ConfiguredFpsThreshold(), config.ConfiguredEncoderBitrate(),
                           config.ConfiguredEncoderIdrInterval(), config.ConfiguredDisplayFrequency()});
    numbers("audio", {config.GetVolumnThresh(), config.GetSpeakerMargin(), config.GetSampleRate(), config.GetBitDepth(),
                      config.GetInCh()});
    numbers("flags", {config.IsSupportAutoDetect(), config.IsSupportAudioSwitch(), config.IsDriverLimitOpen(),
                      config.IsReduceResolutionDevice()});
    numbers("rotation", {config.GetScreenRotationParm()});
    ExScreen::Resolution pad, monitor;
    config.GetPadPreResolution(2560, 1600, pad);
    config.GetMonitorPreResolution(2560, 1600, monitor);
    const auto& tables = config.GetMonitorResolutionConfig();
    numbers("lists", {static_cast<unsigned int>(config.GetMirrorResolutions().size()),
                      static_cast<unsigned int>(config.GetExtendResolutions().size()),
                      static_cast<unsigned int>(tables.size()), pad.width, pad.height, monitor.width, monitor.height});
    return 0;
}

// commit-reports NAME COUNT: commits ten tags and the trace identifier NAME, COUNT times.
int CommitReports(const Arguments& arguments) {
    const auto reporter = Tandor::ReporterFactory::GetInstance().CreateReporter(79, 10);
    reporter->SetTraceID(std::string(arguments.at(0).begin(), arguments.at(0).end()));
    for (int i = std::stoi(arguments.at(1)); i > 0; --i) {
        for (int tag = 0; tag < 10; ++tag) reporter->RecordTimeStamp(tag);
        reporter->Commit();
    }
    return 0;
}

// report-and-exit WAY FILE: reports on eight threads, appends to FILE what was recorded, and leaves with 7 meanwhile,
// by a return from main or by ExitProcess.
int ReportAndExit(const Arguments& arguments) {
    // Not closed by main's return: the threads still write then.
    static const tandor::FileHandle& file = *new tandor::FileHandle(::CreateFileW(
        arguments.at(1).c_str(), FILE_APPEND_DATA | SYNCHRONIZE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, 0, nullptr));
    // Not every system appends in one step: a line would land on another thread's. Main's return ends no lock either.
    static std::mutex& writing = *new std::mutex;
    static std::atomic<int> recorded{0};
    if (!file) return 1;
    const auto acknowledge = [](int thread) {
        for (int number = 0;; ++number) {
            const std::string value = std::to_string(::GetCurrentProcessId()) + "-" + std::to_string(thread) + "-" +
                                      std::to_string(number) + "\n";
            LogInfo info{"606000081", "", {{0, value.substr(0, value.size() - 1)}}};
            if (!EventDataReport::Instance().SendMsg(info)) continue;
            ++recorded;
            const std::lock_guard lock(writing);
            DWORD written = 0;
            ::WriteFile(file.Get(), value.data(), static_cast<DWORD>(value.size()), &written, nullptr);
        }
    };
    const auto other = [](int thread) {
        const auto reporter = Tandor::ReporterFactory::GetInstance().CreateReporter(82, 2);
        for (int number = 0;; ++number) {
            reporter->RecordTimeStamp(number % 2);
            reporter->Commit();
            TandorDataReportClass::ReportConnectEntry(thread, number);
        }
    };
    for (int thread = 0; thread < 6; ++thread) std::thread(acknowledge, thread).detach();
    for (int thread = 6; thread < 8; ++thread) std::thread(other, thread).detach();
    while (recorded < 50) ::Sleep(1);
    if (arguments.at(0) == L"ExitProcess") ::ExitProcess(7);
    return 7;
}

// outbox-put FILE REPORT: puts records without end, and appends to REPORT the identifier of each that was stored.
int OutboxPut(const Arguments& arguments) {
    pelora::Outbox outbox(tandor::Utf8FromWide(arguments.at(0)));
    const tandor::FileHandle report(::CreateFileW(arguments.at(1).c_str(), FILE_APPEND_DATA | SYNCHRONIZE,
                                                  FILE_SHARE_READ, nullptr, OPEN_ALWAYS, 0, nullptr));
    if (!report) return 1;
    for (std::size_t number = 0;; ++number) {
        pelora::OutboxRecord record;
        record.event = "606009101";
        record.values = {{"0", std::string(number % 50 == 0 ? 20'000 : number * 977 % 5000, 'x')}};
        if (!outbox.Put(record).empty()) return 3;
        const std::string line = record.identifier + "\n";
        DWORD written = 0;
        ::WriteFile(report.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    }
}

// seal-vectors COUNT FILE: seals COUNT messages under one key and writes their vectors to FILE, 16 bytes each.
int SealVectors(const Arguments& arguments) {
    SecurityEncryptUtil util;
    util.SetSessionKey(std::string(64, '1'));
    std::vector<unsigned char> vectors(16 * std::stoul(arguments.at(0)));
    for (std::size_t at = 0; at < vectors.size(); at += 16) {
        std::string sealed;
        if (util.AesGcmEncrypt("", sealed) != 32 || !util.HexStringToByte(sealed, 32, &vectors[at], 16)) return 1;
    }
    std::ofstream file(std::filesystem::path(arguments.at(1)), std::ios::binary);
    file.write(reinterpret_cast<const char*>(vectors.data()), static_cast<std::streamsize>(vectors.size()));
    return file.flush() ? 0 : 3;
}

}  // namespace

int main() {
    int count = 0;
    wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    const Arguments arguments(words + (count < 2 ? count : 2), words + count);
    const std::map<std::wstring, int (*)(const Arguments&)> roles{
        {L"announce", Announce},
        {L"ask-unseen", AskUnseen},
        {L"check-changes", tandor::test::CheckChanges},
        {L"commit-reports", CommitReports},
        {L"console-without", tandor::test::ConsoleWithout},
        {L"hold-file", HoldFile},
        {L"hold-handles", HoldHandles},
        {L"file-lines", tandor::test::FileLines},
        {L"hold-turn", tandor::test::HoldTurn},
        {L"host-log", tandor::test::HostLog},
        {L"log-lines", tandor::test::LogLines},
        {L"outbox-put", OutboxPut},
        {L"press-ctrl-c", PressCtrlC},
        {L"remove-dhcp", RemoveDhcp},
        {L"report-and-exit", ReportAndExit},
        {L"screen-values", ScreenValues},
        {L"seal-vectors", SealVectors},
        {L"service-setting", tandor::test::ServiceSetting},
        {L"store-attributes", tandor::test::StoreAttributes},
        {L"store-changes", tandor::test::StoreChanges},
    };
    const auto role = count < 2 ? roles.end() : roles.find(words[1]);
    return role == roles.end() ? 2 : role->second(arguments);
}
