// What stands behind the standard streams: a terminal with its characters and colours, or a file or pipe.
#pragma once

#include <windows.h>

#include <cstdio>
#include <string>
#include <string_view>

namespace tandor::app {

// Makes the console show UTF-8 and, where it can, colours. The console belongs to the user: all is put back at the
// end, also when Ctrl-C is that end. One for the program.
class ConsoleSetup {
public:
    ConsoleSetup();
    ~ConsoleSetup();
    ConsoleSetup(const ConsoleSetup&) = delete;
    ConsoleSetup& operator=(const ConsoleSetup&) = delete;
};

enum class Colour { kGood, kDoubtful, kBad };

// The text in that colour when the stream, stdout or stderr, is a terminal with colours and NO_COLOR is not set; the
// text as it is otherwise.
std::string Paint(Colour colour, std::string_view text, std::FILE* stream = stdout);

// Whether STD_INPUT_HANDLE and so on is a terminal.
bool IsTerminal(DWORD stream);

// What is typed at the terminal until Ctrl-Z, as UTF-8 whatever the console's code page.
std::string ReadTyped();

// How many places the text takes: a character of several bytes takes one, a colour none.
std::size_t Width(std::string_view text);

}  // namespace tandor::app
