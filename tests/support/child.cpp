// The roles that tests need a second process for. Each returns 0 when it did its work.
#include <windows.h>

#include <shellapi.h>

#include <map>
#include <string>
#include <vector>

#include "base/win_handle.h"
#include "pelora/log_service.h"
#include "tandor/event_reporter.h"
#include "tandor/logging.h"

namespace {

using Arguments = std::vector<std::wstring>;

void SignalReady(const std::wstring& name) {
    const tandor::KernelHandle event(::OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
    if (event) ::SetEvent(event.Get());
}

// hold-file PATH READY: opens the file as a viewer that shares nothing but reading, and stays.
int HoldFile(const Arguments& arguments) {
    const tandor::FileHandle file(::CreateFileW(
        arguments.at(0).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file) return 1;
    SignalReady(arguments.at(1));
    ::Sleep(INFINITE);
    return 0;
}

// log-lines CHANNEL NAME COUNT: writes "NAME <number>" COUNT times, with padding, to the channel.
int LogLines(const Arguments& arguments) {
    const std::string channel(arguments.at(0).begin(), arguments.at(0).end());
    const Logger logger(channel);
    const int count = std::stoi(arguments.at(2));
    for (int i = 0; i < count; ++i) {
        std::wstringstream line;
        line << arguments.at(1) << L" " << i << L" " << std::wstring(150, L'.');
        logger.Log(LOG_MESSAGE_INFO, line);
    }
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

// host-log TEXT COUNT: writes TEXT to the host log COUNT times, as a failure, and dies without a farewell.
int HostLog(const Arguments& arguments) {
    for (int i = std::stoi(arguments.at(1)); i > 0; --i) {
        std::wstringstream message;
        message << arguments.at(0);
        VxLogger::GetInstance().Log(LOG_MESSAGE_ERROR, message);
    }
    ::TerminateProcess(::GetCurrentProcess(), 0);
    return 1;
}

}  // namespace

int main() {
    int count = 0;
    wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    const Arguments arguments(words + (count < 2 ? count : 2), words + count);
    const std::map<std::wstring, int (*)(const Arguments&)> roles{
        {L"hold-file", HoldFile}, {L"host-log", HostLog}, {L"log-lines", LogLines}, {L"commit-reports", CommitReports}};
    const auto role = count < 2 ? roles.end() : roles.find(words[1]);
    return role == roles.end() ? 2 : role->second(arguments);
}
