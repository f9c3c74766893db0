// How a fuzzer says what must hold.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#define TANDOR_HOLDS(condition)                                                                 \
    do {                                                                                        \
        if (!(condition)) {                                                                     \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                       \
        }                                                                                       \
    } while (false)

namespace tandor::fuzz {

inline std::string Text(const std::uint8_t* data, std::size_t size) {
    return size == 0 ? std::string() : std::string(reinterpret_cast<const char*>(data), size);
}

}  // namespace tandor::fuzz
