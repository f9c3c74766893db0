#include "app/log_follow.h"

#include <algorithm>
#include <utility>

namespace tandor::app {
namespace {

constexpr unsigned kMostRenamed = 16;  // more than any log keeps

std::filesystem::path Renamed(const std::filesystem::path& file, unsigned number) {
    std::wstring name = file.stem().native();
    name += L'.' + std::to_wstring(number) + file.extension().native();
    return file.parent_path() / name;
}

}  // namespace

LogFollower::LogFollower(std::filesystem::path file) : path_(std::move(file)) {}

LogFollower::Opened LogFollower::Open(const std::filesystem::path& file) {
    Opened opened;
    opened.file =
        FileHandle(::CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                 nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    BY_HANDLE_FILE_INFORMATION about{};
    if (opened.file && ::GetFileInformationByHandle(opened.file.Get(), &about) != 0) {
        const auto high = static_cast<unsigned long long>(about.nFileIndexHigh);
        opened.identity = {about.dwVolumeSerialNumber, high << 32 | about.nFileIndexLow};
    }
    return opened;
}

void LogFollower::ReadRest(std::vector<std::string>& lines) {
    char part[64 * 1024];
    for (DWORD read = 0; ::ReadFile(current_.file.Get(), part, sizeof(part), &read, nullptr) != 0 && read > 0;)
        rest_.append(part, read);
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = rest_.find('\n', begin)) != std::string::npos; begin = end + 1) {
        lines.push_back(rest_.substr(begin, end - begin));
        if (lines.back().ends_with('\r')) lines.back().pop_back();
    }
    rest_.erase(0, begin);
}

// The files that were begun after the current one, oldest first. Renames may go on meanwhile: a file may be met twice.
std::vector<LogFollower::Opened> LogFollower::Since(Opened newest) const {
    std::vector<Opened> files;
    files.push_back(std::move(newest));
    for (unsigned number = 1; current_.file && number <= kMostRenamed; ++number) {
        Opened older = Open(Renamed(path_, number));
        if (older.file && older.identity == current_.identity) break;
        if (older.file && std::ranges::find(files, older.identity, &Opened::identity) == files.end())
            files.push_back(std::move(older));
    }
    std::ranges::reverse(files);
    return files;
}

std::vector<std::string> LogFollower::NewLines() {
    std::vector<std::string> lines;
    Opened now = Open(path_);
    // Between the rename and the new file's beginning there is none; then, as before, what the old one has is all.
    if (current_.file) ReadRest(lines);
    if (!now.file || now.identity == current_.identity) return lines;
    for (Opened& next : Since(std::move(now))) {
        if (!rest_.empty()) lines.push_back(std::exchange(rest_, {}));  // its writer has died in the middle
        current_ = std::move(next);
        ReadRest(lines);
    }
    return lines;
}

}  // namespace tandor::app
