#include "app/screen_view.h"

#include <fmt/format.h>

#include "base/utf.h"
#include "config/screen_check.h"
#include "pelora/xml.h"
#include "tandor/screen_config.h"

namespace tandor::app {
namespace {

constexpr ScreenValue kNeverSet = ScreenValue::kReduceResolution;

Json Problem(const std::filesystem::path& file, int line, const std::string& text) {
    return {{"file", TextOf(file)}, {"line", line}, {"problem", text}};
}

}  // namespace

ScreenReading LookAtScreen(const std::filesystem::path& folder, const std::string& device_type) {
    return LoadScreenSettings(folder.native(), device_type, ExScreen::ConfigMgr::IsHorizontal);
}

Json MessagesOf(const ScreenReading& reading, bool failures_only) {
    Json messages = Json::array();
    for (const ScreenFinding& finding : reading.findings) {
        if (failures_only && finding.level != LOG_MESSAGE_ERROR) continue;
        messages.push_back({{"level", static_cast<int>(finding.level)},
                            {"function", Utf8FromWideLossy(finding.function)},
                            {"text", Utf8FromWideLossy(finding.Text())}});
    }
    return messages;
}

Origin OriginOf(const ScreenSettings& settings, ScreenValue value, const std::string& device_type) {
    using Source = StoredValue::Source;
    const StoredValue& stored = settings.Stored(value);
    const ScreenRule& rule = RuleOf(value);
    const std::string file = TextOf(std::filesystem::path(kScreenConfigFile).filename());
    if (stored.source == Source::kNothing)
        return {kNeverSet == value ? "no element sets it" : file + " was not read", "", 0};
    Origin origin{"", file, stored.line};
    if (stored.source == Source::kMissing) origin.why = fmt::format("no <{}>", stored.element);
    if (stored.source == Source::kOtherDevice)
        origin.why = fmt::format("<{}> has nothing for {}", stored.element, device_type);
    if (stored.source == Source::kUnreadable)
        origin.why = fmt::format("<{}> holds no whole number up to {}", stored.element, kGreatestNumber);
    if (stored.source == Source::kFile && !settings.InRange(value)) {
        origin.why =
            fmt::format("<{}> is {} and must be {} to {}", stored.element, stored.written, rule.least, rule.greatest);
    }
    return origin;
}

std::string TextOf(const Origin& origin) {
    const std::string place = origin.file.empty() ? "" : fmt::format("{}:{}", origin.file, origin.line);
    if (origin.why.empty()) return place;
    return "default: " + origin.why + (place.empty() ? "" : " (" + place + ")");
}

Json ScreenProblems(const std::filesystem::path& file) {
    Json problems = Json::array();
    VxXMLDocument document;
    if (!document.LoadFile(file.native())) {
        problems.push_back(Problem(file, document.ErrorLine(), document.ErrorText()));
        return problems;
    }
    for (const ScreenProblem& problem : CheckScreenConfig(document.RootElement())) {
        problems.push_back(Problem(file, problem.line, problem.text));
    }
    return problems;
}

}  // namespace tandor::app
