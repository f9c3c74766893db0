// HexStringToByte agrees with a plain model for any text, length and room, and writes nothing beyond what it decoded.
#include <algorithm>
#include <string_view>
#include <vector>

#include "fuzzers/property.h"
#include "tandor/sealing.h"

namespace {

struct Decoded {
    bool good;
    std::vector<unsigned char> bytes;
};

Decoded Model(const std::string& hex, unsigned long long length, unsigned long long room) {
    constexpr std::string_view kUpper = "0123456789ABCDEF", kLower = "0123456789abcdef";
    const auto value = [&](char digit) { return std::min(kUpper.find(digit), kLower.find(digit)); };
    Decoded decoded{length % 2 == 0 && length <= hex.size() && length / 2 <= room, {}};
    for (std::size_t i = 0; decoded.good && i < length; i += 2) {
        const std::size_t high = value(hex[i]), low = value(hex[i + 1]);
        decoded.good = high < 16 && low < 16;
        if (decoded.good) decoded.bytes.push_back(static_cast<unsigned char>(16 * high + low));
    }
    return decoded;
}

}  // namespace

// The first two bytes are the length, as a distance to the text's own, and the room beyond or below what it needs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const std::string hex = tandor::fuzz::Text(data + 2, size - 2);
    const unsigned long long length = hex.size() + static_cast<unsigned long long>(static_cast<signed char>(data[0]));
    // A wrapped sum is a claim of room without end; the buffer has what decoding the whole text can need.
    const unsigned long long room = hex.size() / 2 + static_cast<unsigned long long>(static_cast<signed char>(data[1]));
    std::vector<unsigned char> out(std::min<std::size_t>(room, hex.size() / 2 + 128), 0xEE);
    SecurityEncryptUtil util;
    const Decoded model = Model(hex, length, room);
    TANDOR_HOLDS(util.HexStringToByte(hex, length, out.empty() ? nullptr : out.data(), room) == model.good);
    TANDOR_HOLDS(util.HexStringToByte(hex, length, nullptr, room) == model.good);
    if (!out.empty()) TANDOR_HOLDS(std::equal(model.bytes.begin(), model.bytes.end(), out.begin()));
    TANDOR_HOLDS(std::all_of(out.begin() + static_cast<std::ptrdiff_t>(model.bytes.size()), out.end(),
                             [](unsigned char byte) { return byte == 0xEE; }));
    std::string text = "untouched";
    const int written = util.HexToString(data, static_cast<int>(size), text);
    TANDOR_HOLDS(size <= 511
                     ? written == static_cast<int>(2 * size) && util.HexStringToByte(text, text.size(), nullptr, size)
                     : written == 0 && text == "untouched");
    return 0;
}
