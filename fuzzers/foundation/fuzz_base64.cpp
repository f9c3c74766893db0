// Bytes survive coding and decoding; decoding any text agrees with a plain model and stays inside its buffer.
#include <string>
#include <string_view>
#include <vector>

#include "fuzzers/property.h"
#include "tandor/text.h"

namespace {

// Group by group, with a search in the alphabet.
std::string Model(const std::string& text) {
    constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i + 4 <= text.size() && text[i] != '\0'; i += 4) {
        unsigned bits = 0;
        int bytes = text[i + 2] == '=' ? 1 : text[i + 3] == '=' ? 2 : 3;
        for (int j = 0; j <= bytes; ++j) {
            const std::size_t value = kAlphabet.find(text[i + static_cast<std::size_t>(j)]);
            if (value == std::string_view::npos) return out;
            bits |= static_cast<unsigned>(value) << (18 - 6 * j);
        }
        for (int j = 0; j < bytes; ++j) out += static_cast<char>(bits >> (16 - 8 * j));
    }
    return out;
}

std::string Decode(const std::string& text) {
    std::vector<unsigned char> out(text.size() * 3 / 4);
    unsigned char none = 0;
    const int size = TandorUtilClass::Base64Decode(reinterpret_cast<const unsigned char*>(text.data()),
                                                   static_cast<int>(text.size()), out.empty() ? &none : out.data());
    return {out.begin(), out.begin() + size};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes = tandor::fuzz::Text(data, size);
    TANDOR_HOLDS(Decode(TandorUtilClass::Base64Encode(data, static_cast<unsigned>(size))) == bytes);
    TANDOR_HOLDS(Decode(bytes) == Model(bytes));
    return 0;
}
