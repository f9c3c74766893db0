#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "base/win_handle.h"
#include "support/firewall_double.h"
#include "support/host_log.h"
#include "support/import_patch.h"
#include "tandor/firewall.h"

namespace {

using tandor::test::FirewallDouble;
using tandor::test::HostLog;
using tandor::test::ImportPatch;
using tandor::test::RuleFor;
using testing::ElementsAre;

const std::wstring kHost = L"C:\\Windows\\System32\\svchost.exe";
const std::wstring kThread = L"(RemoveDHCPRulesThread)";
const std::wstring kStart = L"3 Remove firewall rules start." + kThread;

// The library's clock, which the tests move, and the threads that it starts.
std::atomic<ULONGLONG> now{1};
std::atomic<int> started{0};
std::atomic<bool> refuse{false};

ULONGLONG WINAPI Now() { return now; }
HANDLE WINAPI CountedThread(LPSECURITY_ATTRIBUTES security, SIZE_T stack, LPTHREAD_START_ROUTINE routine,
                            void* argument, DWORD flags, DWORD* id) {
    if (refuse) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    ++started;
    return ::CreateThread(security, stack, routine, argument, flags, id);
}

class FirewallRemoval : public testing::Test {
protected:
    void SetUp() override {
        now += 1'000'000;
        started = 0;
        refuse = false;
    }

    // Starts a removal, as soon as the last one has ended, and waits for its last line.
    std::vector<std::wstring> Remove() {
        const int before = started;
        Until([&] {
            now += 15001;
            Firewall::RemoveDHCPRules();
            return started > before;
        });
        std::vector<std::wstring> lines;
        Until([&] {
            for (std::wstring& line : log_.Take()) lines.push_back(std::move(line));
            return !lines.empty() && (lines.back().find(L"ok, ") != std::wstring::npos ||
                                      lines.back().find(L"interface failed") != std::wstring::npos ||
                                      lines.back().find(L"enum rules") != std::wstring::npos);
        });
        Until([] { return FirewallDouble::Live() == 0; });
        return lines;
    }

    template <class Condition>
    static void Until(Condition holds) {
        for (int i = 0; i < 10'000; ++i) {
            if (holds()) return;
            ::Sleep(1);
        }
        FAIL() << "nothing happened within 10 s";
    }

    ImportPatch clock_{L"TandorUtil.dll", "GetTickCount64", &Now};
    ImportPatch threads_{L"TandorUtil.dll", "CreateThread", &CountedThread};
    FirewallDouble double_;
    HostLog log_;
};

TEST_F(FirewallRemoval, TheSystemsRulesGoAndNoOthers) {
    const std::wstring dhcp = L"Internet Connection Sharing (DHCPv4-In)";
    double_->rules = {
        RuleFor(dhcp, kHost), RuleFor(L"Internet Connection Sharing (DHCP Server-In)", kHost),  // next to one that goes
        RuleFor(L"Core Networking (DHCPv4-In)", kHost), RuleFor(std::wstring(L"Internet\0(DHCPv4-In)", 20), kHost),
        RuleFor(L"Internet 手机 (SharedAccess-Out)", std::wstring(L"svchost.exe\0\0\0", 14))};
    EXPECT_THAT(Remove(), ElementsAre(kStart, L"3 Remove firewall rule: " + dhcp + kThread,
                                      L"3 Remove firewall rule: Internet Connection Sharing (DHCP Server-In)" + kThread,
                                      L"3 Remove firewall rule: Internet 手机 (SharedAccess-Out)" + kThread,
                                      L"3 Remove firewall rules ok, rules removed count: 3" + kThread));
    EXPECT_THAT(double_.Names(), ElementsAre(L"Core Networking (DHCPv4-In)", L"Internet"));
    EXPECT_THAT(Remove(), ElementsAre(kStart, L"3 Remove firewall rules ok, rules removed count: 0" + kThread));
}

TEST_F(FirewallRemoval, RulesThatChangeDuringTheWalkAndOnesThatStayAreNoTrouble) {
    double_->rules = {RuleFor(L"Internet a (DHCPv4-In)", kHost), RuleFor(L"x", L"y"),
                      RuleFor(L"Internet b (DHCPv4-In)", kHost)};
    double_->odd_entry = 1;
    double_->failing = {{L"Remove", E_ACCESSDENIED}};
    double_->on_entry = [this, entry = 0]() mutable {
        if (++entry == 3) double_->rules.pop_back();
    };
    EXPECT_THAT(Remove(), ElementsAre(kStart, L"4 Remove firewall rules: get netfwrule interface faile." + kThread,
                                      L"3 Remove firewall rule: Internet a (DHCPv4-In)" + kThread,
                                      L"4 Remove firewall rule failed." + kThread,
                                      L"3 Remove firewall rules ok, rules removed count: 0" + kThread));
}

TEST_F(FirewallRemoval, AStepThatFailsIsNamedAndWhatWasReadIsRemoved) {
    const std::pair<const wchar_t*, const wchar_t*> steps[] = {
        {L"policy", L"get netfwpolicy interface failed."},
        {L"get_Rules", L"get netfwrules interface failed."},
        {L"get__NewEnum", L"get netfwrules enum interface failed."},
        {L"IEnumVARIANT", L"get netfwrules variant enum interface failed."}};
    for (const auto& [step, text] : steps) {
        double_->failing = {{step, E_FAIL}};
        EXPECT_THAT(Remove(), ElementsAre(kStart, std::wstring(L"4 Remove firewall rules: ") + text + kThread));
    }
    double_->failing.clear();
    double_->failing_entry = 0;
    EXPECT_THAT(Remove(), ElementsAre(kStart, L"4 Remove firewall rules: enum rules failed." + kThread));
    double_->rules = {RuleFor(L"Internet (DHCPv4-In)", kHost), RuleFor(L"Internet (SharedAccess-Out)", kHost)};
    double_->failing_entry = 1;
    EXPECT_THAT(Remove(), ElementsAre(kStart, L"3 Remove firewall rule: Internet (DHCPv4-In)" + kThread,
                                      L"4 Remove firewall rules: enum rules failed 2." + kThread));
    EXPECT_THAT(double_.Names(), ElementsAre(L"Internet (SharedAccess-Out)"));
}

TEST_F(FirewallRemoval, OneRunsAtATimeAndOneStartsIn15Seconds) {
    Remove();
    ASSERT_EQ(started, 1);
    now += 15'000;
    Firewall::RemoveDHCPRules();
    EXPECT_EQ(started, 1);

    tandor::KernelHandle reached(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    tandor::KernelHandle go_on(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    double_->on_entry = [&] {
        ::SetEvent(reached.Get());
        ::WaitForSingleObject(go_on.Get(), 30'000);
    };
    now += 1;
    std::vector<std::thread> callers;
    for (int i = 0; i < 8; ++i) callers.emplace_back(Firewall::RemoveDHCPRules);
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(started, 2);
    ASSERT_EQ(::WaitForSingleObject(reached.Get(), 30'000), WAIT_OBJECT_0);
    now += 100'000;
    Firewall::RemoveDHCPRules();  // the other one still runs
    EXPECT_EQ(started, 2);
    ::SetEvent(go_on.Get());
    Until([] { return FirewallDouble::Live() == 0; });
}

TEST_F(FirewallRemoval, AThreadThatDoesNotStartIsToldAndBlocksNothing) {
    Remove();
    log_.Take();
    refuse = true;
    Until([&] {
        now += 15'001;
        Firewall::RemoveDHCPRules();
        return !log_.Take().empty();
    });
    refuse = false;
    Remove();
    EXPECT_EQ(started, 2);
}

TEST_F(FirewallRemoval, AHundredRemovalsLeaveNothingBehind) {
    Remove();
    const auto handles = [] {
        DWORD count = 0;
        ::GetProcessHandleCount(::GetCurrentProcess(), &count);
        return count;
    };
    const DWORD before = handles();
    for (int i = 0; i < 100; ++i) {
        double_->rules = {RuleFor(L"Internet (DHCPv4-In)", kHost)};
        Remove();
    }
    Until([&] { return handles() <= before + 2; });
    EXPECT_EQ(started, 101);
}

}  // namespace
