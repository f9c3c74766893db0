#include <windows.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "base/win_handle.h"
#include "benchmarks/concurrency/pools.h"
#include "benchmarks/ratio.h"
#include "tandor/operation_queue.h"

namespace tandor::bench {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point begin) { return std::chrono::duration<double>(Clock::now() - begin).count(); }

// ---- pools

constexpr int kTasks = 5000;

void Spin(int turns) {
    for (int i = 0; i < turns; ++i) asm volatile("" : : "r"(i) : "memory");
}

// How many turns take 2 microseconds here: the fastest of several looks.
int MeasureTurns() {
    constexpr int kMany = 1'000'000;
    double fastest = 1;
    for (int i = 0; i < 10; ++i) {
        const auto begin = Clock::now();
        Spin(kMany);
        fastest = std::min(fastest, SecondsSince(begin));
    }
    return static_cast<int>(kMany * 2e-6 / fastest);
}

// The same for all that are compared.
int TurnsOfATask() {
    static const int turns = MeasureTurns();
    return turns;
}

// A round: the workers are held, the tasks are queued behind them, the workers are let go, and all are done.
struct Round {
    KernelHandle held{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    KernelHandle release{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    KernelHandle let_go{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    KernelHandle done{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    std::atomic<int> to_hold{kWorkers};
    std::atomic<int> to_let_go{kWorkers};
    std::atomic<int> left{kTasks};
    int turns = 0;
};

struct Hold {
    Round* round;
    void operator()() const {
        if (--round->to_hold == 0) ::SetEvent(round->held.Get());
        ::WaitForSingleObject(round->release.Get(), INFINITE);
        if (--round->to_let_go == 0) ::SetEvent(round->let_go.Get());
    }
};

struct TwoMicroseconds {
    Round* round;
    void operator()() const {
        Spin(round->turns);
        if (--round->left == 0) ::SetEvent(round->done.Get());
    }
};

struct RoundTimes {
    double submission, draining;
};

template <class Pool>
RoundTimes RunRound(Pool& pool) {
    Round round;
    round.turns = TurnsOfATask();
    for (unsigned i = 0; i < kWorkers; ++i) pool.Submit(Hold{&round});
    ::WaitForSingleObject(round.held.Get(), INFINITE);
    const auto submission = Clock::now();
    for (int i = 0; i < kTasks; ++i) pool.Submit(TwoMicroseconds{&round});
    const double submitted = SecondsSince(submission);
    const auto draining = Clock::now();
    ::SetEvent(round.release.Get());
    ::WaitForSingleObject(round.done.Get(), INFINITE);
    const double drained = SecondsSince(draining);
    ::WaitForSingleObject(round.let_go.Get(), INFINITE);  // a worker that was held may not have run since
    ::Sleep(1);                                           // the last task's worker is still in it
    return {submitted, drained};
}

template <class Pool>
Body Rounds(double RoundTimes::*time) {
    return [time](benchmark::State& state) {
        Pool pool;
        RunRound(pool);
        for (auto _ : state) state.SetIterationTime(RunRound(pool).*time);
    };
}

struct Nothing {
    void* as_large_as_the_others = nullptr;
    void operator()() const {}
};

// From the first submission until all tasks were run and the threads have ended. A million take half a minute here when
// the machine is busy; the time of one task is the same.
template <class Pool>
void ManyEmptyTasks(benchmark::State& state) {
    constexpr int kMany = 20'000;
    for (auto _ : state) {
        std::optional<Pool> pool(std::in_place);
        const auto begin = Clock::now();
        for (int i = 0; i < kMany; ++i) pool->Submit(Nothing());
        pool.reset();
        state.SetIterationTime(SecondsSince(begin));
    }
}

// As many workers as there are processors.
void TasksOnTwoWorkers(benchmark::State& state) {
    OurPool pool(2);
    Round round;
    round.turns = TurnsOfATask();
    for (auto _ : state) {
        round.left = kTasks;
        const auto begin = Clock::now();
        for (int i = 0; i < kTasks; ++i) pool.Submit(TwoMicroseconds{&round});
        ::WaitForSingleObject(round.done.Get(), INFINITE);
        state.SetIterationTime(SecondsSince(begin));
    }
}

// The same work without a pool: on one thread, or half each on two that run already.
void TasksInline(benchmark::State& state, bool two_threads) {
    const int turns = TurnsOfATask(), tasks = two_threads ? kTasks / 2 : kTasks;
    for (auto _ : state) {
        std::atomic<int> there{0};
        const auto half = [&] {
            for (++there; there < 2;) YieldProcessor();
            for (int i = 0; i < tasks; ++i) Spin(turns);
        };
        std::thread second;
        if (two_threads) {
            second = std::thread(half);
            while (there == 0) YieldProcessor();
        } else {
            ++there;
        }
        const auto begin = Clock::now();
        half();
        if (two_threads) second.join();
        state.SetIterationTime(SecondsSince(begin));
    }
}

struct NoteStart {
    struct Note {
        Clock::time_point begin;
        std::atomic<bool> done{false};
    };
    Note* note;
    void operator()() const {
        note->begin = Clock::now();
        note->done = true;
    }
};

template <class Pool>
void StartOfAParkedWorker(benchmark::State& state) {
    Pool pool;
    NoteStart::Note note;
    for (auto _ : state) {
        for (const auto parking = Clock::now(); SecondsSince(parking) < 100e-6;) YieldProcessor();
        const auto submission = Clock::now();
        pool.Submit(NoteStart{&note});
        while (!note.done.exchange(false)) YieldProcessor();
        state.SetIterationTime(std::chrono::duration<double>(note.begin - submission).count());
    }
}

void AddPools() {
    const auto compare = [](const std::string& what, double RoundTimes::*time, Target asio, Target system) {
        Compare(what, "Boost.Asio thread_pool", asio, Rounds<OurPool>(time), Rounds<AsioPool>(time), true);
        Compare(what, "Win32 thread pool", system, Rounds<OurPool>(time), Rounds<SystemPool>(time), true);
    };
    compare("pool, submission of 5,000 tasks of 2 µs to busy workers", &RoundTimes::submission, AtMostTimes(1),
            AtLeastAsFast(5));
    compare("pool, draining a queue of 5,000 tasks of 2 µs", &RoundTimes::draining, AtMostTimes(1), Reported());
    const std::string many = "pool, 20,000 empty tasks on 4 workers, run and joined";
    Compare(many, "Boost.Asio thread_pool", AtMostTimes(1), ManyEmptyTasks<OurPool>, ManyEmptyTasks<AsioPool>, true);
    Compare(many, "std::mutex, std::condition_variable, std::deque", Reported(), ManyEmptyTasks<OurPool>,
            ManyEmptyTasks<StandardPool>, true);
    Compare(many, "Win32 thread pool with a cleanup group", Reported(), ManyEmptyTasks<OurPool>,
            ManyEmptyTasks<JoinedSystemPool>, true);
    const std::string two = "pool, 5,000 tasks of 2 µs on 2 workers, submitted and run";
    const auto inline_on = [](bool two_threads) {
        return [two_threads](benchmark::State& state) { TasksInline(state, two_threads); };
    };
    Compare(two, "the same inline", AtMostTimes(0.62), TasksOnTwoWorkers, inline_on(false), true);
    Compare(two, "two threads with half of them each", Reported(), TasksOnTwoWorkers, inline_on(true), true);
    const std::string start = "pool, submission to start with parked workers";
    Compare(start, "Boost.Asio thread_pool", Reported(), StartOfAParkedWorker<OurPool>, StartOfAParkedWorker<AsioPool>,
            true);
    Compare(start, "Win32 thread pool", Reported(), StartOfAParkedWorker<OurPool>, StartOfAParkedWorker<SystemPool>,
            true);
    Compare(start, "std::condition_variable", AtMostTimes(0.5), StartOfAParkedWorker<OurPool>,
            StartOfAParkedWorker<StandardPool>, true);
}

// ---- low-power queue

constexpr int kPushes = 2000;

struct CountRun {
    std::atomic<int>* count;
    void operator()() const { ++*count; }
};

// A running queue whose worker is held in an operation.
class HeldQueue {
public:
    explicit HeldQueue(int bound) : queue_(OperationQueueFactory::Create()) {
        round_.to_hold = 1;
        queue_->SetMaxSize(bound);
        queue_->Start();
        queue_->Push(Hold{&round_});
        ::WaitForSingleObject(round_.held.Get(), INFINITE);
    }
    ~HeldQueue() {
        ::SetEvent(round_.release.Get());
        queue_->Stop();
    }
    HeldQueue(const HeldQueue&) = delete;
    HeldQueue& operator=(const HeldQueue&) = delete;
    void Push(std::function<void()> operation) { queue_->Push(std::move(operation)); }
    bool Pop(std::function<void()>& out) { return queue_->Pop(out); }

private:
    const std::unique_ptr<IOperationQueue> queue_;
    Round round_;
};

// The same rules with the standard library's parts.
class StandardQueue {
public:
    explicit StandardQueue(int bound) : bound_(bound) {}
    void Push(std::function<void()> operation) {
        const std::lock_guard hold(mutex_);
        if (!running_) return;
        if (static_cast<int>(operations_.size()) >= bound_) operations_.pop_front();
        operations_.push_back(std::move(operation));
    }
    bool Pop(std::function<void()>& out) {
        const std::lock_guard hold(mutex_);
        if (operations_.empty()) return false;
        out = std::move(operations_.front());
        operations_.pop_front();
        return true;
    }

private:
    const int bound_;
    bool running_ = true;
    std::mutex mutex_;
    std::list<std::function<void()>> operations_;
};

// With a bound of 2, nearly every push without a pop drops the oldest.
template <class Queue>
Body PushAndPop(int bound, bool pop) {
    return [=](benchmark::State& state) {
        Queue queue(bound);
        std::atomic<int> count{0};
        std::function<void()> out;
        for (auto _ : state) {
            const auto begin = Clock::now();
            for (int i = 0; i < kPushes; ++i) {
                queue.Push(CountRun{&count});
                if (pop) queue.Pop(out);
            }
            state.SetIterationTime(SecondsSince(begin));
            while (queue.Pop(out)) {
            }
        }
    };
}

void AddQueue() {
    const auto compare = [](const std::string& what, Target target, int bound, bool pop) {
        Compare("running queue, 2,000 " + what, "std::list under std::mutex, the same rules", target,
                PushAndPop<HeldQueue>(bound, pop), PushAndPop<StandardQueue>(bound, pop), true);
    };
    compare("pushes and pops", AtMostTimes(0.8), 2, true);
    compare("pushes that drop the oldest", AtMostTimes(0.8), 2, false);
    compare("pushes that drop nothing", Reported(), 1 << 30, false);
}

}  // namespace

void AddConcurrency() {
    AddPools();
    AddQueue();
}

}  // namespace tandor::bench
