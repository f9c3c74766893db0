// Removal of the system's DHCP and connection-sharing rules, on a thread of its own.
#include <iterator>
#include <mutex>

#include "base/win_apartment.h"
#include "base/win_handle.h"
#include "foundation/message.h"
#include "system/change.h"
#include "system/firewall_reader.h"
#include "tandor/firewall.h"

namespace {

using tandor::kFailure;
using tandor::kInfo;
using tandor::LogMessage;
using tandor::ReadingStep;

constexpr ULONGLONG kShortestPause = 15001;  // ms from one start to the next
constexpr const wchar_t* kFunction = L"RemoveDHCPRulesThread";

// Lets one removal run at a time, and not too often.
class Turn {
public:
    bool Take() noexcept {
        const std::lock_guard lock(mutex_);
        const ULONGLONG now = ::GetTickCount64();
        if (running_ || (started_ && now - last_start_ < kShortestPause)) return false;
        running_ = started_ = true;
        last_start_ = now;
        return true;
    }
    void Give() noexcept {
        const std::lock_guard lock(mutex_);
        running_ = false;
    }

private:
    std::mutex mutex_;
    ULONGLONG last_start_ = 0;
    bool running_ = false;
    bool started_ = false;
};

Turn turn;

// In the order of ReadingStep.
constexpr const wchar_t* kTrouble[] = {
    nullptr,
    L"Remove firewall rules: get netfwpolicy interface failed.",
    L"Remove firewall rules: get netfwrules interface failed.",
    L"Remove firewall rules: get netfwrules enum interface failed.",
    L"Remove firewall rules: get netfwrules variant enum interface failed.",
    L"Remove firewall rules: enum rules failed.",
    L"Remove firewall rules: enum rules failed 2.",
};
static_assert(std::size(kTrouble) == static_cast<std::size_t>(ReadingStep::kLaterRule) + 1);

// What was read before the reading failed is removed all the same. The result is the first failure.
HRESULT RemoveRules(int& removed) {
    LogMessage(kInfo, kFunction, L"Remove firewall rules start.");
    const tandor::Apartment apartment;
    const tandor::RuleReading reading = tandor::ReadFirewallRules();
    for (std::size_t i = 0; i < reading.unreadable; ++i) {
        LogMessage(kFailure, kFunction, L"Remove firewall rules: get netfwrule interface faile.");
    }
    HRESULT first = S_OK;
    removed = 0;
    for (const tandor::FirewallRule& rule : reading.rules) {
        if (!tandor::IsSharedConnectionRule(rule)) continue;
        LogMessage(kInfo, kFunction, L"Remove firewall rule: ", rule.name);
        const tandor::ComText name(rule.name.c_str());
        const HRESULT status = tandor::Change([&] { return reading.firewall->Remove(name.Get()); },
                                              [&] { return L"INetFwRules::Remove(" + rule.name + L")"; });
        if (SUCCEEDED(status)) {
            ++removed;
        } else {
            LogMessage(kFailure, kFunction, L"Remove firewall rule failed.");
            if (SUCCEEDED(first)) first = status;
        }
    }
    if (const auto* const trouble = kTrouble[static_cast<std::size_t>(reading.failed)]) {
        LogMessage(kFailure, kFunction, trouble);
        return reading.status;
    }
    LogMessage(kInfo, kFunction, L"Remove firewall rules ok, rules removed count: ", removed);
    return first;
}

// `library` keeps the code loaded while it runs; it is given back by the call that ends the thread.
DWORD WINAPI RemovalThread(void* library) {
    try {
        int removed = 0;
        RemoveRules(removed);
    } catch (const std::bad_alloc&) {  // nothing can be said without memory either
    }
    turn.Give();
    ::FreeLibraryAndExitThread(static_cast<HMODULE>(library), 0);
}

}  // namespace

long Firewall::RemoveDHCPRulesAndWait(int& removed) { return RemoveRules(removed); }

void Firewall::RemoveDHCPRules() noexcept {
    if (!turn.Take()) return;
    HMODULE library = nullptr;
    tandor::KernelHandle thread;
    const auto* const here = reinterpret_cast<const wchar_t*>(&RemovalThread);
    if (::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, here, &library) != 0) {
        thread.Reset(::CreateThread(nullptr, 0, RemovalThread, library, 0, nullptr));
    }
    if (thread) return;
    const DWORD trouble = ::GetLastError();
    if (library != nullptr) ::FreeLibrary(library);
    turn.Give();
    try {
        LogMessage(kFailure, L"Firewall::RemoveDHCPRules", L"Remove firewall rules: thread start failed, error ",
                   trouble);
    } catch (const std::bad_alloc&) {  // nothing can be said without memory either
    }
}
