// Presence, with real second processes.
#include "support/testing.h"
#include "tandor/state_watch.h"

namespace {

using namespace tandor::test;

TEST(Presence, FollowsThePresentersStates) {
    TdProcessStatePresenter presenter(SharedName(L"A"), SharedName(L"B"));
    const TdProcessStateWatcher watcher(presenter.GetEventAName(), presenter.GetEventBName());
    struct Step {
        bool (TdProcessStatePresenter::*call)();
        bool result;
        unsigned state;
    };
    using Presenter = TdProcessStatePresenter;
    for (const Step& step :
         {Step{&Presenter::Stop, false, 0}, Step{&Presenter::UnInit, false, 0}, Step{&Presenter::Init, true, 2},
          Step{&Presenter::Start, true, 3}, Step{&Presenter::Stop, true, 2}, Step{&Presenter::Stop, false, 2},
          Step{&Presenter::UnInit, true, 0}, Step{&Presenter::UnInit, false, 0}}) {
        EXPECT_EQ((presenter.*step.call)(), step.result);
        EXPECT_EQ(watcher.QueryProcessState(), step.state);
    }
    {
        TdProcessStatePresenter started(presenter.GetEventAName(), presenter.GetEventBName());
        EXPECT_TRUE(started.Start());
        EXPECT_EQ(watcher.QueryProcessState(), 1u);
        EXPECT_TRUE(started.Init());
    }
    EXPECT_EQ(watcher.QueryProcessState(), 0u);
    EXPECT_EQ(TdProcessStateWatcher(L"", L"").QueryProcessState(), 0u);
    EXPECT_FALSE(watcher.QueryEventState(L""));
}

std::vector<std::wstring> Refusal(const std::wstring& text) {
    return LinesFrom(L"TdProcessStatePresenter::TryCreateEvent", {L"4 " + text});
}

TEST(Presence, AnEventIsNeverShared) {
    const std::wstring a = SharedName(L"A"), b = SharedName(L"B");
    TdProcessStatePresenter first(a, b), second(a, b), nameless(L"", L"");
    ASSERT_TRUE(first.Init());
    HostLog log;
    EXPECT_FALSE(second.Init());
    EXPECT_EQ(log.Take(), Refusal(L"event aready exist:" + a));
    EXPECT_FALSE(first.Init());
    EXPECT_EQ(log.Take(), Refusal(L"event aready exist:" + a));
    EXPECT_FALSE(nameless.Start());
    EXPECT_EQ(log.Take(), Refusal(L"event name is null"));
    EXPECT_FALSE(second.UnInit());  // it held nothing, so it takes nothing from the first
    EXPECT_EQ(TdProcessStateWatcher(a, b).QueryProcessState(), 2u);
    // A name that something else than an event has.
    const tandor::KernelHandle mutex(::CreateMutexW(nullptr, FALSE, b.c_str()));
    EXPECT_FALSE(first.Start());
    EXPECT_EQ(log.Take(), Refusal(L"create event failed,lasterr:6"));
}

std::pair<DWORD, BOOL> asked_for;
HANDLE WINAPI FindNoEvent(DWORD rights, BOOL inherited, LPCWSTR) {
    asked_for = {rights, inherited};
    return nullptr;
}

// Between the look and the creation somebody else may create it.
TEST(Presence, AnEventThatAppearsInBetweenIsNotSharedEither) {
    const std::wstring a = SharedName(L"A");
    TdProcessStatePresenter first(a, L""), second(a, L"");
    ASSERT_TRUE(first.Init());
    HostLog log;
    const ImportPatch patch(L"TandorUtil.dll", "OpenEventW", &FindNoEvent);
    EXPECT_FALSE(second.Init());
    EXPECT_EQ(asked_for, std::pair(DWORD{EVENT_ALL_ACCESS}, FALSE));
    EXPECT_EQ(log.Take(), Refusal(L"event aready exist:" + a));
    EXPECT_FALSE(second.UnInit());  // it does not keep the other's event alive
}

TEST(Presence, ACopySharesTheHandlesAndAnAssignmentClosesNone) {
    TdProcessStatePresenter original(SharedName(L"A"), SharedName(L"B"));
    const TdProcessStateWatcher watcher(original.GetEventAName(), original.GetEventBName());
    ASSERT_TRUE(original.Init());
    TdProcessStatePresenter copy(original);
    original = TdProcessStatePresenter(original.GetEventAName(), original.GetEventBName());
    EXPECT_FALSE(original.UnInit());
    EXPECT_EQ(watcher.QueryProcessState(), 2u);
    EXPECT_TRUE(copy.UnInit());
    EXPECT_EQ(watcher.QueryProcessState(), 0u);
}

TEST(Presence, AKilledPresenterIsGoneWithinASecond) {
    const std::wstring a = SharedName(L"A"), b = SharedName(L"B"), ready = SharedName(L"ready");
    const TdProcessStateWatcher watcher(a, b);
    std::chrono::nanoseconds longest{0};
    for (auto kills = Amount("TANDOR_STRESS_KILLS", 10); kills > 0; --kills) {
        Child child(L"announce " + a + L" " + b + L" " + ready, ready);
        ASSERT_EQ(watcher.QueryProcessState(), 3u);
        const auto killed = std::chrono::steady_clock::now();
        child.Kill();
        while (watcher.QueryProcessState() != 0 && std::chrono::steady_clock::now() - killed < std::chrono::seconds(5))
            ::Sleep(1);
        longest = std::max(longest, std::chrono::steady_clock::now() - killed);
    }
    EXPECT_LT(longest, std::chrono::seconds(1));
    RecordProperty("figures", "gone after at most " + std::to_string(longest.count() / 1'000'000) + " ms");
}

}  // namespace
