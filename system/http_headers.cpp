#include "system/http_headers.h"

#include <cstdio>

namespace tandor {

std::string TraceIdText(const TraceId& id) {
    char text[40];
    const unsigned char* const r = id.rest;
    const int length = std::snprintf(text, sizeof(text), "%08X-%04X-%04x-%02X%02X-%02X%02X%02X%02X%02X%02X",
                                     static_cast<unsigned>(id.first), static_cast<unsigned>(id.second),
                                     static_cast<unsigned>(id.third), r[0], r[1], r[2], r[3], r[4], r[5], r[6], r[7]);
    return {text, static_cast<std::size_t>(length)};
}

std::string HeaderLine(std::string_view name, std::string_view value) {
    std::string line;
    line.reserve(name.size() + 2 + value.size());
    line.append(name).append(": ");
    for (const char c : value) {
        if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F) line += c;
    }
    return line;
}

}  // namespace tandor
