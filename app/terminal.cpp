#include "app/terminal.h"

#include <array>
#include <iterator>

#include "base/utf.h"

namespace tandor::app {
namespace {

struct Stream {
    DWORD number;
    DWORD mode = 0;  // as it was found
    bool coloured = false;
};

UINT found_page = 0;  // 0 without a console
std::array streams{Stream{STD_OUTPUT_HANDLE}, Stream{STD_ERROR_HANDLE}};

// An empty NO_COLOR counts as none.
bool ColoursWanted() { return ::GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) <= 1; }

void SetUp(Stream& stream) {
    const HANDLE handle = ::GetStdHandle(stream.number);
    stream.coloured = ColoursWanted() && ::GetConsoleMode(handle, &stream.mode) != 0 &&
                      ::SetConsoleMode(handle, stream.mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

void PutBack() {
    if (found_page != 0) ::SetConsoleOutputCP(found_page);
    for (const Stream& stream : streams) {
        if (stream.coloured) ::SetConsoleMode(::GetStdHandle(stream.number), stream.mode);
    }
}

// On a thread of the system's, for a command that does not handle its end itself.
BOOL WINAPI AtCtrlC(DWORD) {
    PutBack();
    return FALSE;
}

}  // namespace

ConsoleSetup::ConsoleSetup() {
    found_page = ::GetConsoleOutputCP();
    ::SetConsoleOutputCP(CP_UTF8);
    for (Stream& stream : streams) SetUp(stream);
    ::SetConsoleCtrlHandler(&AtCtrlC, TRUE);
}

ConsoleSetup::~ConsoleSetup() {
    std::fflush(stdout);
    ::SetConsoleCtrlHandler(&AtCtrlC, FALSE);
    PutBack();
}

std::string Paint(Colour colour, std::string_view text, std::FILE* stream) {
    constexpr const char* kEscapes[] = {"\x1b[32m", "\x1b[33m", "\x1b[31m"};
    if (!streams[stream == stdout ? 0 : 1].coloured) return std::string(text);
    return kEscapes[static_cast<int>(colour)] + std::string(text) + "\x1b[0m";
}

// The null device is a device with characters too, and no terminal.
bool IsTerminal(DWORD stream) {
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(stream), &mode) != 0;
}

std::string ReadTyped() {
    constexpr wchar_t kCtrlZ = 0x1A;
    std::wstring typed;
    wchar_t part[512];
    DWORD read = 0;
    while (::ReadConsoleW(::GetStdHandle(STD_INPUT_HANDLE), part, static_cast<DWORD>(std::size(part)), &read,
                          nullptr) != 0 &&
           read > 0) {
        const std::wstring_view words(part, read);
        typed += words.substr(0, words.find(kCtrlZ));
        if (words.find(kCtrlZ) != std::wstring_view::npos) break;
    }
    std::erase(typed, L'\r');  // a line ends as in a file that was made here
    return Utf8FromWideLossy(typed);
}

std::size_t Width(std::string_view text) {
    std::size_t width = 0;
    bool escape = false;
    for (const char c : text) {
        if (c == '\x1b') escape = true;
        if (!escape && (c & 0xC0) != 0x80) ++width;
        if (c == 'm') escape = false;
    }
    return width;
}

}  // namespace tandor::app
