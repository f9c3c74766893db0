// This program once more, for steps that need another process of the suite.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

#include "app/command.h"
#include "app/places.h"
#include "base/win_error.h"
#include "base/win_process.h"

namespace tandor::app {

// What it prints goes to a file.
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
    static constexpr DWORD kPatience = 30'000;  // milliseconds

    StartedProcess process_;
};

}  // namespace tandor::app
