#include "tandor/text.h"

#include <limits>

#include "base/hex.h"
#include "base/utf.h"
#include "foundation/base64.h"
#include "foundation/url_coding.h"
#include "foundation/version.h"

namespace {

template <class Text>
Text Masked(const Text& text) {
    Text masked = text;
    const std::size_t kept_from = text.size() >= 3 ? text.size() - 1 : text.size();
    for (std::size_t i = 1; i < kept_from; ++i) masked[i] = '*';
    return masked;
}

}  // namespace

std::wstring TandorUtilClass::ConvertFromBytes(const std::string& utf8) { return tandor::WideFromUtf8(utf8); }

std::string TandorUtilClass::ConvertFromWideBytes(const std::wstring& wide) { return tandor::Utf8FromWide(wide); }

std::wstring TandorUtilClass::StringFromHex(unsigned long long value) {
    unsigned char bytes[8];
    for (int i = 0; i < 8; ++i) bytes[i] = static_cast<unsigned char>(value >> (56 - 8 * i));
    char digits[16];
    tandor::WriteHex(bytes, sizeof(bytes), tandor::HexCase::kUpper, digits);
    return {digits, digits + sizeof(digits)};
}

unsigned char TandorUtilClass::ToHex(unsigned char value) {
    return static_cast<unsigned char>(value <= 9 ? '0' + value : 'A' + value - 10);
}

unsigned char TandorUtilClass::FromHex(unsigned char digit) { return tandor::WideDigitValue(digit); }

int TandorUtilClass::GetIndexOfSigns(char digit) { return tandor::HexValue(digit); }

long long TandorUtilClass::hexToDec(std::string text) {
    constexpr unsigned long long kLargest = std::numeric_limits<long long>::max();
    unsigned long long sum = 0;
    unsigned long long place = 1;  // becomes 0 when it leaves 64 bits: from there on nothing is added
    for (std::size_t i = text.size(); i-- > 0;) {
        const int digit = GetIndexOfSigns(text[i]);
        if (digit < 0) continue;
        if (digit > 0) {
            if (place > kLargest / static_cast<unsigned>(digit)) continue;
            sum += place * static_cast<unsigned>(digit);
        }
        place *= 16;
    }
    return static_cast<long long>(sum);
}

std::string TandorUtilClass::Base64Encode(const unsigned char* data, unsigned int length) {
    // By way of a block in the nearest cache: to fill a long text with zeros first takes as long as the coding.
    constexpr std::size_t kBlock = 3 * 1024;
    char coded[kBlock / 3 * 4];
    std::string text;
    text.reserve((std::size_t{length} + 2) / 3 * 4);
    for (std::size_t done = 0; done < length; done += kBlock) {
        const std::size_t size = std::min(kBlock, length - done);
        tandor::EncodeBase64(data + done, size, coded);
        text.append(coded, (size + 2) / 3 * 4);
    }
    return text;
}

int TandorUtilClass::Base64Decode(const unsigned char* text, int length, unsigned char* out) {
    if (text == nullptr || out == nullptr || length < 4) return 0;
    return static_cast<int>(tandor::DecodeBase64(text, static_cast<std::size_t>(length), out));
}

std::string TandorUtilClass::UrlEncode(const std::string& text) { return tandor::EncodeUrl(text); }

std::string TandorUtilClass::UrlDecode(const std::string& text) { return tandor::DecodeUrl(text); }

std::vector<std::string> TandorUtilClass::StringSplit(std::string text, std::string separator) {
    return tandor::SplitText(text, separator);
}

int TandorUtilClass::CompareSubVersion(std::string left, std::string right) {
    return tandor::CompareSubVersions(left, right);
}

TandorUtilClass::VersionResultCompare TandorUtilClass::CompareVersion(const std::string& left,
                                                                      const std::string& right) {
    return static_cast<VersionResultCompare>(tandor::CompareVersions(left, right));
}

unsigned int TandorUtilClass::CalcVersion(const std::string& text) { return tandor::PackVersion(text); }

std::string TandorUtilClass::SenstiveContent(const std::string& text) { return Masked(text); }

std::wstring TandorUtilClass::SenstiveContent(const std::wstring& text) { return Masked(text); }
