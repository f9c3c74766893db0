#include "base/lock.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

// Holds that are longer than a thread looks on send the others to sleep; one that is not woken would stay there.
TEST(Lock, LetsOneThreadInAtATimeAndEveryOneInTheEnd) {
    tandor::Lock lock;
    int inside = 0, times = 0;
    InThreads(8, [&](int) {
        for (int i = 0; i < 500; ++i) {
            const std::lock_guard hold(lock);
            EXPECT_EQ(++inside, 1);
            if (i % 10 == 0) std::this_thread::sleep_for(std::chrono::microseconds(50));
            --inside;
            ++times;
        }
    });
    EXPECT_EQ(times, 4000);
}

// Two threads take turns: one wake-up too few and neither goes on.
TEST(Condition, LosesNoWakeUp) {
    constexpr int kTurns = 20'000;
    tandor::Lock lock;
    tandor::Condition changed;
    int turn = 0;
    InThreads(2, [&](int number) {
        std::unique_lock hold(lock);
        while (turn < kTurns) {
            if (turn % 2 == number) {
                ++turn;
                changed.WakeOne();
            } else {
                changed.Wait(lock);
            }
        }
    });
    EXPECT_EQ(turn, kTurns);
    const std::lock_guard hold(lock);
    while (changed.Wait(lock, 1) != tandor::WaitResult::kTimedOut) {
    }
}

}  // namespace
