/// @file
/// A fixed set of worker threads that run tasks in the order of their submission.
#pragma once

#include <functional>

#include "tandor/api.h"
#include "tandor/work_counters.h"

namespace TandorUtil {

/// A pool is used once: constructed, started, destroyed. Tasks may be submitted before the start; they wait for it.
///
/// Threads: Submit and GetCounters may be called from any thread, also from inside a task. Start and the destructor
/// belong to the owner, who destroys the pool when no call from outside its tasks is under way any more. Tasks run with
/// no lock held and on several threads at once; they are started in the order of submission and may end in any. A task
/// that waits for another one holds its worker meanwhile.
class TANDOR_API ThreadPool {
public:
    static constexpr int DEFAULT_SIZE = 4;  ///< threads of a pool that is given no number

    /// A pool of DEFAULT_SIZE, or of `threadCount`, threads. With 0 nothing is ever run.
    /// @{
    ThreadPool();
    explicit ThreadPool(unsigned long long threadCount);
    /// @}

    /// Refuses tasks from now on, runs those already queued (with threads that were started) and waits for the threads.
    /// What no thread could run is destroyed without being run, on the calling thread. A task must not destroy its
    /// pool: a thread cannot wait for itself, and the process ends.
    ~ThreadPool();

    /// Starts the threads. Returns 0, or -1 when they were started before. std::system_error leaves when the system
    /// gives no further thread; those it gave work on.
    int Start();

    /// Queues a task, and a worker that waits comes for it. Returns false, with the task destroyed, once the destructor
    /// has begun. std::bad_alloc may leave; the task is not queued then. An exception that a task throws ends the
    /// process; so does an empty task (std::bad_function_call).
    bool Submit(std::function<void()> task);

    /// The state of one moment. `dropped` counts only what the destructor found.
    [[nodiscard]] WorkCounters GetCounters() const;

    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

private:
    void Stop();
    void ThreadProc();

    struct State;
    State* state_;
};

}  // namespace TandorUtil
