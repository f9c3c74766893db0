#include "tandor/thread_pool.h"
#include "concurrency/task_ring.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using TandorUtil::ThreadPool;

TEST(ThreadPool, StartsOnceAndRunsWhatWaitedForItInOrder) {
    std::vector<int> order;
    {
        ThreadPool pool(1);
        for (int i = 0; i < 40; ++i) EXPECT_TRUE(pool.Submit([&order, i] { order.push_back(i); }));
        EXPECT_EQ(pool.GetCounters().queued, 40u);
        EXPECT_EQ(pool.Start(), 0);
        EXPECT_EQ(pool.Start(), -1);
    }
    ASSERT_EQ(order.size(), 40u);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

// A task's destructor asks the pool, which would lock itself out if it destroyed tasks under its lock.
struct AsksAtItsEnd {
    ThreadPool* pool;
    std::vector<bool>* answers;
    ~AsksAtItsEnd() {
        answers->push_back(pool->Submit([] {}));
    }
};

TEST(ThreadPool, WithoutThreadsDestroysTasksUnrun) {
    Tally tally;
    std::vector<bool> answers;
    {
        ThreadPool pool(0);
        EXPECT_EQ(pool.Start(), 0);
        EXPECT_EQ(pool.Start(), 0);  // nothing was started, so nothing was started before
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(pool.Submit(tally.Work()));
        std::shared_ptr<AsksAtItsEnd> asks(new AsksAtItsEnd{&pool, &answers});
        EXPECT_TRUE(pool.Submit([asks = std::move(asks)] {}));
    }
    EXPECT_EQ(tally.run, 0u);
    EXPECT_EQ(tally.unrun, 3u);
    EXPECT_EQ(answers, std::vector<bool>{false});
}

// Every task waits until all four run: a worker that took two at once would hold one back for ever.
TEST(ThreadPool, TasksThatWaitForEachOtherRunSideBySide) {
    std::atomic<int> arrived{0};
    ThreadPool pool;
    ASSERT_EQ(pool.Start(), 0);
    for (int round = 1; round <= 50; ++round) {
        std::atomic<int> left{ThreadPool::DEFAULT_SIZE};
        Gate done;
        for (int i = 0; i < ThreadPool::DEFAULT_SIZE; ++i) {
            pool.Submit([&] {
                ++arrived;
                while (arrived < ThreadPool::DEFAULT_SIZE * round) std::this_thread::yield();
                if (--left == 0) done.Open();
            });
        }
        done.Pass();
    }
}

TEST(ThreadPool, CountsWhatItDoesWhileItDoesIt) {
    Gate gate, both_run;
    std::atomic<int> running{0};
    ThreadPool pool(2);
    ASSERT_EQ(pool.Start(), 0);
    for (int i = 0; i < 5; ++i) {
        pool.Submit([&] {
            if (++running == 2) both_run.Open();
            gate.Pass();
        });
    }
    both_run.Pass();
    auto counters = pool.GetCounters();
    EXPECT_EQ(counters.running, 2u);
    EXPECT_EQ(counters.queued, 3u);
    EXPECT_EQ(counters.done, 0u);
    gate.Open();
    while (pool.GetCounters().done < 5) std::this_thread::yield();
    counters = pool.GetCounters();
    EXPECT_EQ(counters.running + counters.queued + counters.dropped + counters.refused, 0u);
}

// Producers inside the pool go on while it is destroyed: the only ones that may. Producers outside end before.
void FloodAndStop(std::size_t producers, unsigned long long operations, unsigned seed) {
    Tally tally;
    std::atomic<unsigned long long> submitted{0}, accepted{0}, refused{0};
    const auto share = operations / (2 * producers);
    const auto flood = [&](ThreadPool& pool) {
        for (unsigned long long i = 0; i < share; ++i) {
            ++submitted;
            ++(pool.Submit(tally.Work()) ? accepted : refused);
            EXPECT_TRUE(i % 8 != 0 || AddsUp(pool.GetCounters()));
        }
    };
    {
        ThreadPool pool(producers + 2);
        ASSERT_EQ(pool.Start(), 0);
        InThreads(static_cast<int>(producers), [&](int) {
            pool.Submit([&] { flood(pool); });
            flood(pool);
        });
        for (unsigned i = 0; i < (Seed(0) + seed) % 1000; ++i) std::this_thread::yield();
    }
    EXPECT_EQ(submitted, accepted + refused);
    EXPECT_EQ(tally.run, accepted);
    EXPECT_EQ(tally.unrun, refused);
    EXPECT_EQ(tally.again, 0u);
}

TEST(ThreadPool, EveryTaskIsRunOrRefusedExactlyOnceWheneverItStops) {
    const auto operations = Amount("TANDOR_STRESS_OPERATIONS", 200'000);
    for (unsigned seed = 1; seed <= 10; ++seed) FloodAndStop(16, operations / 10, seed * 7919);
}

TEST(TaskRing, KeepsTheOrderWhileItTurnsGrowsAndGivesBack) {
    tandor::TaskRing ring;
    std::vector<int> ran;
    int pushed = 0;
    const auto push = [&](int count) {
        for (int i = 0; i < count; ++i) ring.Push([&ran, number = pushed++] { ran.push_back(number); });
    };
    const auto take = [&](int count) {
        for (int i = 0; i < count; ++i) ring.Take()();
    };
    for (const auto& [in, out] : {std::pair{10, 7}, {10, 12}, {16, 5}, {100, 112}, {20'000, 20'000}, {3, 3}}) {
        push(in);
        take(out);
    }
    EXPECT_TRUE(ring.Empty());
    ASSERT_EQ(ran.size(), static_cast<std::size_t>(pushed));
    for (int i = 0; i < pushed; ++i) ASSERT_EQ(ran[static_cast<std::size_t>(i)], i);
}

TEST(ThreadPoolDeathTest, WhatCannotGoOnEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [](std::function<void()> task) {
        ThreadPool pool(1);
        pool.Submit(std::move(task));
        pool.Start();
    };
    EXPECT_DEATH(run(nullptr), "");
    EXPECT_DEATH(run([] { throw 1; }), "");
    const auto destroy_from_inside = [] {
        auto* const pool = new ThreadPool(1);
        pool->Start();  // whole before the task can come
        pool->Submit([pool] { delete pool; });
        std::this_thread::sleep_for(std::chrono::seconds(30));
    };
    EXPECT_DEATH(destroy_from_inside(), "system_error");
}

}  // namespace
