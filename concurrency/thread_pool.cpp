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
    std::size_t waiting = 0;  // workers that wait: without one, a submission has nobody to wake
    WorkCounters counters;    // but for the queued, which are the tasks themselves
};

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

// No wake-up is lost although it comes after the unlock and only where somebody waits: a worker looks at the tasks,
// counts itself as waiting and begins to wait under one hold of the lock, so it has either seen this task or is counted
// here. The count may be too high, by a worker that was woken and is not back yet, never too low. The condition is
// still there: a task's own thread is joined before it goes, and no other call may overlap with the destructor.
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
        wake = state_->waiting > 0;
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
        while (!state.stop && state.tasks.Empty()) {
            ++state.waiting;
            state.work.Wait(state.lock);
            --state.waiting;
        }
        if (state.tasks.Empty()) return;
        ++state.counters.running;
        {
            const Task task = state.tasks.Take();
            hold.unlock();
            task();
        }
        hold.lock();
        --state.counters.running;
        ++state.counters.done;
    }
}

}  // namespace TandorUtil
