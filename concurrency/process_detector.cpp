#include <windows.h>

#include <new>
#include <string>

#include "base/win_handle.h"
#include "concurrency/foreign_file.h"
#include "concurrency/handle_table.h"
#include "concurrency/remote_command_line.h"
#include "concurrency/system_table.h"
#include "foundation/message.h"

namespace {

using tandor::KernelHandle;
using tandor::kFailure;
using tandor::LogMessage;

constexpr auto kInit = L"TdProcessDetector::Init";
constexpr auto kEnumFile = L"TdProcessDetector::EnumFile";
constexpr auto kGetProcessCmdline = L"TdProcessDetector::GetProcessCmdline";

constexpr std::uint32_t kFileObjectType = 36;  // fixed: what callers rely on
constexpr ULONG kBasicInformation = 0;

struct ProcessBasicInformation {
    std::uint64_t exit_status;
    std::uint64_t environment;
    std::uint64_t others[4];
};
static_assert(sizeof(ProcessBasicInformation) == 48);

using QueryInformationProcess = LONG NTAPI(HANDLE process, ULONG information, void* buffer, ULONG bytes, ULONG* needed);

class TdProcessDetector : public TdProcessDetectorInterface, private UnCopyable {
public:
    ~TdProcessDetector() override { UnInit(); }

    bool Init();
    void UnInit();

    void EnumFile(unsigned long processId, std::function<void(bool, const std::wstring&)> visitor) override;
    int GetProcessCmdline(unsigned long processId, std::wstring& out) override;

private:
    template <class Function>
    Function* Entry(const char* name) const {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(library_, name)));
    }

    HMODULE library_ = nullptr;
    tandor::QuerySystemInformation* query_system_ = nullptr;
    QueryInformationProcess* query_process_ = nullptr;
};

bool TdProcessDetector::Init() {
    wchar_t directory[MAX_PATH];
    const UINT length = ::GetSystemDirectoryW(directory, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        LogMessage(kFailure, kInit, L"Get load lib path failed, error code: ", ::GetLastError());
        return false;
    }
    const std::wstring path = std::wstring(directory, length) + L"\\NTDLL.DLL";
    if (path.size() >= MAX_PATH) {
        LogMessage(kFailure, kInit, L"get NTDLL.DLL path failed");
        return false;
    }
    library_ = ::LoadLibraryW(path.c_str());
    if (library_ == nullptr) {
        LogMessage(kFailure, kInit, L"load lib failed");
        return false;
    }
    query_system_ = Entry<tandor::QuerySystemInformation>("ZwQuerySystemInformation");
    query_process_ = Entry<QueryInformationProcess>("NtQueryInformationProcess");
    if (query_system_ == nullptr || query_process_ == nullptr) {
        LogMessage(kFailure, kInit, L"get func failed");
        return false;
    }
    return true;
}

void TdProcessDetector::UnInit() {
    query_system_ = nullptr;
    query_process_ = nullptr;
    if (library_ != nullptr && ::FreeLibrary(std::exchange(library_, nullptr)) == 0)
        LogMessage(kFailure, L"TdProcessDetector::UnInit", L"unload lib failed");
}

void TdProcessDetector::EnumFile(unsigned long processId, std::function<void(bool, const std::wstring&)> visitor) {
    if (!visitor || query_system_ == nullptr) return;
    tandor::SystemTable table;
    switch (table.Read(*query_system_, tandor::kSystemHandles)) {
        case tandor::SystemTable::Result::kNoMemory:
            LogMessage(kFailure, kEnumFile, L"HeapAlloc for SYSTEM_HANDLE_INFORMATION failed");
            return;
        case tandor::SystemTable::Result::kQueryFailed:
            LogMessage(kFailure, kEnumFile, L"get sys info failed");
            return;
        case tandor::SystemTable::Result::kRead:
            break;
    }
    const KernelHandle process(::OpenProcess(PROCESS_DUP_HANDLE, FALSE, processId));
    if (!process) {
        LogMessage(kFailure, kEnumFile, L"OpenProcess failed,err:", ::GetLastError());
        return;
    }
    tandor::DriveLetters drives;
    for (const tandor::HandleEntry& entry : tandor::HandlesInTable16(table.Bytes(), processId)) {
        if (entry.type != kFileObjectType) continue;
        const TdOpenFile file = tandor::LookAtForeignFile(process.Get(), entry.handle, drives);
        if (!file.path.empty()) visitor(file.is_directory, file.path);
    }
}

bool ReadMemory(HANDLE process, std::uint64_t address, void* to, std::size_t size) {
    SIZE_T done = 0;
    return ::ReadProcessMemory(process, reinterpret_cast<const void*>(address), to, size, &done) != 0 && done == size;
}

int TdProcessDetector::GetProcessCmdline(unsigned long processId, std::wstring& out) {
    const auto fail = [](const wchar_t* text) {
        LogMessage(kFailure, kGetProcessCmdline, text);
        return 0;
    };
    if (query_process_ == nullptr) return fail(L"init failed");
    // Compared with INVALID_HANDLE_VALUE, which is no answer of OpenProcess: a process that may not be opened is
    // noticed by the duplication, and the log says that.
    const HANDLE opened = ::OpenProcess(PROCESS_ALL_ACCESS, FALSE, processId);
    if (opened == INVALID_HANDLE_VALUE) return fail(L"OpenProcess failed");
    const KernelHandle process(opened);
    KernelHandle own;
    if (::DuplicateHandle(::GetCurrentProcess(), process.Get(), ::GetCurrentProcess(), own.Receive(), 0, FALSE,
                          DUPLICATE_SAME_ACCESS) == 0)
        return fail(L"DuplicateHandle failed");
    ProcessBasicInformation information{};
    if (query_process_(own.Get(), kBasicInformation, &information, sizeof(information), nullptr) < 0)
        return fail(L"queryInformation failed");
    const auto read = [&own](std::uint64_t address, void* to, std::size_t size) {
        return ReadMemory(own.Get(), address, to, size);
    };
    switch (tandor::ReadRemoteCommandLine(read, information.environment, out)) {
        case tandor::RemoteCommandLine::kMemoryNotReadable:
            return fail(L"ReadProcessMemory failed");
        case tandor::RemoteCommandLine::kLengthInvalid:
            return fail(L"upps.commandLine.Length is error");
        case tandor::RemoteCommandLine::kNone:
            return fail(L"no cmdline");
        case tandor::RemoteCommandLine::kRead:
            break;
    }
    return 1;
}

}  // namespace

TdProcessDetectorInterface* TdProcessDetectorFactory::Create() {
    auto* const detector = new (std::nothrow) TdProcessDetector;
    if (detector == nullptr || detector->Init()) return detector;
    detector->UnInit();
    delete detector;
    return nullptr;
}
