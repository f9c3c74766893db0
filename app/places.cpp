#include "app/places.h"

#include <fmt/format.h>

#include "app/command.h"
#include "pelora/file_info.h"

namespace tandor::app {
namespace {

std::filesystem::path CommonFolder() { return PathFrom(FileInfo::GetPeloraCommDir()); }

}  // namespace

const std::vector<LogChannel>& LogChannels() {
    static const std::filesystem::path logs = L"C:\\ProgramData\\Comms\\Pelora\\log";
    static const std::vector<LogChannel> channels{{"KoViewTandor", logs / "admin" / "KoViewTandor.log"},
                                                  {"KoViewMirror", logs / "usr" / "KoViewMirror.log"},
                                                  {"KoViewAccountCred", logs / "admin" / "KoViewAccountCred.log"}};
    return channels;
}

std::filesystem::path HostLogFolder() { return CommonFolder() / "log" / "host"; }

std::filesystem::path HostLogFile(unsigned long process) {
    const std::wstring end = L"-" + std::to_wstring(process) + L".log";
    std::error_code error, ignored;
    std::filesystem::directory_entry newest;
    for (std::filesystem::directory_iterator entry(HostLogFolder(), error), none; !error && entry != none;
         entry.increment(error)) {
        const bool named = entry->path().native().ends_with(end);
        if (named && (!newest.exists(ignored) || newest.last_write_time(ignored) < entry->last_write_time(ignored)))
            newest = *entry;
    }
    return newest.path();
}

std::filesystem::path DeviceStoreFile() { return CommonFolder() / "device" / "devices.db"; }

std::filesystem::path OutboxFile() { return CommonFolder() / "telemetry" / "outbox.db"; }

std::filesystem::path PathOfModule(HMODULE module) {
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

std::filesystem::path ProgramFile() { return PathOfModule(nullptr); }

std::filesystem::path ProgramFolder() { return ProgramFile().parent_path(); }

std::filesystem::path SystemFolder() {
    wchar_t folder[MAX_PATH];
    return std::wstring(folder, ::GetSystemDirectoryW(folder, MAX_PATH));
}

FolderContent ContentOf(const std::filesystem::path& folder) {
    FolderContent content;
    std::error_code error;
    const auto skip = std::filesystem::directory_options::skip_permission_denied;
    for (std::filesystem::directory_iterator entry(folder, skip, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        if (!entry->is_regular_file(ignored)) continue;
        ++content.files;
        const auto size = entry->file_size(ignored);
        if (!ignored) content.bytes += size;
    }
    return content;
}

std::string ContentText(const FolderContent& content) {
    return fmt::format("{} file{}, {} bytes", content.files, content.files == 1 ? "" : "s", content.bytes);
}

}  // namespace tandor::app
