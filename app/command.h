// What every command of tandorctl is made of.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "app/trouble.h"

namespace tandor::app {

using Json = nlohmann::ordered_json;

// What the options before and behind the verb say, and how the command ended.
struct Context {
    bool json = false;
    bool follow = false;
    int exit_code = 0;  // 0, or 1 for a command that did its work and found something wrong
};

// Writes UTF-8 to standard output, as it is or with a line break. What cannot be written is told at the program's end.
void Print(std::string_view text);
void PrintLine(std::string_view text);

// One document, the only thing that a command prints under --json. It is an object, its lists stand under keys in the
// plural, and its keys and their types are the same whatever is found; docs/cli.md shows them.
void PrintJson(const Json& document);

// Whether anything went to standard output yet.
bool HasPrinted();

// A table for people: the first row is the heading. Columns are padded by characters, not bytes.
void PrintTable(const std::vector<std::vector<std::string>>& rows);

// What a look had to leave out, by the reason: "2 more: a pipe: 0x14, 0x18".
void PrintNotLookedAt(const std::map<std::string, std::vector<std::string>>& reasons);

// One line on standard error that is written over and over, when that is a terminal; nothing otherwise.
class Progress {
public:
    explicit Progress(std::string_view what);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void Show(std::uint64_t done, std::uint64_t total);
    // Where nobody knows how much there is: "reading C:\Users, 1200 files".
    void Count(std::uint64_t done, std::string_view unit);

private:
    [[nodiscard]] bool IsDue() const;
    void Write(const std::string& line);

    std::string what_;
    bool terminal_;
    std::size_t width_ = 0;  // of what stands there
    std::uint64_t last_ = 0;
};

// The path that a UTF-8 argument names, and the way back.
std::filesystem::path PathFrom(std::string_view utf8);
std::string TextOf(const std::filesystem::path& path);

// The content of the file, or of standard input for "-". Throws CommandError.
std::string ReadInput(const std::string& file);

// Its lines, without their ends and a byte order mark in front.
std::vector<std::string> ReadLines(const std::string& file);

// Writes the content to the file, or to standard output for "-" and for no name. Throws CommandError.
void WriteOutput(const std::string& file, std::string_view content);

}  // namespace tandor::app
