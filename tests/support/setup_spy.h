// The system as the device console sees it: its Setup API passed on to the real one, recorded, and failing on demand;
// its device-installation library replaced. Wine's real one lacks an entry, and Wine does not carry out state changes.
#pragma once

#include <windows.h>

#include <setupapi.h>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "support/import_patch.h"
#include "tandor/uncopyable.h"

namespace tandor::test {

class SetupSpy : UnCopyable {
public:
    // From the first one on, the library's look-ups of these entries come here; without a living spy they are passed
    // on.
    SetupSpy();
    ~SetupSpy();

    // What was called since the last time, in order: "CreateDeviceInfoList", "CallClassInstaller 25",
    // "SetClassInstallParams 18 1 1" (function and what follows it), "UpdateDriver <id> <inf> <flags>". Looking at
    // devices is left out.
    std::vector<std::wstring> Take();

    // The call that begins like this fails so often with this error.
    void Fail(std::wstring call, DWORD error, int times = 1);

    // The n-th call from now on fails with this error, looking at devices included. Failed says which that was, nothing
    // when there were fewer, and ends it.
    void FailAt(int n, DWORD error);
    std::wstring Failed();

    DWORD install_flags = 0;          // of the devices' install parameters
    std::atomic<int> open_lists = 0;  // device lists that were not destroyed yet

    // For the doubles' functions: records the call and says whether it is to fail.
    bool Enter(const std::wstring& call, bool recorded = true);
    void Record(const std::wstring& call);
    std::atomic<HDEVINFO> made_list = nullptr;  // the last one for a new device
    static SetupSpy* current;

private:
    std::mutex mutex_;
    std::vector<std::wstring> calls_;
    std::wstring failing_;
    DWORD error_ = ERROR_SUCCESS;
    int times_ = 0;
    int countdown_ = 0;
    std::wstring failed_;
};

// A file of this folder in the system directory, for as long as the object lives; what was there comes back after,
// also what a run that died has left.
class SystemFile : UnCopyable {
public:
    SystemFile(const wchar_t* source, const wchar_t* name);
    ~SystemFile();

private:
    void PutBack() const;
    std::wstring path_, kept_;
};

std::wstring SystemFolder();

}  // namespace tandor::test
