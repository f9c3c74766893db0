#include "foundation/url_coding.h"

#include <algorithm>
#include <array>

#include "base/hex.h"

namespace tandor {
namespace {

constexpr auto kUnreserved = [] {
    std::array<bool, 256> unreserved{};
    for (std::size_t c = 0; c < 256; ++c) {
        unreserved[c] = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
                        c == '_' || c == '.' || c == '~';
    }
    return unreserved;
}();

}  // namespace

unsigned char WideDigitValue(unsigned char digit) {
    if (digit >= '0' && digit <= '9') return static_cast<unsigned char>(digit - '0');
    if (digit >= 'A' && digit <= 'Z') return static_cast<unsigned char>(digit - 'A' + 10);
    if (digit >= 'a' && digit <= 'z') return static_cast<unsigned char>(digit - 'a' + 10);
    return 0;
}

std::string EncodeUrl(std::string_view text) {
    std::string coded;
    coded.reserve(text.size());
    for (const char c : text) {
        if (kUnreserved[static_cast<unsigned char>(c)]) {
            coded += c;
        } else if (c == ' ') {
            coded += '+';
        } else {
            char digits[2];
            WriteHex(&c, 1, HexCase::kUpper, digits);
            coded += '%';
            coded.append(digits, 2);
        }
    }
    return coded;
}

std::string DecodeUrl(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && text.size() - i > 2) {
            const int high = WideDigitValue(static_cast<unsigned char>(text[i + 1]));
            const int low = WideDigitValue(static_cast<unsigned char>(text[i + 2]));
            plain += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            plain += text[i] == '+' ? ' ' : text[i];
        }
    }
    return plain;
}

}  // namespace tandor
