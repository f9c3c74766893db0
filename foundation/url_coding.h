// Form coding of URL text, and the wide digit range that its decoding uses.
#pragma once

#include <string>
#include <string_view>

namespace tandor {

std::string EncodeUrl(std::string_view text);
std::string DecodeUrl(std::string_view text);

// Digits 0 to 9, every letter of either case 10 to 35, anything else 0.
unsigned char WideDigitValue(unsigned char digit);

}  // namespace tandor
