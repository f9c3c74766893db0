#include <fmt/format.h>
#include <windows.h>

#include "app/device_collection.h"
#include "app/places.h"
#include "app/tour.h"
#include "pelora/file_info.h"
#include "pelora/outbox.h"

namespace tandor::app {
namespace {

std::uint64_t BytesOf(const std::filesystem::path& file) {
    std::error_code error;
    const auto bytes = std::filesystem::file_size(file, error);
    return error ? 0 : bytes;
}

void ShowLogs(TourReport& report) {
    for (const LogChannel& channel : LogChannels()) {
        const std::string content = ReadInput(TextOf(channel.file));
        const auto lines = std::count(content.begin(), content.end(), '\n');
        report.Result("log " + channel.name,
                      fmt::format("{}: {} lines, {} bytes", TextOf(channel.file), lines, content.size()),
                      {{"file", TextOf(channel.file)}, {"lines", lines}, {"bytes", content.size()}});
    }
    const FolderContent hosts = ContentOf(HostLogFolder());
    report.Result("host logs, one a process", TextOf(HostLogFolder()) + ": " + ContentText(hosts),
                  {{"folder", TextOf(HostLogFolder())}, {"files", hosts.files}, {"bytes", hosts.bytes}});
}

void ShowStore(TourReport& report) {
    const std::filesystem::path file = DeviceStoreFile();
    const auto present = DeviceCollection(false).Records().size(), bound = DeviceCollection(true).Records().size();
    report.Result(
        "device store",
        fmt::format("{}: {} present and {} bound devices, {} bytes", TextOf(file), present, bound, BytesOf(file)),
        {{"file", TextOf(file)}, {"present", present}, {"bound", bound}, {"bytes", BytesOf(file)}});
}

void ShowOutbox(TourReport& report) {
    pelora::OutboxStatus status;
    const std::string trouble = pelora::Outbox::GetInstance().Status(status);
    if (!trouble.empty()) throw CommandError("the outbox", trouble, "see 'tandorctl doctor'");
    report.Result(
        "outbox",
        fmt::format("{}: {} records of at most {}, {} bytes, {} dropped ever", status.file, status.records,
                    status.limits.records, status.bytes, status.displaced),
        {{"file", status.file}, {"records", status.records}, {"bytes", status.bytes}, {"displaced", status.displaced}});
}

}  // namespace

void TourTidyUp(TourReport& report) {
    const std::size_t devices = TakeBackPhone();
    const std::size_t records = TakeBackRecords();
    report.Result("taken out of the store", fmt::format("{} device", devices), devices);
    report.Result("taken out of the outbox", fmt::format("{} records", records), records);
}

void TourPlaces(TourReport& report) {
    ShowLogs(report);
    ShowStore(report);
    ShowOutbox(report);
    Json left = Json::array();
    for (const auto& entry : std::filesystem::directory_iterator(report.Folder()))
        left.push_back(TextOf(entry.path().filename()));
    std::string names;
    for (const Json& name : left) names += (names.empty() ? "" : ", ") + name.get<std::string>();
    report.Result("files to be looked at", TextOf(report.Folder()) + ": " + names,
                  {{"folder", TextOf(report.Folder())}, {"files", left}});
}

}  // namespace tandor::app
