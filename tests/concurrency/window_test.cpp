// The window walk over real windows.
#include "support/testing.h"
#include "tandor/state_watch.h"

namespace {

using namespace tandor::test;

constexpr auto kChildrenFailed = L"4 EnumChildWindows failed(TdWindowDetector::EnumWindow)";
constexpr auto kThreadFailed = L"4 EnumThreadWindows failed(TdWindowDetector::EnumWindow)";

std::unique_ptr<TdWindowDetectorInterface> Detector() {
    return std::unique_ptr<TdWindowDetectorInterface>(TdWindowDetectorFactory::Create());
}

HWND Create(HWND parent, const wchar_t* text) {
    return ::CreateWindowExW(0, L"STATIC", text, parent == nullptr ? WS_POPUP : WS_CHILD, 0, 0, 10, 10, parent, nullptr,
                             nullptr, nullptr);
}

// A thread of its own with a top-level window (two children, of which the first has one), and a second one without.
class Windows : public testing::Test {
protected:
    Windows() {
        thread_ = std::thread([this] { Live(); });
        created_.Pass();
        if (top == nullptr) throw std::runtime_error("no window could be created; is there a display?");
    }
    ~Windows() override {
        ::PostThreadMessageW(::GetWindowThreadProcessId(top, nullptr), WM_QUIT, 0, 0);
        thread_.join();
    }

    std::vector<HWND> Walk(HWND window, TdWindowEnumOptions options, std::size_t stop_after = 100) const {
        std::vector<HWND> visited;
        Detector()->EnumWindow(window, options, [&](HWND one) {
            if (one == top || one == second || ::IsChild(top, one)) visited.push_back(one);  // not an input window
            return visited.size() >= stop_after;
        });
        return visited;
    }

    HWND top = nullptr, second = nullptr, child_one = nullptr, child_two = nullptr, grandchild = nullptr;

private:
    void Live() {
        top = Create(nullptr, L"Fenster 手机");
        second = Create(nullptr, L"second");
        child_one = Create(top, L"one");
        child_two = Create(top, L"two");
        grandchild = Create(child_one, L"grandchild");
        created_.Open();
        MSG message;
        while (::GetMessageW(&message, nullptr, 0, 0) > 0) ::DispatchMessageW(&message);
        ::DestroyWindow(second);
        ::DestroyWindow(top);
    }
    Gate created_;
    std::thread thread_;
};

TEST_F(Windows, ChildrenAreWalkedDownToTheLast) {
    HostLog log;
    EXPECT_THAT(Walk(top, {.recurse = 0, .mode = 0}), ElementsAre(child_one, grandchild, child_two));
    // Each window's own children follow it at once, and the outer walk comes to them again.
    EXPECT_THAT(Walk(top, {.recurse = 1, .mode = 0}), ElementsAre(child_one, grandchild, grandchild, child_two));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Windows, AnotherThreadsTopLevelWindowsAreFoundFromAnyOfItsWindows) {
    EXPECT_THAT(Walk(grandchild, {.recurse = 0, .mode = 1}), UnorderedElementsAre(top, second));
    EXPECT_THAT(Walk(second, {.recurse = 1, .mode = 1}),
                UnorderedElementsAre(top, child_one, grandchild, grandchild, child_two, second));
}

TEST_F(Windows, AStoppedWalkCountsAsFailed) {
    HostLog log;
    EXPECT_EQ(Walk(top, {.recurse = 0, .mode = 0}, 1).size(), 1u);
    EXPECT_THAT(log.Take(), ElementsAre(kChildrenFailed));
    EXPECT_EQ(Walk(top, {.recurse = 0, .mode = 1}, 1).size(), 1u);
    EXPECT_THAT(log.Take(), ElementsAre(kThreadFailed));
    // A stop inside an inner walk ends that one; the next window asked stops the outer one.
    EXPECT_THAT(Walk(top, {.recurse = 1, .mode = 0}, 2), ElementsAre(child_one, grandchild, grandchild));
    EXPECT_THAT(log.Take(), ElementsAre(kChildrenFailed));
}

TEST_F(Windows, OtherModesAndEmptyArgumentsWalkNothing) {
    HostLog log;
    EXPECT_THAT(Walk(top, {.recurse = 1, .mode = 2}), IsEmpty());
    EXPECT_THAT(Walk(nullptr, {.recurse = 1, .mode = 0}), IsEmpty());
    Detector()->EnumWindow(top, {.recurse = 1, .mode = 0}, nullptr);
    EXPECT_THAT(log.Take(), IsEmpty());
}

// Not anybody else's windows either.
TEST_F(Windows, AWindowThatIsGoneHasNothingToWalk) {
    const HWND gone = Create(nullptr, L"gone");
    ::DestroyWindow(gone);
    HostLog log;
    for (const unsigned mode : {0, 1}) {
        Detector()->EnumWindow(gone, {.recurse = 0, .mode = mode}, [](HWND) {
            ADD_FAILURE();
            return true;
        });
    }
    EXPECT_THAT(log.Take(), ElementsAre(kChildrenFailed, kThreadFailed));
}

TEST_F(Windows, WhatTheVisitorThrowsEndsTheWholeWalk) {
    int visits = 0;
    const auto visit = [&](HWND) -> bool {
        if (++visits == 2) throw std::runtime_error("enough");
        return false;
    };
    for (const unsigned mode : {0, 1}) {
        visits = 0;
        EXPECT_THROW(Detector()->EnumWindow(top, {.recurse = 1, .mode = mode}, visit), std::runtime_error);
        EXPECT_EQ(visits, 2);
    }
}

// The visitor has the windows' own thread close the one that it was called with, and what is inside.
TEST_F(Windows, AWindowThatGoesDuringTheWalkIsNotVisitedAgain) {
    std::vector<HWND> visited;
    const auto visit = [&](HWND window) {
        if (window != second && window != top && !::IsChild(top, window)) return false;
        visited.push_back(window);
        if (window == child_one || window == second) ::SendMessageW(window, WM_CLOSE, 0, 0);
        return false;
    };
    Detector()->EnumWindow(top, {.recurse = 1, .mode = 0}, visit);
    EXPECT_THAT(visited, ElementsAre(child_one, child_two));
    visited.clear();
    Detector()->EnumWindow(top, {.recurse = 1, .mode = 1}, visit);
    EXPECT_THAT(visited, UnorderedElementsAre(top, child_two, second));
    EXPECT_EQ(::IsWindow(second), FALSE);
}

}  // namespace
