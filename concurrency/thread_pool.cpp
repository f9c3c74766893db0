#include "tandor/thread_pool.h"

#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "base/lock.h"
#include "concurrency/pool_message.h"
#include "concurrency/task_ring.h"

namespace TandorUtil {

using tandor::Task;
using tandor::TaskRing;

struct ThreadPool::State {
    explicit State(unsigned long long count) : thread_count(count) {}

    const unsigned long long thread_count;
    std::vector<std::thread> workers;
    tandor::Lock lock;  // guards all that follows
    tandor::Condition work;
    TaskRing tasks;
    bool stop = false;
    std::size_t parked = 0;  // workers in a wait
    bool called = false;     // to one of those there is a wake-up on its way
    WorkCounters counters;   // but for the queued, which are the tasks themselves

    bool CallWorker();
    void Park();
};

// Under the lock, before an unlock. True when the caller has to wake a worker after it.
//
// One at a time is called, and it calls the next one when it finds more than one task. What holds at each unlock is:
// there is no task, or no worker is parked, or one is called. A call ends when a worker, which need not be the one that
// was meant, comes back from its wait; it looks at the tasks under that hold. A worker takes a task only together with
// a look here, so it leaves none behind with a worker parked that nobody has called.
bool ThreadPool::State::CallWorker() {
    const bool wanted = !called && parked > 0 && !tasks.Empty();
    called = called || wanted;
    return wanted;
}

void ThreadPool::State::Park() {
    ++parked;
    work.Wait(lock);
    --parked;
    called = false;
}

// Exported as well: a caller that takes it by reference asks the library for it.
constexpr int ThreadPool::DEFAULT_SIZE;

ThreadPool::ThreadPool() : ThreadPool(DEFAULT_SIZE) {}

ThreadPool::ThreadPool(unsigned long long threadCount) : state_(new State(threadCount)) {}

ThreadPool::~ThreadPool() {
    Stop();
    TaskRing rest;
    {
        const std::lock_guard hold(state_->lock);
        std::swap(rest, state_->tasks);
        state_->counters.dropped += rest.Size();
    }
    rest = {};  // while a task's destructor can still ask the pool
    delete state_;
}

int ThreadPool::Start() {
    if (!state_->workers.empty()) return -1;
    for (unsigned long long i = 0; i < state_->thread_count; ++i) {
        state_->workers.emplace_back([this] { ThreadProc(); });
    }
    return 0;
}

// No wake-up is lost although it comes after the unlock and only where a worker is parked: a worker looks at the tasks,
// counts itself as parked and begins to wait under one hold of the lock, so it has either seen this task or is counted
// here. The condition is still there: a task's own thread is joined before it goes, and no other call may overlap with
// the destructor.
bool ThreadPool::Submit(Task task) {
    bool wake = false;
    {
        const std::lock_guard hold(state_->lock);
        if (state_->stop) {
            ++state_->counters.submitted;
            ++state_->counters.refused;
            return false;
        }
        state_->tasks.Push(std::move(task));
        ++state_->counters.submitted;
        wake = state_->CallWorker();
    }
    if (wake) state_->work.WakeOne();
    return true;
}

WorkCounters ThreadPool::GetCounters() const {
    const std::lock_guard hold(state_->lock);
    WorkCounters counters = state_->counters;
    counters.queued = state_->tasks.Size();
    return counters;
}

void ThreadPool::Stop() {
    {
        const std::lock_guard hold(state_->lock);
        state_->stop = true;
    }
    constexpr auto kFunction = L"TandorUtil::ThreadPool::Stop";
    tandor::LogPoolMessage(tandor::PoolMessageLevel::kInfo, kFunction, L"notify all threads to stop");
    state_->work.WakeAll();
    for (std::thread& worker : state_->workers) {
        // Said here and not left to the thread library, which need not notice.
        if (worker.get_id() == std::this_thread::get_id())
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        worker.join();
    }
    tandor::LogPoolMessage(tandor::PoolMessageLevel::kInfo, kFunction, L"all threads stopped");
}

// One task at a time: a worker that took several could hold back one that another's task waits for. A worker ends only
// when it sees the flag and no task under one hold of the lock, and Submit accepts nothing once the flag is set: every
// task that was accepted is run, whenever Stop comes.
void ThreadPool::ThreadProc() {
    State& state = *state_;
    std::unique_lock hold(state.lock);
    for (;;) {
        while (!state.stop && state.tasks.Empty()) state.Park();
        if (state.tasks.Empty()) return;
        ++state.counters.running;
        {
            const Task task = state.tasks.Take();
            const bool wake = state.CallWorker();
            hold.unlock();
            if (wake) state.work.WakeOne();
            task();
        }
        hold.lock();
        --state.counters.running;
        ++state.counters.done;
    }
}

}  // namespace TandorUtil
