#include "app/terminal.h"

#include <array>
#include <iterator>

#include "base/utf.h"
#include "base/win_handle.h"

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

bool Understand(HANDLE console, DWORD& mode) {
    return ::GetConsoleMode(console, &mode) != 0 &&
           ::SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

// There are consoles that take the mode and then show the escapes. One that does not moves no cursor for them; it is
// tried where nobody sees it.
bool HidesEscapes() {
    constexpr std::wstring_view kEscape = L"\x1b[0m";
    const FileHandle hidden(
        ::CreateConsoleScreenBuffer(GENERIC_READ | GENERIC_WRITE, 0, nullptr, CONSOLE_TEXTMODE_BUFFER, nullptr));
    DWORD mode = 0, written = 0;
    CONSOLE_SCREEN_BUFFER_INFO after{};
    return hidden && Understand(hidden.Get(), mode) &&
           ::WriteConsoleW(hidden.Get(), kEscape.data(), static_cast<DWORD>(kEscape.size()), &written, nullptr) != 0 &&
           ::GetConsoleScreenBufferInfo(hidden.Get(), &after) != 0 && after.dwCursorPosition.X == 0;
}

void SetUp(Stream& stream) {
    stream.coloured = IsTerminal(stream.number) && ColoursWanted() && HidesEscapes() &&
                      Understand(::GetStdHandle(stream.number), stream.mode);
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
    CONSOLE_READCONSOLE_CONTROL wake_up{sizeof(wake_up), 0, ULONG{1} << kCtrlZ, 0};  // not only with the line's end
    std::wstring typed;
    wchar_t part[512];
    DWORD read = 0;
    while (::ReadConsoleW(::GetStdHandle(STD_INPUT_HANDLE), part, static_cast<DWORD>(std::size(part)), &read,
                          &wake_up) != 0 &&
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
