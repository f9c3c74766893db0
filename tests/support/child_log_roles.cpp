// The roles of a second process that writes logs.
#include <windows.h>

#include "base/rotating_file.h"
#include "base/utf.h"
#include "pelora/log_service.h"
#include "support/child_roles.h"
#include "tandor/logging.h"

namespace tandor::test {

int Stay(const std::wstring& ready) {
    const KernelHandle event(::OpenEventW(EVENT_MODIFY_STATE, FALSE, ready.c_str()));
    if (event) ::SetEvent(event.Get());
    ::Sleep(INFINITE);
    return 0;
}

// log-lines CHANNEL NAME COUNT: writes "NAME <number>" COUNT times, with padding, to the channel, and dies without a
// farewell.
int LogLines(const Arguments& arguments) {
    const std::string channel(arguments.at(0).begin(), arguments.at(0).end());
    const Logger logger(channel);
    const int count = std::stoi(arguments.at(2));
    for (int i = 0; i < count; ++i) {
        std::wstringstream line;
        line << arguments.at(1) << L" " << i << L" " << std::wstring(150, L'.');
        logger.Log(LOG_MESSAGE_INFO, line);
    }
    ::TerminateProcess(::GetCurrentProcess(), 0);
    return 1;
}

// file-lines FILE NAME REPORT: appends "NAME <number>" without end to a file that rotates often, and keeps in REPORT
// how many lines are there for sure.
int FileLines(const Arguments& arguments) {
    const FileHandle report(
        ::CreateFileW(arguments.at(2).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr));
    RotatingFile file(arguments.at(0), 32 * 1024, 10'000, RotatingFile::Writers::kManyProcesses);
    const std::string name = Utf8FromWide(arguments.at(1));
    for (std::uint32_t number = 0;;) {
        if (!file.Append(name + " " + std::to_string(number) + " ................................\r\n").written)
            return 1;
        ++number;
        DWORD written = 0;
        OVERLAPPED begin{};
        if (::WriteFile(report.Get(), &number, sizeof(number), &written, &begin) == 0) return 1;
    }
}

// hold-turn FILE READY: takes the turn of FILE and stays.
int HoldTurn(const Arguments& arguments) {
    SharedTurn turn(arguments.at(0));
    return turn.Take() == SharedTurn::Taken::kYes ? Stay(arguments.at(1)) : 1;
}

// host-log TEXT COUNT: writes TEXT to the host log COUNT times, as a failure, and dies without a farewell; its exit
// code is how many were lost.
int HostLog(const Arguments& arguments) {
    for (int i = std::stoi(arguments.at(1)); i > 0; --i) {
        std::wstringstream message;
        message << arguments.at(0);
        VxLogger::GetInstance().Log(LOG_MESSAGE_ERROR, message);
    }
    ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(VxLogger::GetInstance().Lost()));
    return 1;
}

}  // namespace tandor::test
