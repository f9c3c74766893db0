// Runs a program that lies beside the tests and collects what it prints.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>
#include <thread>

#include "base/win_error.h"
#include "base/win_process.h"

namespace tandor::test {

struct ProgramRun {
    int exit_code = -1;
    std::string out;
    std::string error;
};

inline std::string ReadPipe(HANDLE pipe) {
    std::string text;
    char buffer[4096];
    for (DWORD read = 0; ::ReadFile(pipe, buffer, sizeof(buffer), &read, nullptr) != 0 && read > 0;)
        text.append(buffer, read);
    return text;
}

// The command line is UTF-16, as the program receives it; `input` becomes its standard input.
inline ProgramRun RunProgram(std::wstring command_line, const std::string& input = {}) {
    SECURITY_ATTRIBUTES inherit{sizeof(inherit), nullptr, TRUE};
    KernelHandle in_read, in_write, out_read, out_write, error_read, error_write;
    const auto pipe = [&](KernelHandle& read, KernelHandle& write, KernelHandle& own) {
        if (::CreatePipe(read.Receive(), write.Receive(), &inherit, 0) == 0) throw std::runtime_error("no pipe");
        ::SetHandleInformation(own.Get(), HANDLE_FLAG_INHERIT, 0);
    };
    pipe(in_read, in_write, in_write);
    pipe(out_read, out_write, out_read);
    pipe(error_read, error_write, error_read);
    STARTUPINFOW startup{};
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = in_read.Get();
    startup.hStdOutput = out_write.Get();
    startup.hStdError = error_write.Get();
    const StartedProcess process = StartProcess(nullptr, std::move(command_line), startup);
    if (!process.handle) throw WindowsError("the program does not start", ::GetLastError());
    for (KernelHandle* end : {&in_read, &out_write, &error_write}) end->Reset();
    ProgramRun run;
    std::thread error_reader([&] { run.error = ReadPipe(error_read.Get()); });
    std::thread writer([&] {
        DWORD written = 0;
        if (!input.empty())
            ::WriteFile(in_write.Get(), input.data(), static_cast<DWORD>(input.size()), &written, nullptr);
        in_write.Reset();
    });
    run.out = ReadPipe(out_read.Get());
    error_reader.join();
    writer.join();
    if (const std::optional<DWORD> code = WaitForExit(process, 60'000)) run.exit_code = static_cast<int>(*code);
    return run;
}

inline ProgramRun RunTandorctl(const std::wstring& arguments, const std::string& input = {}) {
    return RunProgram(L"tandorctl.exe " + arguments, input);
}

}  // namespace tandor::test
