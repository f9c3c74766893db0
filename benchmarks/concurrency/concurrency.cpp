#include <windows.h>

#include <atomic>
#include <bit>
#include <chrono>
#include <list>
#include <memory>
#include <vector>

#include "base/win_handle.h"
#include "benchmarks/concurrency/pools.h"
#include "benchmarks/ratio.h"
#include "concurrency/handle_table.h"
#include "tandor/operation_queue.h"
#include "tandor/state_watch.h"
#include "tests/support/handle_table_double.h"

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
int TurnsOfATask() {
    constexpr int kMany = 1'000'000;
    double fastest = 1;
    for (int i = 0; i < 10; ++i) {
        const auto begin = Clock::now();
        Spin(kMany);
        fastest = std::min(fastest, SecondsSince(begin));
    }
    return static_cast<int>(kMany * 2e-6 / fastest);
}

// A round: the workers are held, the tasks are queued behind them, the workers are let go, and all are done.
struct Round {
    KernelHandle held{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    KernelHandle release{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    KernelHandle done{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    std::atomic<int> to_hold{kWorkers};
    std::atomic<int> left{kTasks};
    int turns = 0;
};

struct Hold {
    Round* round;
    void operator()() const {
        if (--round->to_hold == 0) ::SetEvent(round->held.Get());
        ::WaitForSingleObject(round->release.Get(), INFINITE);
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
    static const int turns = TurnsOfATask();
    Round round;
    round.turns = turns;
    for (unsigned i = 0; i < kWorkers; ++i) pool.Submit(Hold{&round});
    ::WaitForSingleObject(round.held.Get(), INFINITE);
    const auto submission = Clock::now();
    for (int i = 0; i < kTasks; ++i) pool.Submit(TwoMicroseconds{&round});
    const double submitted = SecondsSince(submission);
    const auto draining = Clock::now();
    ::SetEvent(round.release.Get());
    ::WaitForSingleObject(round.done.Get(), INFINITE);
    const double drained = SecondsSince(draining);
    ::Sleep(1);  // the last task's worker is still in it
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

struct NoteStart {
    struct Note {
        Clock::time_point begin;
        KernelHandle done{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    };
    Note* note;
    void operator()() const {
        note->begin = Clock::now();
        ::SetEvent(note->done.Get());
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
        ::WaitForSingleObject(note.done.Get(), INFINITE);
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
    compare("pool, draining a queue of 5,000 tasks of 2 µs", &RoundTimes::draining, AtMostTimes(1), AtMostTimes(1));
    const std::string start = "pool, submission to start with parked workers";
    Compare(start, "Boost.Asio thread_pool", Reported(), StartOfAParkedWorker<OurPool>, StartOfAParkedWorker<AsioPool>,
            true);
    Compare(start, "Win32 thread pool", Reported(), StartOfAParkedWorker<OurPool>, StartOfAParkedWorker<SystemPool>,
            true);
}

// ---- low-power queue

constexpr int kPushes = 2000;

struct CountRun {
    std::atomic<int>* count;
    void operator()() const { ++*count; }
};

// The queue's worker is held in an operation. With a bound of 2 nearly every push drops the oldest.
Body PushToRunningWorker(int bound) {
    return [bound](benchmark::State& state) {
        const std::unique_ptr<IOperationQueue> queue(OperationQueueFactory::Create());
        std::atomic<int> count{0};
        Round round;
        round.to_hold = 1;
        queue->SetMaxSize(bound);
        queue->Start();
        queue->Push(Hold{&round});
        ::WaitForSingleObject(round.held.Get(), INFINITE);
        for (auto _ : state) {
            const auto begin = Clock::now();
            for (int i = 0; i < kPushes; ++i) queue->Push(CountRun{&count});
            state.SetIterationTime(SecondsSince(begin));
            std::function<void()> out;
            while (queue->Pop(out)) {
            }
        }
        ::SetEvent(round.release.Get());
        queue->Stop();
    };
}

void LockAppendUnlock(benchmark::State& state) {
    SRWLOCK lock = SRWLOCK_INIT;
    std::list<std::function<void()>> operations;
    std::atomic<int> count{0};
    for (auto _ : state) {
        const auto begin = Clock::now();
        for (int i = 0; i < kPushes; ++i) {
            std::function<void()> operation = CountRun{&count};
            ::AcquireSRWLockExclusive(&lock);
            operations.push_back(std::move(operation));
            ::ReleaseSRWLockExclusive(&lock);
        }
        state.SetIterationTime(SecondsSince(begin));
        operations.clear();
    }
}

void AddQueue() {
    const std::string baseline = "SRWLOCK, list append, unlock";
    Compare("low-power queue, 2,000 pushes that drop the oldest", baseline, AtMostTimes(1.5), PushToRunningWorker(2),
            LockAppendUnlock, true);
    Compare("low-power queue, 2,000 pushes that drop nothing", baseline, AtMostTimes(1.5), PushToRunningWorker(1 << 30),
            LockAppendUnlock, true);
}

// ---- open files

using Query = LONG NTAPI(ULONG information, void* buffer, ULONG bytes, ULONG* needed);

// What the library's detector was given, so that both sides ask the same function.
Query* TheQuery() {
    return reinterpret_cast<Query*>(reinterpret_cast<void*>(
        test::HandleTableDouble::LookUp(::GetModuleHandleW(L"ntdll.dll"), "ZwQuerySystemInformation")));
}

// This process with files and directories open.
std::vector<FileHandle> OpenSomeFiles(int count) {
    std::vector<FileHandle> files;
    for (int i = 0; i < count; ++i) {
        files.emplace_back(::CreateFileW(L"C:\\windows\\system32\\ntdll.dll", GENERIC_READ, FILE_SHARE_READ, nullptr,
                                         OPEN_EXISTING, 0, nullptr));
    }
    return files;
}

// The system's own answers to the walk's questions, without our code around them.
void AskOfFile(HANDLE file) {
    FILE_STANDARD_INFO standard;
    char name[1024];
    DWORD serial = 0;
    if (::GetFileType(file) != FILE_TYPE_DISK) return;
    ::GetFileInformationByHandleEx(file, FileStandardInfo, &standard, sizeof(standard));
    ::GetFileInformationByHandleEx(file, FileNameInfo, name, sizeof(name));
    ::GetVolumeInformationByHandleW(file, nullptr, 0, &serial, nullptr, nullptr, nullptr, 0);
}

void RawWalk(bool ask) {
    constexpr std::size_t kSize = 0x80000;
    const std::unique_ptr<std::byte[]> table(new std::byte[kSize]);
    TheQuery()(16, table.get(), kSize, nullptr);
    const KernelHandle process(::OpenProcess(PROCESS_DUP_HANDLE, FALSE, ::GetCurrentProcessId()));
    if (ask) {
        wchar_t drives[260];
        ::GetLogicalDriveStringsW(260, drives);
        DWORD serial = 0;
        for (const wchar_t* root : {L"C:\\", L"Z:\\"})
            ::GetVolumeInformationW(root, nullptr, 0, &serial, nullptr, nullptr, nullptr, 0);
    }
    for (const HandleEntry& entry : HandlesInTable16({table.get(), kSize}, ::GetCurrentProcessId())) {
        if (entry.type != 36) continue;
        KernelHandle own;
        ::DuplicateHandle(process.Get(), reinterpret_cast<HANDLE>(entry.handle), ::GetCurrentProcess(), own.Receive(),
                          0, FALSE, DUPLICATE_SAME_ACCESS);
        if (ask) AskOfFile(own.Get());
    }
}

void AddOpenFiles() {
    const auto walk = [](int files, DWORD process) {
        return [files, process](benchmark::State& state) {
            const test::HandleTableDouble table;
            const auto open = OpenSomeFiles(files);
            const std::unique_ptr<TdProcessDetectorInterface> detector(TdProcessDetectorFactory::Create());
            std::size_t found = 0;
            for (auto _ : state) detector->EnumFile(process, [&](bool, const std::wstring&) { ++found; });
            benchmark::DoNotOptimize(found);
        };
    };
    const auto raw = [](int files, bool ask) {
        return [files, ask](benchmark::State& state) {
            const auto open = OpenSomeFiles(files);
            for (auto _ : state) RawWalk(ask);
        };
    };
    const DWORD self = ::GetCurrentProcessId();
    Compare("EnumFile, 50 files open", "the query, the duplications and what the system answers about each",
            AtMostTimes(1.3), walk(50, self), raw(50, true));
    Compare("EnumFile, 50 files open", "the query and the duplications alone", Reported(), walk(50, self),
            raw(50, false));
}

}  // namespace

void AddConcurrency() {
    AddPools();
    AddQueue();
    AddOpenFiles();
}

}  // namespace tandor::bench
