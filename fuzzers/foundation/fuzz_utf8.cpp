// Valid text survives the way there and back in 16 and in 32 bit units; what is valid agrees with a plain model, and so
// does the number of characters that the lossy form replaces.
#include <stdexcept>
#include <vector>

#include "base/utf.h"
#include "base/utf_codec.h"
#include "fuzzers/property.h"
#include "tandor/text.h"

namespace {

// Arithmetic alone: decode by the lead byte, then judge the number.
bool ModelValid(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80 ? 1 : lead >> 5 == 6 ? 2 : lead >> 4 == 14 ? 3 : lead >> 3 == 30 ? 4 : 0;
        if (length == 0 || i + length > text.size()) return false;
        unsigned long code = length == 1 ? lead : lead & (0x7Fu >> length);
        for (std::size_t j = 1; j < length; ++j) {
            const auto next = static_cast<unsigned char>(text[i + j]);
            if (next >> 6 != 2) return false;
            code = code << 6 | (next & 0x3F);
        }
        constexpr unsigned long kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < kLeast[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) return false;
        i += length;
    }
    return true;
}

template <class Unit>
bool RoundTrip(const std::string& text) {
    std::vector<Unit> units(text.size() + 16);
    const auto decoded =
        tandor::utf::Decode(text.data(), text.data() + text.size(), units.data(), units.data() + units.size());
    if (!decoded.valid) return false;
    TANDOR_HOLDS(decoded.in == text.data() + text.size());
    std::vector<char> back(text.size() + 16);
    const auto encoded = tandor::utf::Encode<Unit>(units.data(), decoded.out, back.data(), back.data() + back.size());
    TANDOR_HOLDS(encoded.valid && encoded.in == decoded.out);
    TANDOR_HOLDS(std::string(back.data(), encoded.out) == text);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = tandor::fuzz::Text(data, size);
    const bool valid = ModelValid(text);
    TANDOR_HOLDS(RoundTrip<char16_t>(text) == valid);
    TANDOR_HOLDS(RoundTrip<char32_t>(text) == valid);
    try {
        TANDOR_HOLDS(TandorUtilClass::ConvertFromWideBytes(TandorUtilClass::ConvertFromBytes(text)) == text);
        TANDOR_HOLDS(valid);
    } catch (const std::range_error&) {
        TANDOR_HOLDS(!valid);
    }
    const std::string mended = tandor::Utf8FromWideLossy(tandor::WideFromUtf8Lossy(text));
    TANDOR_HOLDS(ModelValid(mended));
    TANDOR_HOLDS(valid == (mended == text));

    // The bytes as 16-bit units: any of them, lone surrogates included.
    const std::u16string units(reinterpret_cast<const char16_t*>(text.data()), size / 2);
    std::vector<char> utf8(units.size() * 3 + 16);
    const auto encoded =
        tandor::utf::Encode(units.data(), units.data() + units.size(), utf8.data(), utf8.data() + utf8.size());
    TANDOR_HOLDS(ModelValid(std::string(utf8.data(), encoded.out)));
    TANDOR_HOLDS(encoded.valid == (encoded.in == units.data() + units.size()));
    return 0;
}
