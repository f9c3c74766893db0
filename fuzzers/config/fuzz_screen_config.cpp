// Any text as both configuration files and to the checker: nothing is read outside, values obey their rules, lists
// their bounds, and a file without problems of its numbers gives what it says.
#include "config/screen_check.h"
#include "config/screen_reader.h"
#include "fuzzers/property.h"

namespace {

class Host final : public tandor::ScreenHost {
public:
    std::string DeviceType() override { return "P"; }
    bool Folder(std::wstring&) override { return false; }
    bool IsHorizontal() override { return true; }
    void AudioSwitchKnown(bool) override {}
    void Note(LOG_MESSAGE_LEVEL level, std::wstring_view, std::wstring_view text) override {
        TANDOR_HOLDS(level == LOG_MESSAGE_INFO && !text.empty());
    }
};

void CheckList(const ExScreen::ResolutionList& list) {
    TANDOR_HOLDS(list.size() <= tandor::kMostResolutions);
    for (const auto& one : list) {
        TANDOR_HOLDS(one.width >= tandor::kLeastEdge && one.width <= tandor::kGreatestEdge);
        TANDOR_HOLDS(one.height >= tandor::kLeastEdge && one.height <= tandor::kGreatestEdge);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    VxXMLDocument document;
    const bool loaded = document.Parse(tandor::fuzz::Text(data, size));
    TANDOR_HOLDS(loaded == !document.RootElement().IsElementNull());
    TANDOR_HOLDS(loaded == document.ErrorText().empty());
    if (!loaded) return 0;
    Host host;
    tandor::ScreenSettings settings;
    tandor::ReadScreenConfig(document.RootElement(), "P", host, settings);
    tandor::ReadPadResolutions(document.RootElement(), host, settings);
    for (std::size_t i = 0; i < tandor::kScreenValues; ++i) {
        const auto value = static_cast<tandor::ScreenValue>(i);
        const auto answer = settings.Answer(value);
        const tandor::ScreenRule& rule = tandor::RuleOf(value);
        TANDOR_HOLDS(answer == rule.otherwise || (answer >= rule.least && answer <= rule.greatest));
        const auto& stored = settings.Stored(value);
        TANDOR_HOLDS((stored.line > 0) == (stored.source != tandor::StoredValue::Source::kDefault));
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
