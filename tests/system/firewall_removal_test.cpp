#include "base/win_system_entry.h"
#include "support/firewall_double.h"
#include "support/testing.h"
#include "tandor/firewall.h"

namespace {

using namespace tandor::test;

const std::wstring kHost = L"C:\\Windows\\System32\\svchost.exe";
const std::wstring kStart = L"3 Remove firewall rules start.(RemoveDHCPRulesThread)";

std::wstring Line(int level, const std::wstring& text) {
    return std::to_wstring(level) + L" Remove firewall " + text + L"(RemoveDHCPRulesThread)";
}

// The library's clock, which the tests move, and the threads that it starts.
std::atomic<ULONGLONG> now{1};
std::atomic<int> started{0};
std::atomic<bool> refuse{false};
tandor::KernelHandle removal;  // the last one's thread

ULONGLONG WINAPI Now() { return now; }
HANDLE WINAPI CountedThread(LPSECURITY_ATTRIBUTES security, SIZE_T stack, LPTHREAD_START_ROUTINE routine,
                            void* argument, DWORD flags, DWORD* id) {
    if (refuse) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    const HANDLE thread = ::CreateThread(security, stack, routine, argument, flags, id);
    const HANDLE self = ::GetCurrentProcess();
    ::DuplicateHandle(self, thread, self, removal.Receive(), 0, FALSE, DUPLICATE_SAME_ACCESS);
    ++started;
    return thread;
}

class FirewallRemoval : public testing::Test {
protected:
    void SetUp() override {
        now += 1'000'000;
        started = 0;
        refuse = false;
    }
    void TearDown() override {
        removal.Reset();
        EXPECT_EQ(FirewallDouble::Live(), 0);
    }

    // What a removal tells the host log.
    std::vector<std::wstring> Remove() {
        now += 15'001;
        Firewall::RemoveDHCPRules();
        EXPECT_TRUE(Ends());
        return log_.Take();
    }
    static bool Ends() { return ::WaitForSingleObject(removal.Get(), 30'000) == WAIT_OBJECT_0; }

    ImportPatch clock_{L"TandorUtil.dll", "GetTickCount64", &Now};
    ImportPatch threads_{L"TandorUtil.dll", "CreateThread", &CountedThread};
    FirewallDouble double_;
    HostLog log_;
};

TEST_F(FirewallRemoval, TheSystemsRulesGoAndNoOthers) {
    const std::wstring dhcp = L"Internet Connection Sharing (DHCPv4-In)";
    const std::wstring server = L"Internet Connection Sharing (DHCP Server-In)";
    double_->rules = {RuleFor(dhcp, kHost), RuleFor(server, kHost),  // next to one that goes
                      RuleFor(L"Core Networking (DHCPv4-In)", kHost),
                      RuleFor(std::wstring(L"Internet\0(DHCPv4-In)", 20), kHost),
                      RuleFor(L"Internet 手机 (SharedAccess-Out)", std::wstring(L"svchost.exe\0\0\0", 14))};
    EXPECT_THAT(Remove(), ElementsAre(kStart, Line(3, L"rule: " + dhcp), Line(3, L"rule: " + server),
                                      Line(3, L"rule: Internet 手机 (SharedAccess-Out)"),
                                      Line(3, L"rules ok, rules removed count: 3")));
    EXPECT_THAT(double_.Names(), ElementsAre(L"Core Networking (DHCPv4-In)", L"Internet"));
}

TEST_F(FirewallRemoval, RulesThatChangeDuringTheWalkAndOnesThatStayAreNoTrouble) {
    double_->rules = {RuleFor(L"Internet a (DHCPv4-In)", kHost), RuleFor(L"x", L"y"),
                      RuleFor(L"Internet b (DHCPv4-In)", kHost)};
    double_->odd_entry = 1;
    double_->failing = {{L"Remove", E_ACCESSDENIED}};
    double_->on_entry = [this, entry = 0]() mutable {
        if (++entry == 3) double_->rules.pop_back();
    };
    EXPECT_THAT(Remove(), ElementsAre(kStart, Line(4, L"rules: get netfwrule interface faile."),
                                      Line(3, L"rule: Internet a (DHCPv4-In)"), Line(4, L"rule failed."),
                                      Line(3, L"rules ok, rules removed count: 0")));
}

TEST_F(FirewallRemoval, EachCallThatFailsIsNamedAndWhatWasReadIsRemoved) {
    const std::map<std::wstring, const wchar_t*> texts{
        {L"policy", L"rules: get netfwpolicy interface failed."},
        {L"get_Rules", L"rules: get netfwrules interface failed."},
        {L"get__NewEnum", L"rules: get netfwrules enum interface failed."},
        {L"IEnumVARIANT", L"rules: get netfwrules variant enum interface failed."},
        {L"INetFwRule", L"rules: get netfwrule interface faile."},
        {L"get_Name", L"rules: get netfwrule interface faile."},
        {L"Remove", L"rule failed."},
    };
    std::set<std::wstring> seen;
    int removed = 0;
    long status = S_OK;
    double_.FailEach(
        [&] {
            double_->rules = {RuleFor(L"Internet (DHCPv4-In)", kHost), RuleFor(L"Internet (SharedAccess-Out)", kHost)};
            log_.Take();
        },
        [&] { status = Firewall::RemoveDHCPRulesAndWait(removed); },
        [&](const std::wstring& failed) {
            const auto text = texts.find(failed);
            const auto lines = log_.Take();
            EXPECT_EQ(removed, 2 - static_cast<int>(double_->rules.size()));
            if (failed == L"Next") {
                const bool first = !seen.contains(failed);
                EXPECT_EQ(lines.back(), Line(4, first ? L"rules: enum rules failed." : L"rules: enum rules failed 2."));
                EXPECT_EQ(status, E_FAIL);
            } else if (text != texts.end()) {
                EXPECT_THAT(lines, Contains(Line(4, text->second)));
                const bool passed_over = failed == L"INetFwRule" || failed == L"get_Name";
                EXPECT_EQ(status, passed_over ? S_OK : E_FAIL);
            } else {  // a property that is not asked for by name stays empty
                EXPECT_EQ(removed, failed == L"get_ApplicationName" ? 1 : 2);
            }
            seen.insert(failed);
            EXPECT_EQ(FirewallDouble::Live(), 0);
        });
    EXPECT_EQ(removed, 2);
    for (const auto& [call, text] : texts) EXPECT_TRUE(seen.contains(call)) << testing::PrintToString(call);
}

TEST_F(FirewallRemoval, OneRunsAtATimeAndOneStartsIn15Seconds) {
    Remove();
    now += 15'000;
    Firewall::RemoveDHCPRules();
    EXPECT_EQ(started, 1);

    Gate reached, go_on;
    double_->on_entry = [&] {
        reached.Open();
        go_on.Pass();
    };
    now += 1;
    InThreads(8, [](int) { Firewall::RemoveDHCPRules(); });
    reached.Pass();
    now += 100'000;
    Firewall::RemoveDHCPRules();  // the other one still runs
    EXPECT_EQ(started, 2);
    go_on.Open();
    EXPECT_TRUE(Ends());
}

// The library under another name, which nobody else holds: it goes with its last user, and that is the thread.
TEST_F(FirewallRemoval, TheThreadKeepsItsLibraryUntilItEnds) {
    const TemporaryFolder folder;
    const std::filesystem::path copy = folder.path / L"TandorUtil copy.dll";
    std::filesystem::copy_file(L"TandorUtil.dll", copy);
    Gate reached, go_on;
    double_->rules = {RuleFor(L"Internet (DHCPv4-In)", kHost)};
    double_->on_entry = [&] {
        reached.Open();
        go_on.Pass();
    };
    {
        const tandor::ModuleHandle library(::LoadLibraryW(copy.c_str()));
        ASSERT_TRUE(library);
        auto* const remove = tandor::EntryOf<void()>(library.Get(), "_ZN8Firewall15RemoveDHCPRulesEv");
        ASSERT_NE(remove, nullptr);
        remove();
    }
    reached.Pass();
    EXPECT_NE(::GetModuleHandleW(copy.c_str()), nullptr);
    go_on.Open();
    const ULONGLONG begin = ::GetTickCount64();
    while (::GetModuleHandleW(copy.c_str()) != nullptr && ::GetTickCount64() - begin < 30'000) ::Sleep(5);
    EXPECT_EQ(::GetModuleHandleW(copy.c_str()), nullptr);
    EXPECT_THAT(double_.Names(), IsEmpty());
    EXPECT_EQ(Child(L"remove-dhcp").Wait(), 0);  // a program that ends at once is not held up
}

TEST_F(FirewallRemoval, AThreadThatDoesNotStartIsToldAndBlocksNothing) {
    refuse = true;
    Firewall::RemoveDHCPRules();
    EXPECT_THAT(log_.Take(), ElementsAre(L"4 Remove firewall rules: thread start failed, error 8"
                                         L"(Firewall::RemoveDHCPRules)"));
    refuse = false;
    EXPECT_THAT(Remove(), SizeIs(2));
}

TEST_F(FirewallRemoval, ManyRemovalsLeaveNothingBehind) {
    Remove();
    const LeakWatch watch;
    const auto rounds = static_cast<int>(Amount("TANDOR_STRESS_ROUNDS", 50));
    for (int i = 0; i < rounds && !HasFailure(); ++i) {
        double_->rules = {RuleFor(L"Internet (DHCPv4-In)", kHost)};
        Remove();
        double_.Asked();
    }
    EXPECT_EQ(started, rounds + 1);
    watch.ExpectNoMoreThan(0);
}

}  // namespace
