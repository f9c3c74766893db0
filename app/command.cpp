#include "app/command.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

#include "base/utf.h"

namespace tandor::app {
namespace {

std::size_t Width(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace

void Print(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

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

Progress::Progress(std::string what)
    : what_(std::move(what)), terminal_(::GetFileType(::GetStdHandle(STD_ERROR_HANDLE)) == FILE_TYPE_CHAR) {}

Progress::~Progress() {
    if (shown_) std::fputs("\r\x1B[K", stderr);
}

void Progress::Show(std::uint64_t done, std::uint64_t total) {
    if (!terminal_ || (shown_ && ::GetTickCount64() - last_ < 100)) return;
    shown_ = true;
    last_ = ::GetTickCount64();
    const auto percent = total == 0 ? 100 : done * 100 / total;
    std::fprintf(stderr, "\r%s %llu%%\x1B[K", what_.c_str(), static_cast<unsigned long long>(percent));
    std::fflush(stderr);
}

std::filesystem::path PathFrom(std::string_view utf8) { return std::filesystem::path(WideFromUtf8(utf8)); }

std::string TextOf(const std::filesystem::path& path) { return Utf8FromWideLossy(path.native()); }

std::filesystem::path ProgramFolder() {
    std::wstring program(32768, L'\0');
    program.resize(::GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    return std::filesystem::path(program).parent_path();
}

std::string ReadInput(const std::string& file) {
    if (file == "-") return {std::istreambuf_iterator<char>(std::cin), {}};
    std::ifstream stream(PathFrom(file), std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), {}};
    if (!stream.is_open() || stream.bad()) {
        throw CommandError(file, "cannot be read", "check that the file exists and that you may read it");
    }
    return content;
}

CLI::Validator FileThatIsThere() {
    return CLI::Validator(
        [](const std::string& text) {
            std::error_code ignored;
            return std::filesystem::is_regular_file(PathFrom(text), ignored) ? std::string()
                                                                             : "'" + text + "' is not a file";
        },
        "FILE");
}

CLI::Validator WebAddress() {
    return CLI::Validator(
        [](const std::string& text) {
            const bool known = text.starts_with("https://") || text.starts_with("http://");
            return known ? std::string()
                         : "'" + text + "' is not an address of https; write it whole, as https://host/path";
        },
        "URL");
}

}  // namespace tandor::app
