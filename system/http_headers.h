// The lines of a request's head.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tandor {

// The parts of a GUID as the system hands them out.
struct TraceId {
    std::uint32_t first;
    std::uint16_t second, third;
    unsigned char rest[8];
};

// Groups as in a GUID's usual text, in upper-case hexadecimal but for the third, which is lower-case: the servers' logs
// have always had it so.
std::string TraceIdText(const TraceId& id);

// "name: value". Control characters in the value are left out: a line break would begin another header.
std::string HeaderLine(std::string_view name, std::string_view value);

}  // namespace tandor
