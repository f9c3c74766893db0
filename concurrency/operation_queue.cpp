#include "tandor/operation_queue.h"

#include <cstdint>
#include <list>
#include <memory>
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

// Whoever reads the count sees what was counted.
void Add(std::atomic<unsigned long long>& counter) { counter.fetch_add(1, std::memory_order_release); }
void Subtract(std::atomic<unsigned long long>& counter) { counter.fetch_sub(1, std::memory_order_relaxed); }

}  // namespace

// The lock guards the list, the spare nodes, the wake flag and the worker; the rest is read without it.
struct OperationQueueBase::State {
    tandor::Lock lock;
    std::list<Operation> operations;
    std::list<Operation> spare;  // empty nodes: a push to a queue that works allocates nothing
    std::atomic<std::size_t> count{0};
    std::unique_ptr<std::thread> worker;
    std::atomic<std::uint32_t> running{0};
    std::atomic<std::int32_t> max_size{2};
    std::uint32_t wait_milliseconds = 60'000;

    // An event that resets itself: a signal is kept until one wait has taken it.
    bool signalled = false;
    bool waiting = false;
    tandor::Condition wake;

    std::atomic<unsigned long long> operations_running{0};
    std::atomic<unsigned long long> done{0};
    std::atomic<unsigned long long> dropped{0};
    std::atomic<unsigned long long> refused{0};

    bool Append(Operation& operation, Operation& oldest);
    void Signal();
    tandor::WaitResult WaitForSignal();
    void RunUntilEmpty(IOperationQueue& queue);
};

// Under the lock. False when the queue is stopped. What is dropped goes to `oldest`, to be destroyed after the unlock.
// Looking at `running` once more under the lock is what keeps a push that overlaps with Stop from leaving an operation,
// or a worker that nobody waits for, behind.
bool OperationQueueBase::State::Append(Operation& operation, Operation& oldest) {
    if (running == 0) {
        Add(refused);
        return false;
    }
    const std::int64_t bound = max_size.load(std::memory_order_relaxed);
    if (!operations.empty() && static_cast<std::int64_t>(operations.size()) >= bound) {
        oldest.swap(operations.front());
        operations.front().swap(operation);
        operations.splice(operations.end(), operations, operations.begin());
        Add(dropped);
    } else if (!spare.empty()) {
        spare.front().swap(operation);
        operations.splice(operations.end(), spare, spare.begin());
    } else {
        operations.push_back(std::move(operation));
    }
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

// Through the queue's own Pop, which a derived class may have replaced.
void OperationQueueBase::State::RunUntilEmpty(IOperationQueue& queue) {
    for (;;) {
        Operation operation;
        if (!queue.Pop(operation)) return;
        Add(operations_running);
        operation();
        operation = nullptr;
        Subtract(operations_running);
        Add(done);
    }
}

OperationQueueBase::OperationQueueBase() : state_(new State) {}

OperationQueueBase::~OperationQueueBase() {
    OperationQueueBase::Stop();
    delete state_;
}

void OperationQueueBase::Start() {
    state_->running.exchange(1);
    std::thread worker([this] { DealQueue(); });
    const std::lock_guard hold(state_->lock);
    if (state_->worker == nullptr) state_->worker = std::make_unique<std::thread>();
    *state_->worker = std::move(worker);
}

void OperationQueueBase::Stop() {
    if (state_->running == 0) return;
    state_->running.exchange(0);
    for (;;) {
        Operation unrun;
        // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall): each class's destructor stops with its own
        if (!Pop(unrun)) break;
        Add(state_->dropped);
    }
    {
        const std::lock_guard hold(state_->lock);
        state_->Signal();
    }
    if (state_->worker == nullptr || !state_->worker->joinable()) return;
    // Said here and not left to the thread library, which need not notice.
    if (state_->worker->get_id() == std::this_thread::get_id())
        throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    state_->worker->join();
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

WorkCounters OperationQueueBase::GetCounters() const {
    const std::lock_guard hold(state_->lock);
    return {.queued = state_->operations.size(),
            .running = state_->operations_running,
            .done = state_->done,
            .dropped = state_->dropped,
            .refused = state_->refused};
}

LowPowerOperationQueue::LowPowerOperationQueue() = default;

// Here and not only in the base: the worker runs this class's operations.
LowPowerOperationQueue::~LowPowerOperationQueue() { OperationQueueBase::Stop(); }

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
// here.
bool LowPowerOperationQueue::StartWorker() {
    worker_active_.exchange(true);
    try {
        auto& worker = state_->worker;
        if (worker != nullptr && worker->joinable()) worker->join();
        worker = std::make_unique<std::thread>([this] { DealQueue(); });
        return true;
    } catch (...) {
        worker_active_.exchange(false);  // or no push would ever try again
        return false;
    }
}

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
