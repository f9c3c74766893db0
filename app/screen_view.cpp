#include "app/screen_view.h"

#include "base/utf.h"
#include "config/screen_check.h"
#include "pelora/xml.h"
#include "tandor/screen_config.h"

namespace tandor::app {
namespace {

Json Problem(const std::filesystem::path& file, int line, const std::string& text) {
    return {{"file", TextOf(file)}, {"line", line}, {"problem", text}};
}

}  // namespace

bool ScreenView::Folder(std::wstring& folder) {
    folder = folder_.native();
    return true;
}

bool ScreenView::IsHorizontal() { return ExScreen::ConfigMgr::IsHorizontal(); }

void ScreenView::Note(LOG_MESSAGE_LEVEL level, std::wstring_view function, std::wstring_view text) {
    notes.push_back({{"level", static_cast<int>(level)},
                     {"function", Utf8FromWideLossy(function)},
                     {"text", Utf8FromWideLossy(text)}});
}

std::string Origin(const ScreenSettings& settings, ScreenValue value) {
    const StoredValue& stored = settings.Stored(value);
    switch (stored.source) {
        case StoredValue::Source::kDefault:
            return "default";
        case StoredValue::Source::kUnreadable:
            return "unreadable";
        case StoredValue::Source::kFile:
            break;
    }
    return settings.InRange(value) ? "file" : "out of range";
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
