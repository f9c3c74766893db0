// The roles that tests need a second process for. Each returns 0 when it did its work.
#include <windows.h>

#include <shellapi.h>

#include <map>
#include <string>
#include <vector>

#include "base/utf.h"
#include "base/win_handle.h"
#include "pelora/log_service.h"
#include "pelora/outbox.h"
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

// outbox-put FILE REPORT: puts records without end, and appends to REPORT the identifier of each that was stored.
int OutboxPut(const Arguments& arguments) {
    pelora::Outbox outbox(tandor::Utf8FromWide(arguments.at(0)));
    const tandor::FileHandle report(::CreateFileW(arguments.at(1).c_str(), FILE_APPEND_DATA | SYNCHRONIZE,
                                                  FILE_SHARE_READ, nullptr, OPEN_ALWAYS, 0, nullptr));
    if (!report) return 1;
    for (;;) {
        pelora::OutboxRecord record;
        record.event = "606009101";
        record.values = {{"0", std::string(record.sequence % 5000, 'x')}};
        if (!outbox.Put(record).empty()) return 3;
        const std::string line = record.identifier + "\n";
        DWORD written = 0;
        ::WriteFile(report.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    }
}

}  // namespace

int main() {
    int count = 0;
    wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    const Arguments arguments(words + (count < 2 ? count : 2), words + count);
    const std::map<std::wstring, int (*)(const Arguments&)> roles{
        {L"hold-file", HoldFile}, {L"log-lines", LogLines}, {L"outbox-put", OutboxPut}};
    const auto role = count < 2 ? roles.end() : roles.find(words[1]);
    return role == roles.end() ? 2 : role->second(arguments);
}
