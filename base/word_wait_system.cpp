#include <windows.h>

#include "base/win_system_entry.h"
#include "base/word_wait.h"

namespace tandor {
namespace {

const auto in_shutdown = EntryOf<BOOLEAN WINAPI()>(::GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress");

void* AddressOf(const Word& word) { return const_cast<Word*>(&word); }

}  // namespace

// When a process ends, its other threads go first, with whatever they hold: the last one would wait for ever. It ends
// the process, as it would in one of the system's own locks. Under Wine the others run on for a moment and may come
// here as well; they are gone before the wait is over.
WaitResult WaitWhile(const Word& word, std::uint32_t value, unsigned milliseconds) {
    constexpr DWORD kShutdownWait = 100;
    constexpr UINT kThreadIsTerminating = 0xC000004B;
    if (in_shutdown != nullptr && in_shutdown() != FALSE) {
        if (::WaitOnAddress(AddressOf(word), &value, sizeof(value), kShutdownWait) != FALSE) return WaitResult::kWoken;
        ::TerminateProcess(::GetCurrentProcess(), kThreadIsTerminating);
    }
    if (::WaitOnAddress(AddressOf(word), &value, sizeof(value), milliseconds) != FALSE) return WaitResult::kWoken;
    return ::GetLastError() == ERROR_TIMEOUT ? WaitResult::kTimedOut : WaitResult::kFailed;
}

void WakeOneAt(const Word& word) { ::WakeByAddressSingle(AddressOf(word)); }
void WakeAllAt(const Word& word) { ::WakeByAddressAll(AddressOf(word)); }

void Pause() { YieldProcessor(); }

}  // namespace tandor
