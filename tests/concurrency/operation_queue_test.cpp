#include <random>
#include <system_error>

#include "support/testing.h"
#include "tandor/operation_queue.h"

namespace {

using namespace tandor::test;

using TandorUtil::WorkCounters;

using Factory = IOperationQueue* (*)() noexcept;

WorkCounters CountersOf(IOperationQueue& queue) { return static_cast<OperationQueueBase&>(queue).GetCounters(); }

// Starts a queue and holds its worker in an operation; stops the queue at the latest at its end, so that no operation
// outlives what was declared before.
class Held {
public:
    explicit Held(IOperationQueue& queue) : queue_(queue) {
        queue.Start();
        queue.Push([this] {
            held_.Open();
            gate_.Pass();
        });
        held_.Pass();
    }
    ~Held() {
        Release();
        queue_.Stop();
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    void Release() { gate_.Open(); }

private:
    IOperationQueue& queue_;
    Gate held_, gate_;
};

// Both variants behave alike but for their threads.
class OperationQueue : public testing::TestWithParam<Factory> {
protected:
    OperationQueue() : queue(GetParam()()) {}

    // The low-power worker may be about to end: only what counts as done is done.
    void WaitUntilDone(unsigned long long count) const {
        while (CountersOf(*queue).done < count) std::this_thread::yield();
    }

    const std::unique_ptr<IOperationQueue> queue;
};

TEST_P(OperationQueue, RefusesEverythingUntilItsStart) {
    Tally tally;
    EXPECT_EQ(queue->GetMaxSize(), 2);
    queue->Push(tally.Work());
    EXPECT_EQ(tally.unrun, 1u);
    EXPECT_EQ(CountersOf(*queue).refused, 1u);
    queue->Stop();  // of a stopped queue: nothing
    queue->Start();
    queue->Push(tally.Work());
    WaitUntilDone(1);
    EXPECT_EQ(tally.run, 1u);
}

TEST_P(OperationQueue, AFullQueueDropsItsOldest) {
    struct Case {
        int bound, pushes;
        std::vector<int> left;
    };
    for (const Case& c :
         {Case{2, 3, {2, 3}}, Case{3, 10, {8, 9, 10}}, Case{0, 3, {3}}, Case{-5, 3, {3}}, Case{100, 2, {1, 2}}}) {
        std::vector<int> ran;
        queue->SetMaxSize(c.bound);
        EXPECT_EQ(queue->GetMaxSize(), c.bound);
        const auto before = CountersOf(*queue);
        Held held(*queue);
        for (int i = 1; i <= c.pushes; ++i) queue->Push([&ran, i] { ran.push_back(i); });
        const auto counters = CountersOf(*queue);
        EXPECT_EQ(counters.queued, c.left.size());
        EXPECT_EQ(counters.running, 1u);
        EXPECT_EQ(counters.dropped - before.dropped, static_cast<std::size_t>(c.pushes) - c.left.size());
        held.Release();
        WaitUntilDone(before.done + 1 + c.left.size());
        EXPECT_EQ(ran, c.left) << "bound " << c.bound;
    }
}

TEST_P(OperationQueue, StopDestroysWhatIsQueuedAndWaitsForWhatRuns) {
    Tally tally;
    std::atomic<bool> ended{false};
    Held held(*queue);
    queue->Push(tally.Work());
    queue->Push([&] { ended = true; });
    std::thread stopper([&] {
        queue->Stop();
        ended = CountersOf(*queue).done == 1;
    });
    while (CountersOf(*queue).queued > 0) std::this_thread::yield();
    queue->Push(tally.Work());
    EXPECT_FALSE(ended);
    held.Release();
    stopper.join();
    EXPECT_TRUE(ended);
    EXPECT_EQ(tally.run, 0u);
    EXPECT_EQ(tally.unrun, 2u);
    queue->Start();
    queue->Push(tally.Work());
    WaitUntilDone(2);
    EXPECT_EQ(tally.run, 1u);
}

TEST_P(OperationQueue, PopTakesTheOldestOrLeavesItsArgument) {
    int ran = 0;
    Held held(*queue);
    std::function<void()> out;
    for (int i = 1; i <= 2; ++i) queue->Push([&, i] { ran = i; });
    for (int i = 1; i <= 2; ++i) {
        ASSERT_TRUE(queue->Pop(out));
        out();
        EXPECT_EQ(ran, i);
    }
    EXPECT_FALSE(queue->Pop(out));
    EXPECT_TRUE(out);
}

// What is destroyed calls the queue: from a push that drops it, from Pop that replaces it, from Stop, after its run.
TEST_P(OperationQueue, AnOperationMayUseTheQueueWhileItIsDestroyed) {
    struct UsesAtItsEnd {
        IOperationQueue* queue;
        std::atomic<int>* ended;
        ~UsesAtItsEnd() {
            std::function<void()> none;
            queue->Push(nullptr);
            while (queue->Pop(none)) none = nullptr;
            ++*ended;
        }
    };
    std::atomic<int> ended{0};
    const auto operation = [&] {
        return [token = std::shared_ptr<UsesAtItsEnd>(new UsesAtItsEnd{queue.get(), &ended})] {};
    };
    queue->SetMaxSize(1);
    Held held(*queue);
    queue->Push(operation());
    queue->Push(operation());  // drops the first, whose end empties the queue
    EXPECT_EQ(ended, 2);
    queue->Push([] {});
    std::function<void()> out = operation();
    queue->Pop(out);
    EXPECT_EQ(ended, 3);
    queue->Push(operation());
    held.Release();
    queue->Stop();
    EXPECT_EQ(ended, 4);
}

TEST_P(OperationQueue, EveryOperationIsRunDroppedOrRefusedExactlyOnceWheneverItStops) {
    const auto share = Amount("TANDOR_STRESS_OPERATIONS", 200'000) / 16;
    Tally tally;
    std::atomic<bool> producing{true};
    queue->SetMaxSize(8);
    queue->Start();
    std::thread producers([&] {
        InThreads(16, [&](int) {
            for (unsigned long long i = 0; i < share; ++i) {
                queue->Push(tally.Work());
                EXPECT_TRUE(i % 8 != 0 || AddsUp(CountersOf(*queue)));
            }
        });
        producing = false;
    });
    WaitUntilDone(1);
    std::mt19937 random(Seed(20));
    while (producing) {
        queue->Stop();
        queue->Start();
        const auto done = CountersOf(*queue).done;
        // At any moment, or just after the worker has begun.
        if (random() % 2 == 0) {
            for (unsigned i = random() % 300; i > 0; --i) std::this_thread::yield();
        } else {
            while (producing && CountersOf(*queue).done == done) std::this_thread::yield();
        }
    }
    queue->Stop();
    producers.join();
    const auto counters = CountersOf(*queue);
    EXPECT_EQ(counters.queued + counters.running, 0u);
    EXPECT_EQ(counters.submitted, 16 * share);
    EXPECT_TRUE(AddsUp(counters));
    EXPECT_EQ(tally.run, counters.done);
    EXPECT_EQ(tally.unrun, counters.dropped + counters.refused);
    EXPECT_EQ(tally.again, 0u);
}

// Three threads push, two stop, one stops and starts again; whoever is the last to let go of the queue destroys it.
TEST_P(OperationQueue, MayBePushedToStoppedStartedAndLetGoByAnyThread) {
    constexpr unsigned long long kPushers = 3, kPushes = 40;
    Tally tally;
    const auto rounds = Amount("TANDOR_STRESS_OPERATIONS", 200'000) / 1000;
    for (unsigned long long round = 0; round < rounds; ++round) {
        std::shared_ptr<IOperationQueue> shared(GetParam()());
        shared->Start();
        std::vector<std::thread> threads;
        for (unsigned number = 0; number < kPushers + 3; ++number) {
            threads.emplace_back([&tally, number, mine = shared] {
                for (unsigned i = 0; number < kPushers && i < kPushes; ++i) mine->Push(tally.Work());
                for (unsigned i = 0; number >= kPushers && i < 3; ++i) {
                    mine->Stop();
                    if (number == kPushers) mine->Start();
                    std::this_thread::yield();
                }
                EXPECT_TRUE(AddsUp(CountersOf(*mine)));
            });
        }
        shared.reset();
        for (std::thread& thread : threads) thread.join();
    }
    EXPECT_EQ(tally.run + tally.unrun, rounds * kPushers * kPushes);
    EXPECT_EQ(tally.again, 0u);
}

INSTANTIATE_TEST_SUITE_P(Variants, OperationQueue,
                         testing::Values(OperationQueueFactory::Create, OperationQueueFactory::CreateResident),
                         [](const auto& tested) {
                             return tested.param == OperationQueueFactory::Create ? "LowPower" : "Resident";
                         });

// Stops the queue from inside an operation; returns the error that it raised.
int StopFromInside(IOperationQueue& queue) {
    std::atomic<int> error{0};
    queue.Start();
    queue.Push([&] {
        try {
            queue.Stop();
        } catch (const std::system_error& raised) {
            error = raised.code().value();
        }
    });
    while (CountersOf(queue).done == 0) std::this_thread::yield();
    return error;
}

TEST(LowPowerQueue, StopFromInsideAnOperationRaisesAnError) {
    const std::unique_ptr<IOperationQueue> queue(OperationQueueFactory::Create());
    EXPECT_EQ(StopFromInside(*queue), static_cast<int>(std::errc::resource_deadlock_would_occur));
    queue->Start();
    queue->Stop();  // waits for the worker, which that Stop could not
}

// The worker is parked before each push: a lost wake-up would wait a minute.
TEST(ResidentQueue, APushWakesAParkedWorker) {
    const std::unique_ptr<IOperationQueue> queue(OperationQueueFactory::CreateResident());
    queue->Start();
    std::thread::id worker;
    for (int i = 0; i < 200; ++i) {
        Gate ran;
        queue->Push([&] {
            if (i == 0) worker = std::this_thread::get_id();
            EXPECT_EQ(worker, std::this_thread::get_id());
            ran.Open();
        });
        ran.Pass();
    }
}

// Pushes one operation in the moment between the worker's last look and its end.
class PushesInTheGap : public LowPowerOperationQueue {
public:
    ~PushesInTheGap() override { Stop(); }
    bool Pop(std::function<void()>& out) override {
        const bool found = LowPowerOperationQueue::Pop(out);
        if (!found && late) Push(std::exchange(late, nullptr));
        return found;
    }
    std::function<void()> late;
};

TEST(LowPowerQueue, WhatIsPushedAsTheWorkerEndsWaitsForTheNextPush) {
    PushesInTheGap queue;
    std::vector<int> ran;
    queue.late = [&] { ran.push_back(2); };
    queue.Start();
    queue.Push([&] { ran.push_back(1); });
    while (queue.GetCounters().queued != 1 || queue.GetCounters().done != 1) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(queue.GetCounters().queued, 1u);
    queue.Push([&] { ran.push_back(3); });
    while (queue.GetCounters().done != 3) std::this_thread::yield();
    queue.Stop();
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
}

TEST(OperationQueueDeathTest, WhatCannotGoOnEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    OperationQueueBase twice;
    LowPowerOperationQueue empty;
    EXPECT_DEATH((twice.Start(), twice.Start()), "");
    const auto stop_from_inside = [] {
        OperationQueueBase queue;
        std::fprintf(stderr, "raised %d\n", StopFromInside(queue));  // the process ends with the queue
    };
    EXPECT_DEATH(stop_from_inside(), "raised " + std::to_string(EDEADLK));
    EXPECT_DEATH((empty.Start(), empty.Push(nullptr), std::this_thread::sleep_for(std::chrono::seconds(30))), "");
}

}  // namespace
