// What pool and queues do with the system: messages, threads and handles, processor time.
#include "support/testing.h"
#include "tandor/operation_queue.h"
#include "tandor/thread_pool.h"

namespace {

using namespace tandor::test;

TEST(PoolMessages, APoolSaysThatItStopsAndThatItStopped) {
    for (const unsigned long long threads : {0, 2}) {
        HostLog log;
        {
            TandorUtil::ThreadPool pool(threads);
            pool.Start();
            EXPECT_THAT(log.Take(), IsEmpty());
        }
        EXPECT_THAT(log.Take(), ElementsAre(L"3 notify all threads to stop(TandorUtil::ThreadPool::Stop)",
                                            L"3 all threads stopped(TandorUtil::ThreadPool::Stop)"));
    }
}

std::atomic<int> failing_waits{0};

BOOL WINAPI FailingWait(volatile void* address, void* value, SIZE_T size, DWORD milliseconds) {
    if (failing_waits.fetch_sub(1) > 0) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return ::WaitOnAddress(address, value, size, milliseconds);
}

TEST(PoolMessages, AWaitThatFailsIsLoggedAndTheResidentWorkerGoesOn) {
    HostLog log;
    failing_waits = 3;
    const ImportPatch patch(L"TandorUtil.dll", "WaitOnAddress", &FailingWait);
    const std::unique_ptr<IOperationQueue> queue(OperationQueueFactory::CreateResident());
    queue->Start();
    while (failing_waits > 0) std::this_thread::yield();
    Gate ran;
    queue->Push([&] { ran.Open(); });
    ran.Pass();
    queue->Stop();
    const std::wstring message = L"3 wait object failed(OperationQueueBase::DealQueue)";
    EXPECT_THAT(log.Take(), ElementsAre(message, message, message));
}

// The C run-time's own call for a thread, which the thread library makes.
uintptr_t NoThread(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) {
    errno = EAGAIN;
    return 0;
}

TEST(PoolMessages, AWorkerThatCannotBeStartedIsLoggedAndTheNextPushTriesAgain) {
    HostLog log;
    Tally tally;
    const std::unique_ptr<IOperationQueue> queue(OperationQueueFactory::Create());
    queue->Start();
    {
        const ImportPatch patch(L"libwinpthread-1.dll", "_beginthreadex", &NoThread);
        queue->Push(tally.Work());
    }
    EXPECT_THAT(log.Take(), ElementsAre(L"4 ignore this(LowPowerOperationQueue::Push)"));
    EXPECT_EQ(tally.run + tally.unrun, 0u);
    queue->Push(tally.Work());
    while (tally.run < 2) std::this_thread::yield();
}

int threads_left = 0;

uintptr_t FewThreads(void* security, unsigned stack, unsigned(__stdcall* begin)(void*), void* argument, unsigned flags,
                     unsigned* id) {
    return threads_left-- > 0 ? ::_beginthreadex(security, stack, begin, argument, flags, id)
                              : NoThread(security, stack, begin, argument, flags, id);
}

TEST(ThreadPoolOnTheSystem, AStartThatGetsTooFewThreadsThrowsAndThoseItGotWorkOn) {
    Tally tally;
    {
        TandorUtil::ThreadPool pool(3);
        {
            threads_left = 1;
            const ImportPatch patch(L"libwinpthread-1.dll", "_beginthreadex", &FewThreads);
            EXPECT_THROW(pool.Start(), std::system_error);
        }
        EXPECT_EQ(pool.Start(), -1);
        EXPECT_TRUE(pool.Submit(tally.Work()));
    }
    EXPECT_EQ(tally.run, 1u);
}

std::vector<EXECUTION_STATE> states;

EXECUTION_STATE WINAPI RecordState(EXECUTION_STATE state) {
    states.push_back(state);
    return ::SetThreadExecutionState(state);
}

EXECUTION_STATE WINAPI RefuseState(EXECUTION_STATE) { return 0; }

TEST(SuspendController, HoldsTheSystemAwakeForItsScope) {
    HostLog log;
    {
        const ImportPatch patch(L"TandorUtil.dll", "SetThreadExecutionState", &RecordState);
        const SuspendControllerClass awake;
        EXPECT_EQ(states, std::vector<EXECUTION_STATE>{0x80000003});
        EXPECT_EQ(::SetThreadExecutionState(0x80000003), 0x80000003u);  // the system's answer is what was set before
    }
    EXPECT_EQ(states, (std::vector<EXECUTION_STATE>{0x80000003, 0x80000000}));
    EXPECT_THAT(log.Take(), IsEmpty());
    const ImportPatch patch(L"TandorUtil.dll", "SetThreadExecutionState", &RefuseState);
    { const SuspendControllerClass refused; }
    EXPECT_THAT(log.Take(),
                ElementsAre(L"4 SetThreadExecutionState failed(SuspendControllerClass::SuspendControllerClass)"));
}

void StartAndStop(IOperationQueue& queue, unsigned long long cycles) {
    std::atomic<bool> end{false};
    std::thread producers([&] {
        InThreads(8, [&](int) {
            for (; !end; std::this_thread::yield()) queue.Push([] {});
        });
    });
    for (unsigned long long i = 0; i < cycles; ++i) {
        queue.Start();
        const auto done = static_cast<OperationQueueBase&>(queue).GetCounters().done;
        while (static_cast<OperationQueueBase&>(queue).GetCounters().done == done) std::this_thread::yield();
        queue.Stop();
    }
    end = true;
    producers.join();
}

TEST(LowPowerQueueOnTheSystem, ManyStartsAndStopsLeaveNoThreadAndNoHandle) {
    const std::unique_ptr<IOperationQueue> queue(OperationQueueFactory::Create());
    StartAndStop(*queue, 3);  // what the thread library keeps for itself
    const LeakWatch watch;
    const auto cycles = Amount("TANDOR_STRESS_CYCLES", 100);
    StartAndStop(*queue, cycles);
    watch.ExpectNoMoreThan(cycles / 4);
}

TEST(LowPowerQueueOnTheSystem, KeepsAThreadOnlyWhileThereIsWork) {
    const int threads = ThreadsOfThisProcess();
    const std::unique_ptr<IOperationQueue> queue(OperationQueueFactory::Create());
    queue->Start();
    EXPECT_EQ(ThreadsOfThisProcess(), threads);
    Gate gate, held;
    queue->Push([&] {
        held.Open();
        gate.Pass();
    });
    held.Pass();
    EXPECT_EQ(ThreadsOfThisProcess(), threads + 1);
    gate.Open();
    while (ThreadsOfThisProcess() != threads) ::Sleep(1);
}

ULONGLONG ProcessorTime() {
    ULARGE_INTEGER times[4];  // created, ended, in the kernel, outside
    auto* const out = reinterpret_cast<FILETIME*>(times);
    ::GetProcessTimes(::GetCurrentProcess(), out, out + 1, out + 2, out + 3);
    return times[2].QuadPart + times[3].QuadPart;
}

TEST(IdleOnTheSystem, PoolAndQueuesUseNoProcessorTime) {
    TandorUtil::ThreadPool pool;
    pool.Start();
    const std::unique_ptr<IOperationQueue> low_power(OperationQueueFactory::Create());
    const std::unique_ptr<IOperationQueue> resident(OperationQueueFactory::CreateResident());
    std::atomic<int> ran{0};
    for (IOperationQueue* const queue : {low_power.get(), resident.get()}) {
        queue->Start();
        queue->Push([&] { ++ran; });
    }
    pool.Submit([&] { ++ran; });
    while (ran < 3) ::Sleep(1);
    ::Sleep(50);
    const ULONGLONG before = ProcessorTime();
    ::Sleep(1000);
    EXPECT_LE(ProcessorTime() - before, 200'000u);  // 20 ms of 1 s: two ticks of the clock that counts it
}

}  // namespace
