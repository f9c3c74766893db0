#include "base/cpu.h"

#if defined(_MSC_VER)
#include <intrin.h>
#else
#include <cpuid.h>
#endif

namespace tandor {
namespace {

bool AskProcessor() noexcept {
    constexpr unsigned kSsse3 = 1u << 9;  // leaf 1, ECX
#if defined(_MSC_VER)
    int registers[4];
    __cpuid(registers, 1);
    return (static_cast<unsigned>(registers[2]) & kSsse3) != 0;
#else
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & kSsse3) != 0;
#endif
}

}  // namespace

bool HasSsse3() noexcept {
    static const bool has = AskProcessor();
    return has;
}

}  // namespace tandor
