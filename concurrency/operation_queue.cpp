#include "tandor/operation_queue.h"

#include <cstdint>
#include <exception>
#include <list>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

#include "base/lock.h"
#include "concurrency/pool_message.h"

namespace {

using Operation = std::function<void()>;
using TandorUtil::WorkCounters;

constexpr std::size_t kSpareNodes = 16;

}  // namespace

// docs/concurrency.md, "Why this is safe", has the whole of the arguments that stand here in parts.
struct OperationQueueBase::State {
    tandor::Lock control;  // held by a Stop until its worker has ended, and by the resident Start; taken before `lock`

    tandor::Lock lock;  // guards what follows, up to the atomics
    std::list<Operation> operations;
    std::list<Operation> spare;  // empty nodes: a push to a queue that works allocates nothing
    std::thread worker;
    // An event that resets itself: a signal is kept until one wait has taken it.
    bool signalled = false;
    bool waiting = false;
    tandor::Condition wake;
    unsigned long long submitted = 0;
    unsigned long long taken = 0;  // by Pop, and not dropped by Stop afterwards
    unsigned long long dropped = 0;
    unsigned long long refused = 0;

    std::atomic<std::size_t> count{0};
    std::atomic<std::uint32_t> running{0};
    std::atomic<std::int32_t> max_size{2};
    std::atomic<unsigned long long> done{0};  // of those taken
    std::atomic<std::thread::id> consumer{};  // the thread that is in DealQueue
    const std::uint32_t wait_milliseconds = 60'000;

    bool Append(Operation& operation, Operation& oldest);
    void Signal();
    tandor::WaitResult WaitForSignal();
    void RunUntilEmpty(IOperationQueue& queue);
    std::thread StartThread(IOperationQueue& queue);
    [[nodiscard]] bool IsInside() const { return consumer == std::this_thread::get_id(); }
};

// Under the lock. False when the queue is stopped. What is dropped goes to `oldest`, to be destroyed after the unlock.
// `running` is looked at under the lock: Stop clears it before it takes the lock to empty the list, so a push either
// comes before Stop's last look at the list, which then finds its operation and the worker that it started, or it sees
// that the queue is stopped.
bool OperationQueueBase::State::Append(Operation& operation, Operation& oldest) {
    if (running == 0) {
        ++submitted;
        ++refused;
        return false;
    }
    const std::int64_t bound = max_size.load(std::memory_order_relaxed);
    if (!operations.empty() && static_cast<std::int64_t>(operations.size()) >= bound) {
        oldest.swap(operations.front());
        operations.front().swap(operation);
        operations.splice(operations.end(), operations, operations.begin());
        ++dropped;
    } else if (!spare.empty()) {
        spare.front().swap(operation);
        operations.splice(operations.end(), spare, spare.begin());
    } else {
        operations.push_back(std::move(operation));  // may throw: nothing is counted yet
    }
    ++submitted;
    count.store(operations.size(), std::memory_order_relaxed);
    return true;
}

// Under the lock.
void OperationQueueBase::State::Signal() {
    signalled = true;
    if (waiting) wake.WakeOne();
}

tandor::WaitResult OperationQueueBase::State::WaitForSignal() {
    const std::lock_guard hold(lock);
    auto result = tandor::WaitResult::kWoken;
    if (!signalled) {
        waiting = true;
        result = wake.Wait(lock, wait_milliseconds);
        waiting = false;
    }
    signalled = false;
    return result;
}

// Through the queue's own Pop, which a derived class may have replaced. Whoever reads the count sees what was counted.
void OperationQueueBase::State::RunUntilEmpty(IOperationQueue& queue) {
    for (;;) {
        Operation operation;
        if (!queue.Pop(operation)) return;
        operation();
        operation = nullptr;
        done.fetch_add(1, std::memory_order_release);
    }
}

// The worker says itself that it is the consumer, before its first operation and until after its last: nobody has to
// look at the thread object, which belongs to whoever starts or stops. The next worker of a low-power queue may say so
// before this one takes it back.
std::thread OperationQueueBase::State::StartThread(IOperationQueue& queue) {
    return std::thread([this, &queue] {
        auto self = std::this_thread::get_id();
        consumer = self;
        queue.DealQueue();
        consumer.compare_exchange_strong(self, {});
    });
}

OperationQueueBase::OperationQueueBase() : state_(new State) {}

OperationQueueBase::~OperationQueueBase() {
    StopForGood();
    delete state_;
}

// A Stop that another thread has under way still uses the queue: it holds `control` from before `running` is 0.
void OperationQueueBase::StopForGood() {
    OperationQueueBase::Stop();
    const std::lock_guard wait(state_->control);
}

// From inside an operation this is a second Start, and there would be no end of waiting for a Stop that waits for it.
void OperationQueueBase::Start() {
    if (state_->IsInside()) std::terminate();
    const std::lock_guard one_at_a_time(state_->control);
    state_->running.exchange(1);
    std::thread worker = state_->StartThread(*this);
    const std::lock_guard hold(state_->lock);
    state_->worker = std::move(worker);
}

// The worker is taken out of its field before it is waited for: a Start and a Push may put the next one there already.
void OperationQueueBase::Stop() {
    if (state_->running == 0) return;
    const bool inside = state_->IsInside();
    std::unique_lock one_at_a_time(state_->control, std::defer_lock);
    if (!inside) one_at_a_time.lock();  // inside, a Stop that holds it may be waiting for this operation
    if (state_->running.exchange(0) == 0) return;
    for (;;) {
        Operation unrun;
        // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall): each class's destructor stops with its own
        if (!Pop(unrun)) break;
        const std::lock_guard hold(state_->lock);
        --state_->taken;
        ++state_->dropped;
    }
    std::thread worker;
    {
        const std::lock_guard hold(state_->lock);
        state_->Signal();
        if (!inside) worker.swap(state_->worker);
    }
    // Said here and not left to the thread library, which need not notice.
    if (inside) throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    if (worker.joinable()) worker.join();
}

void OperationQueueBase::Push(Operation operation) {
    Operation oldest;
    const std::lock_guard hold(state_->lock);
    if (state_->Append(operation, oldest)) state_->Signal();
}

int OperationQueueBase::GetMaxSize() { return state_->max_size.load(std::memory_order_relaxed); }
void OperationQueueBase::SetMaxSize(int maxSize) { state_->max_size.store(maxSize, std::memory_order_relaxed); }

bool OperationQueueBase::Pop(Operation& out) {
    Operation front;
    {
        const std::lock_guard hold(state_->lock);
        auto& operations = state_->operations;
        if (operations.empty()) return false;
        front.swap(operations.front());
        if (state_->spare.size() < kSpareNodes) {
            state_->spare.splice(state_->spare.end(), operations, operations.begin());
        } else {
            operations.pop_front();
        }
        ++state_->taken;
        state_->count.store(operations.size(), std::memory_order_relaxed);
    }
    out = std::move(front);  // here, because it destroys what `out` held
    return true;
}

void OperationQueueBase::DealQueue() {
    while (state_->running != 0) {
        if (state_->count.load(std::memory_order_relaxed) != 0) {
            state_->RunUntilEmpty(*this);
        } else if (state_->WaitForSignal() == tandor::WaitResult::kFailed) {
            tandor::LogPoolMessage(tandor::PoolMessageLevel::kInfo, L"OperationQueueBase::DealQueue",
                                   L"wait object failed");
        }
    }
}

// Under the lock the list and what was submitted, taken, dropped and refused agree. An operation counts as done after
// the lock under which it was taken, so no more are done than taken.
WorkCounters OperationQueueBase::GetCounters() const {
    const std::lock_guard hold(state_->lock);
    const unsigned long long done = state_->done.load(std::memory_order_acquire);
    return {.submitted = state_->submitted,
            .queued = state_->operations.size(),
            .running = state_->taken - done,
            .done = done,
            .dropped = state_->dropped,
            .refused = state_->refused};
}

LowPowerOperationQueue::LowPowerOperationQueue() = default;

// Here and not only in the base: the worker runs this class's operations.
LowPowerOperationQueue::~LowPowerOperationQueue() { StopForGood(); }

void LowPowerOperationQueue::Start() { state_->running.exchange(1); }

void LowPowerOperationQueue::Push(Operation operation) {
    Operation oldest;
    bool failed = false;
    {
        const std::lock_guard hold(state_->lock);
        if (!state_->Append(operation, oldest)) return;
        failed = !worker_active_ && !StartWorker();
        state_->Signal();
    }
    if (failed) {
        tandor::LogPoolMessage(tandor::PoolMessageLevel::kFailure, L"LowPowerOperationQueue::Push", L"ignore this");
    }
}

// Under the lock. The previous worker takes the lock no more once worker_active_ is false, so it can be waited for
// here; and there is only one, because the flag is set under the lock.
bool LowPowerOperationQueue::StartWorker() {
    worker_active_.exchange(true);
    try {
        std::thread& worker = state_->worker;
        if (worker.joinable()) worker.join();
        worker = state_->StartThread(*this);
        return true;
    } catch (...) {
        worker_active_.exchange(false);  // or no push would ever try again
        return false;
    }
}

// A push between the last look at the list and the flag's end finds the flag still set and starts nothing: its
// operation waits for the next push, or is dropped by Stop.
void LowPowerOperationQueue::DealQueue() {
    state_->RunUntilEmpty(*this);
    worker_active_.exchange(false);
}

IOperationQueue* OperationQueueFactory::Create() noexcept {
    try {
        return new LowPowerOperationQueue;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

IOperationQueue* OperationQueueFactory::CreateResident() noexcept {
    try {
        return new OperationQueueBase;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
