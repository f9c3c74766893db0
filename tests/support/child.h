// A second process for tests: test_child.exe with a role and its arguments.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "base/win_error.h"
#include "base/win_process.h"

namespace tandor::test {

// A name of an event that no other run on this machine has.
inline std::wstring SharedName(const std::wstring& what) {
    static int number = 0;
    return L"Local\\tandor-Prüfung-" + what + L"-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
           std::to_wstring(++number);
}

class Child {
public:
    static constexpr DWORD kPatience = 60'000;

    // Runs "test_child.exe <arguments>", which lies beside the tests. With `ready` set, returns when the child has
    // signalled the event of that name.
    explicit Child(const std::wstring& arguments, const std::wstring& ready = {}) {
        KernelHandle event(ready.empty() ? nullptr : ::CreateEventW(nullptr, TRUE, FALSE, ready.c_str()));
        process_ = StartProcess(nullptr, L"test_child.exe " + arguments);
        if (!process_.handle) throw WindowsError("test_child.exe did not start", ::GetLastError());
        if (event) {
            const HANDLE either[] = {event.Get(), process_.handle.Get()};
            if (::WaitForMultipleObjects(2, either, FALSE, 30'000) != WAIT_OBJECT_0)
                throw std::runtime_error("test_child.exe is not ready");
        }
    }
    ~Child() { Kill(); }
    Child(Child&&) = default;
    Child& operator=(Child&&) = default;  // what is assigned to was killed before

    int Wait(DWORD milliseconds = kPatience) {
        const std::optional<DWORD> code = WaitForExit(process_, milliseconds);
        return code.has_value() ? static_cast<int>(*code) : -1;
    }
    // Whether it was still alive.
    bool Kill() {
        if (!process_.handle) return false;
        const bool alive = ::WaitForSingleObject(process_.handle.Get(), 0) == WAIT_TIMEOUT;
        ::TerminateProcess(process_.handle.Get(), 99);
        ::WaitForSingleObject(process_.handle.Get(), 10'000);
        return alive;
    }
    [[nodiscard]] DWORD Id() const { return process_.id; }

private:
    StartedProcess process_;
};

// Runs several at once and expects each to end with 0.
inline void RunChildren(const std::vector<std::wstring>& commands, DWORD milliseconds = Child::kPatience) {
    std::vector<Child> children(commands.begin(), commands.end());
    for (Child& child : children) EXPECT_EQ(child.Wait(milliseconds), 0);
}

}  // namespace tandor::test
