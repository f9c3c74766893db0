// Coded text is made of harmless characters and decodes to what it was; decoding never makes text longer.
#include <algorithm>
#include <cctype>

#include "fuzzers/property.h"
#include "tandor/text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = tandor::fuzz::Text(data, size);
    const std::string coded = TandorUtilClass::UrlEncode(text);
    TANDOR_HOLDS(std::all_of(coded.begin(), coded.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || std::string("-_.~+%").find(static_cast<char>(c)) != std::string::npos;
    }));
    TANDOR_HOLDS(TandorUtilClass::UrlDecode(coded) == text);
    TANDOR_HOLDS(TandorUtilClass::UrlDecode(text).size() <= size);
    return 0;
}
