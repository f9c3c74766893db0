/// @file
/// Bounded queues that keep the newest few operations and run them one after another, and the scope that keeps the
/// system awake.
#pragma once

#include <atomic>
#include <functional>

#include "tandor/api.h"
#include "tandor/uncopyable.h"
#include "tandor/work_counters.h"

/// Operations in the order of their arrival, for one consumer.
class TANDOR_API IOperationQueue {
public:
    IOperationQueue() = default;
    /// An interface holds nothing to copy.
    /// @{
    IOperationQueue(const IOperationQueue&) = default;
    IOperationQueue& operator=(const IOperationQueue&) = default;
    /// @}
    virtual ~IOperationQueue() = default;

    /// From now on operations are accepted.
    virtual void Start() = 0;

    /// From now on operations are refused. Those queued are destroyed without being run, and the one that runs is
    /// waited for. Does nothing on a queue that is stopped.
    virtual void Stop() = 0;

    /// Queues an operation, or destroys it when the queue is stopped.
    virtual void Push(std::function<void()> operation) = 0;

    /// The most operations that wait; 2 at first. A smaller bound drops nothing by itself.
    /// @{
    virtual int GetMaxSize() = 0;
    virtual void SetMaxSize(int maxSize) = 0;
    /// @}

    /// Moves the oldest operation into `out` and returns true, or returns false and leaves `out` as it was.
    virtual bool Pop(std::function<void()>& out) = 0;

    /// What the worker thread does. Nobody else calls it.
    virtual void DealQueue() = 0;
};

/// The resident variant: Start starts a worker thread that lives until Stop. At most GetMaxSize() operations wait (one,
/// if that is 0 or less); a push to a full queue drops the oldest.
///
/// Threads: Push, Pop, the bound and the counters may be used from any thread, also from inside an operation and from
/// an operation's destructor: no operation is destroyed under the queue's lock. Start and Stop may be called from any
/// thread, but not from an operation's destructor. Of several threads that stop the queue one waits for the worker, and
/// a Stop that finds the queue stopped returns at once; a Start that meets a Stop waits for its end. Stop from inside
/// an operation raises std::system_error (resource deadlock would occur); Start there ends the process. The queue is
/// destroyed when no other call is under way, or none but a Stop.
/// A class that derives from a queue and overrides Pop or DealQueue calls Stop in its own destructor; its Pop takes
/// through this class's, which counts.
class TANDOR_API OperationQueueBase : public IOperationQueue, private UnCopyable {
public:
    /// std::bad_alloc may leave.
    OperationQueueBase();

    /// As Stop. The process ends if the worker cannot be waited for, as after a Stop from inside an operation.
    ~OperationQueueBase() override;

    /// A second Start without a Stop between them ends the process. std::system_error leaves when there is no thread.
    void Start() override;
    /// As IOperationQueue::Stop. Called from inside an operation it throws; see the class.
    void Stop() override;

    /// std::bad_alloc may leave; nothing is queued or dropped then. An exception that an operation throws ends the
    /// process; so does an empty operation (std::bad_function_call).
    void Push(std::function<void()> operation) override;
    int GetMaxSize() override;
    void SetMaxSize(int maxSize) override;
    bool Pop(std::function<void()>& out) override;
    /// Runs what is queued, and waits for more, until Stop.
    void DealQueue() override;

    /// The state of one moment. What a caller took with Pop stays among the running, since nobody says when it has
    /// ended; what Stop has taken and is about to destroy is there for that time. Everything that the factory creates
    /// is an OperationQueueBase.
    [[nodiscard]] TandorUtil::WorkCounters GetCounters() const;

private:
    friend class LowPowerOperationQueue;
    struct State;
    void StopForGood();
    State* state_;
};

/// The variant without a resident thread: a worker is started by a push that finds none and ends when the queue is
/// empty. An operation pushed in the moment between the worker's last look and its end stays queued until the next
/// push.
///
/// Threads: as OperationQueueBase, but Start only opens the queue, also from inside an operation: it waits for nothing,
/// and a Stop that it meets waits for what is pushed meanwhile. When the system gives no thread the operation stays
/// queued, and the next push tries again.
class TANDOR_API LowPowerOperationQueue : public OperationQueueBase {
public:
    /// std::bad_alloc may leave.
    LowPowerOperationQueue();
    /// As Stop.
    ~LowPowerOperationQueue() override;

    /// Starts no thread.
    void Start() override;
    /// As OperationQueueBase::Push, and starts the worker when there is none.
    void Push(std::function<void()> operation) override;
    /// Runs what is queued and ends.
    void DealQueue() override;

private:
    bool StartWorker();

    std::atomic<bool> worker_active_{false};
};

/// Both functions return null when there is no memory and throw nothing. The caller deletes the queue. It refuses
/// everything until Start. They may be called from any thread.
class TANDOR_API OperationQueueFactory {
public:
    /// The low-power variant.
    static IOperationQueue* Create() noexcept;

    /// The resident variant.
    static IOperationQueue* CreateResident() noexcept;
};

/// Keeps the system and the display awake while it lives.
///
/// Threads: the requirement is the calling thread's; the object is destroyed on the thread that built it.
class TANDOR_API SuspendControllerClass {
public:
    /// A failure is logged, and the object does nothing.
    SuspendControllerClass();
    /// The system may sleep again, unless something else keeps it awake.
    ~SuspendControllerClass();
    SuspendControllerClass(const SuspendControllerClass&) = delete;
    SuspendControllerClass& operator=(const SuspendControllerClass&) = delete;
};
