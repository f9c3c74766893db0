#include <windows.h>

#include <memory>
#include <vector>

#include "base/win_handle.h"
#include "base/win_process.h"
#include "benchmarks/ratio.h"
#include "concurrency/handle_table.h"
#include "tandor/state_watch.h"
#include "tests/support/handle_table_double.h"

namespace tandor::bench {
namespace {

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

enum class Raw { kDuplicateAll, kDuplicateFiles, kAskOfFiles };

// The walk by hand: the table, the duplications, and what the system is asked of each file.
void RawWalk(DWORD id, Raw what) {
    std::size_t size = 0x80000;
    std::unique_ptr<std::byte[]> table(new std::byte[size]);
    while (TheQuery()(16, table.get(), static_cast<ULONG>(size), nullptr) < 0) table.reset(new std::byte[size *= 2]);
    const KernelHandle process(::OpenProcess(PROCESS_DUP_HANDLE, FALSE, id));
    if (what == Raw::kAskOfFiles) {
        wchar_t drives[260];
        ::GetLogicalDriveStringsW(260, drives);
        DWORD serial = 0;
        for (const wchar_t* root : {L"C:\\", L"Z:\\"})
            ::GetVolumeInformationW(root, nullptr, 0, &serial, nullptr, nullptr, nullptr, 0);
    }
    for (const HandleEntry& entry : HandlesInTable16({table.get(), size}, id)) {
        if (what != Raw::kDuplicateAll && entry.type != 36) continue;
        KernelHandle own;
        ::DuplicateHandle(process.Get(), reinterpret_cast<HANDLE>(entry.handle), ::GetCurrentProcess(), own.Receive(),
                          0, FALSE, DUPLICATE_SAME_ACCESS);
        if (what == Raw::kAskOfFiles) AskOfFile(own.Get());
    }
}

// A process that never runs, with 1,000 handles of which some are files, while 19,000 more are in this one.
class Crowd {
public:
    static constexpr int kHandles = 1000, kOthers = 19'000;

    explicit Crowd(int files) {
        wchar_t program[MAX_PATH];
        ::GetModuleFileNameW(nullptr, program, MAX_PATH);
        process_ = StartProcess(program, L"benchmarks", {}, CREATE_SUSPENDED);
        for (const FileHandle& file : OpenSomeFiles(files)) Give(file.Get());
        for (int i = 0; i < kOthers; ++i) others_.emplace_back(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
        for (int i = files; i < kHandles; ++i) Give(others_[static_cast<std::size_t>(i)].Get());
    }
    ~Crowd() {
        ::TerminateProcess(process_.handle.Get(), 0);
        WaitForExit(process_, 10'000);
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;
    [[nodiscard]] DWORD Id() const { return process_.id; }

private:
    void Give(HANDLE handle) {
        ::DuplicateHandle(::GetCurrentProcess(), handle, process_.handle.Get(), nullptr, 0, FALSE,
                          DUPLICATE_SAME_ACCESS);
    }
    StartedProcess process_;
    std::vector<KernelHandle> others_;
};

// The time is that of a walk, or its share for each of so many handles.
void Walk(benchmark::State& state, DWORD process, int handles = 1) {
    const test::HandleTableDouble table;
    const std::unique_ptr<TdProcessDetectorInterface> detector(TdProcessDetectorFactory::Create());
    std::size_t found = 0;
    while (state.KeepRunningBatch(handles)) detector->EnumFile(process, [&](bool, const std::wstring&) { ++found; });
    benchmark::DoNotOptimize(found);
}

void AddOpenFiles() {
    const DWORD self = ::GetCurrentProcessId();
    const auto walk = [=](benchmark::State& state) {
        const auto open = OpenSomeFiles(50);
        Walk(state, self);
    };
    const auto raw = [=](Raw what) {
        return [=](benchmark::State& state) {
            const auto open = OpenSomeFiles(50);
            for (auto _ : state) RawWalk(self, what);
        };
    };
    Compare("EnumFile, 50 files open", "the query, the duplications and what the system answers about each",
            AtMostTimes(1.3), walk, raw(Raw::kAskOfFiles));
    Compare("EnumFile, 50 files open", "the query and the duplications alone", Reported(), walk,
            raw(Raw::kDuplicateFiles));
    constexpr int kFiles = 20;
    Compare(
        "EnumFile, each of 1,000 handles with 20 files among 20,000", "the query and 1,000 duplications",
        AtMostTimes(1.3),
        [](benchmark::State& state) {
            const Crowd crowd(kFiles);
            Walk(state, crowd.Id(), Crowd::kHandles);
        },
        [](benchmark::State& state) {
            const Crowd crowd(kFiles);
            while (state.KeepRunningBatch(Crowd::kHandles)) RawWalk(crowd.Id(), Raw::kDuplicateAll);
        });
}

void AddPresence() {
    static const std::wstring a = L"Local\\tandor-bench-A", b = L"Local\\tandor-bench-B";
    Compare(
        "QueryProcessState, both events there", "OpenEventW and CloseHandle twice", AtMostTimes(1.1),
        [](benchmark::State& state) {
            TdProcessStatePresenter presenter(a, b);
            if (!presenter.Init() || !presenter.Start()) state.SkipWithError("the events are not there");
            const TdProcessStateWatcher watcher(a, b);
            for (auto _ : state) benchmark::DoNotOptimize(watcher.QueryProcessState());
        },
        [](benchmark::State& state) {
            TdProcessStatePresenter presenter(a, b);
            if (!presenter.Init() || !presenter.Start()) state.SkipWithError("the events are not there");
            for (auto _ : state) {
                for (const std::wstring* const name : {&a, &b})
                    ::CloseHandle(::OpenEventW(EVENT_ALL_ACCESS, FALSE, name->c_str()));
            }
        });
}

}  // namespace

void AddWatching() {
    AddOpenFiles();
    AddPresence();
}

}  // namespace tandor::bench
