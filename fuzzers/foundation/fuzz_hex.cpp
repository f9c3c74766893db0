// Bytes survive their hexadecimal form in both cases; numbers agree with a plain model.
#include <limits>

#include "base/hex.h"
#include "fuzzers/property.h"
#include "tandor/text.h"

namespace {

// In 128 bits, where the place value does not leave the type before it is known to be too large.
long long Model(const std::string& text) {
    constexpr __int128 kLargest = std::numeric_limits<long long>::max();
    __int128 sum = 0, place = 1;
    for (auto c = text.rbegin(); c != text.rend(); ++c) {
        const std::string_view upper = "0123456789ABCDEF", lower = "0123456789abcdef";
        const std::size_t value = std::min(upper.find(*c), lower.find(*c));
        if (value == std::string_view::npos || (value != 0 && place > kLargest / static_cast<__int128>(value)))
            continue;
        sum += place * static_cast<__int128>(value);
        place = place * 16 >= (__int128{1} << 64) ? 0 : place * 16;
    }
    return static_cast<long long>(sum);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes = tandor::fuzz::Text(data, size);
    for (const auto digits : {tandor::HexCase::kUpper, tandor::HexCase::kLower}) {
        std::string back(size, '\0');
        TANDOR_HOLDS(tandor::ReadHex(tandor::HexFromBytes(bytes, digits),
                                     reinterpret_cast<unsigned char*>(back.data())) == size);
        TANDOR_HOLDS(back == bytes);
    }
    std::string out(size / 2, '\0');
    const std::size_t decoded = tandor::ReadHex(bytes, reinterpret_cast<unsigned char*>(out.data()));
    TANDOR_HOLDS(decoded <= size / 2);
    for (std::size_t i = 0; i < decoded; ++i) {
        const int high = tandor::HexValue(bytes[2 * i]), low = tandor::HexValue(bytes[2 * i + 1]);
        TANDOR_HOLDS(high >= 0 && low >= 0 && static_cast<unsigned char>(out[i]) == high * 16 + low);
    }
    TANDOR_HOLDS(decoded == size / 2 || tandor::HexValue(bytes[2 * decoded]) < 0 ||
                 tandor::HexValue(bytes[2 * decoded + 1]) < 0);
    TANDOR_HOLDS(TandorUtilClass::hexToDec(bytes) == Model(bytes));
    return 0;
}
