// The message convention of all families, in one place: one statement writes one message.
//
//     LogMessage(kFailure, L"CryptRandom::Gen", L"gen random failed, errCode ", status);
//     LogMessage(MirrorChannel(), kInfo, L"ExScreen::ConfigMgr::IsHorizontal", Tag{L"ConfigMgr"}, L"recommendWidth is
//     ", width);
//
// A message is the tag in square brackets, if it has one, then texts and values. With a channel it goes there first, as
// it is; then the function's name is appended in round brackets and it goes to the host log at the same level.
#pragma once

#include <charconv>
#include <concepts>
#include <exception>
#include <sstream>
#include <string_view>
#include <type_traits>

#include "pelora/log_service.h"
#include "tandor/logging.h"

namespace tandor {

inline constexpr LOG_MESSAGE_LEVEL kInfo = LOG_MESSAGE_INFO;
inline constexpr LOG_MESSAGE_LEVEL kFailure = LOG_MESSAGE_ERROR;

struct Tag {
    const wchar_t* component;
};

namespace message_detail {

// A stream that is used again and again: building and destroying one costs more than most messages. Streams are lent
// from a small pool and not kept per thread, because thread-local objects of a DLL and its unload do not go together.
class LentStream {
public:
    LentStream();
    ~LentStream();
    LentStream(const LentStream&) = delete;
    LentStream& operator=(const LentStream&) = delete;
    std::wstringstream& operator*() const { return *stream_; }

private:
    std::wstringstream* stream_;
};

inline void Put(std::wstringstream& stream, std::wstring_view text) {
    stream.rdbuf()->sputn(text.data(), static_cast<std::streamsize>(text.size()));
}
void PutNarrow(std::wstringstream& stream, std::string_view text);

template <class Part>
void PutPart(std::wstringstream& stream, const Part& part) {
    if constexpr (std::is_same_v<Part, Tag>) {
        Put(stream, L"[");
        Put(stream, part.component);
        Put(stream, L"]");
    } else if constexpr (std::is_convertible_v<const Part&, std::wstring_view>) {
        Put(stream, part);
    } else if constexpr (std::is_convertible_v<const Part&, std::string_view>) {
        PutNarrow(stream, part);
    } else if constexpr (std::is_enum_v<Part>) {
        PutPart(stream, static_cast<std::underlying_type_t<Part>>(part));
    } else if constexpr (std::is_same_v<Part, bool>) {
        Put(stream, part ? L"1" : L"0");
    } else if constexpr (std::integral<Part> && sizeof(Part) >= sizeof(int)) {
        char digits[24];
        const char* const end = std::to_chars(digits, digits + sizeof(digits), part).ptr;
        wchar_t wide[sizeof(digits)];
        Put(stream, {wide, static_cast<std::size_t>(std::copy(static_cast<const char*>(digits), end, wide) - wide)});
    } else {
        stream << part;
    }
}

void WriteHostLog(LOG_MESSAGE_LEVEL level, std::wstringstream& stream, std::wstring_view function);

}  // namespace message_detail

template <class... Parts>
void LogMessage(LOG_MESSAGE_LEVEL level, std::wstring_view function, const Parts&... parts) {
    const message_detail::LentStream stream;
    (message_detail::PutPart(*stream, parts), ...);
    message_detail::WriteHostLog(level, *stream, function);
}

template <class... Parts>
void LogMessage(const Logger& channel, LOG_MESSAGE_LEVEL level, std::wstring_view function, const Parts&... parts) {
    const message_detail::LentStream stream;
    (message_detail::PutPart(*stream, parts), ...);
    channel.Log(level, *stream);
    message_detail::WriteHostLog(level, *stream, function);
}

// For functions that throw nothing: a line that cannot be written for want of memory is dropped, the result that they
// return says the same.
template <class... Parts>
void TryLogMessage(LOG_MESSAGE_LEVEL level, std::wstring_view function, const Parts&... parts) noexcept {
    try {
        LogMessage(level, function, parts...);
    } catch (const std::exception&) {
        return;
    }
}

}  // namespace tandor
