#include "base/utf.h"

#include <stdexcept>

#include "base/utf_codec.h"

namespace tandor {
namespace {

// Results are assembled from a buffer on the stack: one allocation of the right size for texts that fit into it, and no
// pass that zeroes memory which is then overwritten.
constexpr std::ptrdiff_t kBuffer = 2048;

enum class OnError { kThrow, kReplace };

template <class In, class Out, class Loop>
void Transcode(std::basic_string_view<In> text, std::basic_string<Out>& result, OnError on_error,
               std::basic_string_view<Out> replacement, Loop loop) {
    Out buffer[kBuffer];
    const In* in = text.data();
    const In* const end = in + text.size();
    while (in != end) {
        const auto stop = loop(in, end, buffer, buffer + kBuffer);
        in = stop.in;
        result.append(buffer, stop.out);
        if (in == end) break;
        // The first full buffer tells that the text is long: make room for the rest of it at once.
        if (result.capacity() - result.size() < static_cast<std::size_t>(end - in)) {
            result.reserve(result.size() + static_cast<std::size_t>(end - in) + kBuffer);
        }
        if (stop.valid) continue;
        if (on_error == OnError::kThrow) throw std::range_error("bad conversion");
        result.append(replacement);
        ++in;
    }
}

void ToWide(std::string_view text, std::wstring& out, OnError on_error) {
    Transcode(text, out, on_error, std::wstring_view(L"\uFFFD"),
              [](auto... range) { return utf::Decode<wchar_t>(range...); });
}

void ToUtf8(std::wstring_view text, std::string& out, OnError on_error) {
    Transcode(text, out, on_error, std::string_view("\xEF\xBF\xBD"),
              [](auto... range) { return utf::Encode<wchar_t>(range...); });
}

}  // namespace

std::wstring WideFromUtf8(std::string_view text) {
    std::wstring wide;
    ToWide(text, wide, OnError::kThrow);
    return wide;
}

std::string Utf8FromWide(std::wstring_view text) {
    std::string utf8;
    ToUtf8(text, utf8, OnError::kThrow);
    return utf8;
}

std::wstring WideFromUtf8Lossy(std::string_view text) {
    std::wstring wide;
    ToWide(text, wide, OnError::kReplace);
    return wide;
}

std::string Utf8FromWideLossy(std::wstring_view text) {
    std::string utf8;
    ToUtf8(text, utf8, OnError::kReplace);
    return utf8;
}

void AppendUtf8Lossy(std::wstring_view text, std::string& out) { ToUtf8(text, out, OnError::kReplace); }

std::string_view Utf8Buffer::Convert(std::wstring_view text) {
    const auto stop = utf::Encode(text.data(), text.data() + text.size(), short_, short_ + sizeof(short_));
    if (stop.in == text.data() + text.size()) return {short_, static_cast<std::size_t>(stop.out - short_)};
    long_.clear();
    AppendUtf8Lossy(text, long_);
    return long_;
}

}  // namespace tandor
