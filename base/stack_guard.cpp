// The stack protector's two ends, as the compiler expects them. The tool chain's own library draws its guard through a
// cryptographic provider, and that costs every process that loads a DLL several milliseconds at load.
#include <windows.h>

#include <cstdint>

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier): the compiler calls them so

std::uintptr_t __stack_chk_guard = 0;

[[noreturn]] void __stack_chk_fail() {
    ::TerminateProcess(::GetCurrentProcess(), 0xC0000409);  // STATUS_STACK_BUFFER_OVERRUN
    for (;;) {
    }
}

// The same sources of chance that the platform's own security cookie has: times, identifiers and a randomised address.
__attribute__((constructor, no_stack_protector)) static void SetUpStackGuard() {
    FILETIME now;
    LARGE_INTEGER counter;
    ::GetSystemTimeAsFileTime(&now);
    ::QueryPerformanceCounter(&counter);
    std::uint64_t guard =
        (std::uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime) ^ static_cast<std::uint64_t>(counter.QuadPart);
    guard ^= std::uint64_t{::GetCurrentProcessId()} << 32 ^ std::uint64_t{::GetCurrentThreadId()} << 16;
    guard ^= reinterpret_cast<std::uintptr_t>(&counter);
    guard *= 0x9E3779B97F4A7C15;
    __stack_chk_guard = (guard ^ guard >> 32) & ~std::uintptr_t{0xFF};  // a zero byte stops what copies text
}
// NOLINTEND(bugprone-reserved-identifier)
}
