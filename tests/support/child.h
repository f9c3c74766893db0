// A second process for tests: test_child.exe with a role and its arguments.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

#include "base/win_handle.h"

namespace tandor::test {

class Child {
public:
    // Runs "test_child.exe <arguments>", which lies beside the tests. With `ready` set, returns when the child has
    // signalled the event of that name.
    explicit Child(const std::wstring& arguments, const std::wstring& ready = {})
        : Child(L"test_child.exe", arguments, ready) {}
    // The same with a copy of the program, or another one; it finds its DLLs in the current directory.
    Child(const std::wstring& program, const std::wstring& arguments, const std::wstring& ready) {
        KernelHandle event(ready.empty() ? nullptr : ::CreateEventW(nullptr, TRUE, FALSE, ready.c_str()));
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION information{};
        std::wstring command = L"\"" + program + L"\" " + arguments;
        if (::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                             &information) == 0) {
            throw std::runtime_error("test_child.exe did not start");
        }
        process_ = KernelHandle(information.hProcess);
        id_ = information.dwProcessId;
        const KernelHandle thread(information.hThread);
        if (event) {
            const HANDLE either[] = {event.Get(), process_.Get()};
            if (::WaitForMultipleObjects(2, either, FALSE, 30'000) != WAIT_OBJECT_0)
                throw std::runtime_error("test_child.exe is not ready");
        }
    }
    ~Child() { Kill(); }
    Child(Child&&) = default;

    int Wait() {
        DWORD code = 0;
        if (::WaitForSingleObject(process_.Get(), 60'000) != WAIT_OBJECT_0) return -1;
        ::GetExitCodeProcess(process_.Get(), &code);
        return static_cast<int>(code);
    }
    void Kill() {
        if (!process_) return;
        ::TerminateProcess(process_.Get(), 99);
        ::WaitForSingleObject(process_.Get(), 10'000);
    }
    [[nodiscard]] DWORD Id() const { return id_; }

private:
    KernelHandle process_;
    DWORD id_ = 0;
};

}  // namespace tandor::test
