#include <fmt/format.h>
#include <windows.h>

#include "app/places.h"
#include "app/tour.h"
#include "foundation/version.h"
#include "pelora/log_service.h"
#include "tandor/file_classifier.h"
#include "tandor/logging.h"
#include "tandor/text.h"

namespace tandor::app {
namespace {

// The last line with this text; other processes write to the same file.
std::string LineWith(const std::filesystem::path& file, const std::string& text) {
    const std::string content = ReadInput(TextOf(file));
    const std::size_t at = content.rfind(text);
    if (at == std::string::npos) throw CommandError(TextOf(file), "the line is not there", "see 'tandorctl doctor'");
    const std::size_t begin = at == 0 ? 0 : content.rfind('\n', at - 1) + 1;
    return content.substr(begin, content.find_first_of("\r\n", at) - begin);
}

}  // namespace

void TourChannels(TourReport& report) {
    const TickScopeCounter timer([](unsigned long long) {});
    for (const auto& [channel, file] : LogChannels()) {
        std::wstringstream message;
        message << L"tour: pairing with 手机 begins, process " << ::GetCurrentProcessId();
        { Logger(channel).Log(LOG_MESSAGE_INFO, message); }
        report.Result(channel, LineWith(file, TandorUtilClass::ConvertFromWideBytes(message.str())));
    }
    std::wstringstream message;
    message << L"tour: the host log of process " << ::GetCurrentProcessId();
    VxLogger::GetInstance().Log(LOG_MESSAGE_INFO, message);
    report.Result("host log",
                  LineWith(HostLogFile(::GetCurrentProcessId()), TandorUtilClass::ConvertFromWideBytes(message.str())));
}

void TourText(TourReport& report) {
    const std::string name = "Lena's 手机 \U0001F4F1";
    const std::wstring wide = TandorUtilClass::ConvertFromBytes(name);
    Expect(TandorUtilClass::ConvertFromWideBytes(wide) == name, "the conversion there and back");
    report.Result("device name", fmt::format("{} ({} bytes, {} UTF-16 units)", name, name.size(), wide.size()));
    report.Result("as Base64", TandorUtilClass::Base64Encode(reinterpret_cast<const unsigned char*>(name.data()),
                                                             static_cast<unsigned>(name.size())));
    report.Result("in a URL", TandorUtilClass::UrlEncode(name));
    report.Result("phone number, masked", TandorUtilClass::SenstiveContent(std::string("13812345678")));
    try {
        TandorUtilClass::ConvertFromBytes("cut \xE6\x89");
        Expect(false, "refusing cut UTF-8");
    } catch (const std::range_error& error) {
        report.Result("cut UTF-8 is refused", error.what());
    }
}

void TourVersions(TourReport& report) {
    const unsigned packed = TandorUtilClass::GetPeerDeviceVersion(TourPhone());
    Expect(packed == TandorUtilClass::CalcVersion("10.0.0.100"), "the remembered device's version");
    report.Result("its version", fmt::format("10.0.0.100, packed 0x{:08X}", packed), packed);
    const bool modern = TandorUtilClass::IsDeviceVersionMoreThanKOSM10(TourPhone());
    Expect(modern, "the judgement of its version");
    report.Result("new enough for the feature", "yes: at least 0x0A000064", modern);
    Expect(CompareVersions("10.0.10", "10.0.9") == VersionOrder::kHigher, "10.0.10 against 10.0.9");
    report.Result("10.0.10 against 10.0.9", "higher: components are numbers");
    report.Result("10.0 against 10.0.1",
                  CompareVersions("10.0", "10.0.1") == VersionOrder::kNotComparable ? "not comparable" : "comparable");
}

void TourFiles(TourReport& report) {
    const std::filesystem::path folder = ProgramFolder();
    constexpr const char* kClasses[] = {"pictures",          "films",         "text documents",
                                        "spreadsheets",      "presentations", "diagrams",
                                        "pages, plain text", "cache files",   "others"};
    std::size_t counts[std::size(kClasses)]{};
    std::size_t files = 0;
    std::error_code error;
    const auto skip = std::filesystem::directory_options::skip_permission_denied;
    for (std::filesystem::recursive_directory_iterator entry(folder, skip, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->is_directory(error)) continue;
        ++files;
        ++counts[ZellFileClassifier::GetTransferFileType(TextOf(entry->path().filename()))];
    }
    Expect(files > 0, "the walk through the program's folder");
    report.Result("folder", TextOf(folder));
    report.Result("files", std::to_string(files), files);
    for (std::size_t type = 0; type < std::size(kClasses); ++type) {
        if (counts[type] > 0) report.Result(kClasses[type], std::to_string(counts[type]), counts[type]);
    }
    report.Result("while it is transferred",
                  TandorUtilClass::ConvertFromWideBytes(ZellFileClassifier::MakeCacheFileType(L"Film.mp4")));
}

}  // namespace tandor::app
