#include "app/command.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

#include "app/terminal.h"
#include "base/utf.h"

namespace tandor::app {
namespace {

constexpr std::size_t kLongestWhat = 50;  // characters that fit into a line with what follows

bool printed = false;

}  // namespace

void Print(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    printed = true;
}

bool HasPrinted() { return printed; }

void PrintLine(std::string_view text) {
    Print(text);
    Print("\n");
}

void PrintJson(const Json& document) { PrintLine(document.dump(2, ' ', false, Json::error_handler_t::replace)); }

void PrintTable(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], Width(row[i]));
    }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size()) line.append(widths[i] - Width(row[i]) + 2, ' ');
        }
        PrintLine(line);
    }
}

void PrintNotLookedAt(const std::map<std::string, std::vector<std::string>>& reasons) {
    for (const auto& [reason, things] : reasons) {
        std::string list;
        for (const std::string& thing : things) list += (list.empty() ? "" : ", ") + thing;
        PrintLine(std::to_string(things.size()) + " more: " + reason + ": " + list);
    }
}

Progress::Progress(std::string_view what) : terminal_(IsTerminal(STD_ERROR_HANDLE)) {
    if (!terminal_) return;
    const std::wstring wide = WideFromUtf8Lossy(what);
    what_ = wide.size() <= kLongestWhat ? std::string(what)
                                        : Utf8FromWideLossy(L"..." + wide.substr(wide.size() - kLongestWhat));
}

Progress::~Progress() {
    if (width_ > 0) std::fprintf(stderr, "\r%*s\r", static_cast<int>(width_), "");
}

void Progress::Show(std::uint64_t done, std::uint64_t total) {
    if (IsDue()) Write(what_ + " " + std::to_string(total == 0 ? 100 : done * 100 / total) + "%");
}

void Progress::Count(std::uint64_t done, std::string_view unit) {
    if (IsDue()) Write(what_ + ", " + std::to_string(done) + " " + std::string(unit));
}

bool Progress::IsDue() const { return terminal_ && (width_ == 0 || ::GetTickCount64() - last_ >= 100); }

// Old consoles know no escape sequences: what is longer than the new line is written over with blanks.
void Progress::Write(const std::string& line) {
    const std::size_t width = Width(line);
    std::fprintf(stderr, "\r%s%*s", line.c_str(), static_cast<int>(width_ > width ? width_ - width : 0), "");
    std::fflush(stderr);
    width_ = std::max(width, width_);
    last_ = ::GetTickCount64();
}

std::filesystem::path PathFrom(std::string_view utf8) { return std::filesystem::path(WideFromUtf8(utf8)); }

std::string TextOf(const std::filesystem::path& path) { return Utf8FromWideLossy(path.native()); }

std::string ReadInput(const std::string& file) {
    if (file == "-" && IsTerminal(STD_INPUT_HANDLE)) return ReadTyped();
    if (file == "-") return {std::istreambuf_iterator<char>(std::cin), {}};
    std::ifstream stream(PathFrom(file), std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), {}};
    if (!stream.is_open() || stream.bad()) {
        throw CommandError(file, "cannot be read", "check that the file exists and that you may read it");
    }
    return content;
}

std::vector<std::string> ReadLines(const std::string& file) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    std::string content = ReadInput(file);
    if (content.starts_with(kMark)) content.erase(0, kMark.size());
    if (!content.empty() && !content.ends_with('\n')) content += '\n';
    std::vector<std::string> lines;
    for (std::size_t begin = 0, end = 0; (end = content.find('\n', begin)) != std::string::npos; begin = end + 1) {
        lines.push_back(content.substr(begin, end - begin));
        if (lines.back().ends_with('\r')) lines.back().pop_back();
    }
    return lines;
}

void WriteOutput(const std::string& file, std::string_view content) {
    if (file.empty() || file == "-") return Print(content);
    std::ofstream stream(PathFrom(file), std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    if (!stream) {
        throw CommandError(file, "cannot be written",
                           "check that its folder exists, that you may write there, and the disk");
    }
}

}  // namespace tandor::app
