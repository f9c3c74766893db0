#include <fmt/format.h>
#include <windows.h>

#include "app/tour.h"
#include "foundation/version.h"
#include "pelora/log_service.h"
#include "tandor/file_classifier.h"
#include "tandor/logging.h"
#include "tandor/text.h"

namespace tandor::app {
namespace {

std::string LastLine(const std::string& file) {
    std::string content = ReadInput(file);
    while (content.ends_with('\n') || content.ends_with('\r')) content.pop_back();
    return content.substr(content.rfind('\n') + 1);
}

}  // namespace

void TourChannels(TourReport& report) {
    const std::pair<const char*, const char*> channels[] = {
        {"KoViewTandor", "admin"}, {"KoViewMirror", "usr"}, {"KoViewAccountCred", "admin"}};
    const TickScopeCounter timer([](unsigned long long) {});
    for (const auto& [channel, folder] : channels) {
        std::wstringstream message;
        message << L"tour: pairing with 手机 begins, process " << ::GetCurrentProcessId();
        { Logger(channel).Log(LOG_MESSAGE_INFO, message); }
        const std::string line =
            LastLine(fmt::format("C:\\ProgramData\\Comms\\Pelora\\log\\{}\\{}.log", folder, channel));
        Expect(line.ends_with(TandorUtilClass::ConvertFromWideBytes(message.str())), channel);
        report.Result(channel, line);
    }
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
    const char* const version = "10.0.0.100";
    const unsigned packed = TandorUtilClass::CalcVersion(version);
    report.Result(version, fmt::format("0x{:08X}", packed), packed);
    Expect(CompareVersions("10.0.10", "10.0.9") == VersionOrder::kHigher, "10.0.10 against 10.0.9");
    report.Result("10.0.10 against 10.0.9", "higher: components are numbers");
    report.Result("10.0 against 10.0.1",
                  CompareVersions("10.0", "10.0.1") == VersionOrder::kNotComparable ? "not comparable" : "comparable");
}

void TourFiles(TourReport& report) {
    wchar_t program[32768];
    const DWORD length = ::GetModuleFileNameW(nullptr, program, static_cast<DWORD>(std::size(program)));
    Expect(length > 0 && length < std::size(program), "the program's own folder");
    const std::filesystem::path folder = std::filesystem::path(program).parent_path();
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
