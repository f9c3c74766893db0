// A device type, a layout and any text as both configuration files, and to the checker: nothing is read outside, values
// obey their rules, lists their bounds.
#include "config/screen_check.h"
#include "config/screen_reader.h"
#include "fuzzers/property.h"

namespace {

void CheckList(const ExScreen::ResolutionList& list) {
    TANDOR_HOLDS(list.size() <= tandor::kMostResolutions);
    for (const auto& one : list) {
        TANDOR_HOLDS(one.width >= tandor::kLeastEdge && one.width <= tandor::kGreatestEdge);
        TANDOR_HOLDS(one.height >= tandor::kLeastEdge && one.height <= tandor::kGreatestEdge);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // "<type>\n<h or v><text>"; a text without a line break is for a device of its own.
    std::string text = tandor::fuzz::Text(data, size), type = "P";
    bool horizontal = true;
    if (const std::size_t end = text.find('\n'); end < 64 && text[0] != '<') {
        type = text.substr(0, end);
        horizontal = text.substr(end + 1).starts_with('h');
        text.erase(0, std::min(end + 2, text.size()));
    }
    VxXMLDocument document;
    const bool loaded = document.Parse(text);
    TANDOR_HOLDS(loaded == !document.RootElement().IsElementNull());
    TANDOR_HOLDS(loaded == document.ErrorText().empty());
    if (!loaded) return 0;
    const tandor::ScreenReading reading = tandor::ReadPadResolutions(
        document.RootElement(), tandor::ReadScreenConfig(document.RootElement(), type, horizontal));
    const tandor::ScreenSettings& settings = reading.settings;
    for (const auto& finding : reading.findings)
        TANDOR_HOLDS(finding.level == LOG_MESSAGE_INFO && !finding.Text().empty() && finding.function != nullptr);
    TANDOR_HOLDS(reading.findings.size() < 100 + 8 * (tandor::kMostResolutions + 1));
    for (std::size_t i = 0; i < tandor::kScreenValues; ++i) {
        const auto value = static_cast<tandor::ScreenValue>(i);
        const auto answer = settings.Answer(value);
        const tandor::ScreenRule& rule = tandor::RuleOf(value);
        TANDOR_HOLDS(answer == rule.otherwise || (answer >= rule.least && answer <= rule.greatest));
        const auto& stored = settings.Stored(value);
        TANDOR_HOLDS((stored.line > 0) == (stored.source != tandor::StoredValue::Source::kNothing));
    }
    CheckList(settings.mirror);
    CheckList(settings.extend);
    ExScreen::Resolution chosen;
    for (const auto* table : {&settings.monitor, &settings.pad}) {
        for (const auto& [ratio, list] : *table) CheckList(list);
        TANDOR_HOLDS(tandor::ChooseResolution(*table, {1920, 1280}, chosen) == !table->empty());
    }
    for (const auto& problem : tandor::CheckScreenConfig(document.RootElement())) TANDOR_HOLDS(problem.line > 0);
    return 0;
}
