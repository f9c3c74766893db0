// Text between UTF-8 and the platform's wide strings (UTF-16 on Windows, UTF-32 elsewhere).
#pragma once

#include <string>
#include <string_view>

namespace tandor {

// Throw std::range_error("bad conversion") for input that is not valid, unpaired surrogates included.
std::wstring WideFromUtf8(std::string_view text);
std::string Utf8FromWide(std::wstring_view text);

// Never fail on content: what is not valid becomes U+FFFD, one for each byte or unit. For logs and messages.
std::wstring WideFromUtf8Lossy(std::string_view text);
std::string Utf8FromWideLossy(std::wstring_view text);

// Appends the UTF-8 form of `text`, lossy as above; the capacity that `out` has already is used.
void AppendUtf8Lossy(std::wstring_view text, std::string& out);

// The UTF-8 form of a text for a moment: short texts need no allocation.
class Utf8Buffer {
public:
    // Lossy as above. The result lives until the next call or the object's end.
    std::string_view Convert(std::wstring_view text);

private:
    char short_[1024];
    std::string long_;
};

}  // namespace tandor
