// The directories that are written to and the files that are read. Rights are asked for by opening, without writing.
#include <windows.h>

#include <fmt/format.h>

#include "app/command.h"
#include "app/doctor/doctor.h"
#include "app/places.h"
#include "app/screen_view.h"
#include "base/win_error.h"
#include "base/win_handle.h"
#include "tandor/screen_config.h"

namespace tandor::app {
namespace {

constexpr std::uint64_t kLittleSpace = 100ULL * 1024 * 1024;

// The folder or, where it is not there yet, the one in which it would be made.
std::filesystem::path NearestExisting(std::filesystem::path folder) {
    std::error_code ignored;
    while (!std::filesystem::exists(folder, ignored) && folder != folder.parent_path()) folder = folder.parent_path();
    return folder;
}

Finding LookAtFolder(const std::string& thing, const std::filesystem::path& folder) {
    const std::filesystem::path nearest = NearestExisting(folder);
    const bool there = nearest == folder;
    std::error_code ignored;
    if (!std::filesystem::is_directory(nearest, ignored)) {
        return {thing, Verdict::kBroken, TextOf(nearest) + " is not a folder", "move what is there to another name"};
    }
    const FileHandle handle(::CreateFileW(nearest.c_str(), there ? FILE_ADD_FILE : FILE_ADD_SUBDIRECTORY,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                          OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!handle) {
        return {thing, Verdict::kBroken, TextOf(nearest) + ": " + WindowsErrorText(::GetLastError()),
                "give your user the right to write there, or run as administrator"};
    }
    ULARGE_INTEGER free{};
    const bool known = ::GetDiskFreeSpaceExW(nearest.c_str(), &free, nullptr, nullptr) != 0;
    const bool little = known && free.QuadPart < kLittleSpace;
    return {thing, little ? Verdict::kLimited : Verdict::kWorks,
            fmt::format("{}, {}{}", TextOf(folder),
                        there ? ContentText(ContentOf(folder)) : "not there yet, will be made when it is needed",
                        little ? fmt::format(", only {} bytes free", free.QuadPart) : ""),
            little ? "free some space on this disk" : ""};
}

Finding LookAtScreenFile(const char* thing, const std::filesystem::path& file) {
    const Json problems = ScreenProblems(file);
    if (problems.empty()) return {thing, Verdict::kWorks, TextOf(file), ""};
    return {thing, Verdict::kLimited,
            fmt::format("{}: {}{}", TextOf(file), problems[0]["problem"].get<std::string>(),
                        problems.size() == 1 ? "" : fmt::format(" (and {} more)", problems.size() - 1)),
            "defaults hold where it cannot be used; 'tandorctl screen check' names each line"};
}

}  // namespace

void CheckFolders(Findings& findings) {
    const auto& channels = LogChannels();
    findings.push_back(LookAtFolder("channel logs (admin)", channels[0].file.parent_path()));
    findings.push_back(LookAtFolder("channel logs (usr)", channels[1].file.parent_path()));
    findings.push_back(LookAtFolder("host logs", HostLogFolder()));
    findings.push_back(LookAtFolder("device store's folder", DeviceStoreFile().parent_path()));
    findings.push_back(LookAtFolder("outbox's folder", OutboxFile().parent_path()));
}

void CheckConfiguration(Findings& findings) {
    findings.push_back(LookAtScreenFile("screen configuration", ProgramFolder() / kScreenConfigFile));
    findings.push_back(LookAtScreenFile("pad resolutions", ProgramFolder() / kPadResolutionFile));
    const std::string type = ExScreen::ConfigMgr::GetDeviceType();
    findings.push_back(type.empty() ? Finding{"this PC's device type", Verdict::kLimited,
                                              "neither the registry nor the BIOS names one: the defaults hold",
                                              "set the text value DeviceType under HKLM\\SOFTWARE\\Vextro\\Pelora"}
                                    : Finding{"this PC's device type", Verdict::kWorks, type, ""});
}

}  // namespace tandor::app
