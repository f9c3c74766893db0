// What both readers of the screen's files share.
#pragma once

#include <optional>
#include <utility>

#include "base/decimal.h"
#include "config/screen_reader.h"
#include "foundation/message.h"

namespace tandor {

// None for what is no number or a greater one.
inline std::optional<std::int64_t> Number(VxXmlElement element) {
    const auto number = ParseDecimal<std::int64_t>(element.Value());
    return number && *number > kGreatestNumber ? std::nullopt : number;
}

// A reader's messages carry its name.
class Notes {
public:
    Notes(ScreenReading& reading, const wchar_t* function) : reading_(reading), function_(function) {}

    void Say(LOG_MESSAGE_LEVEL level, const wchar_t* text) const {
        reading_.findings.push_back({level, function_, text});
    }
    void Info(const wchar_t* text) const { Say(kInfo, text); }
    void Info(const wchar_t* text, std::string subject, std::int64_t number = 0) const {
        reading_.findings.push_back({kInfo, function_, text, std::move(subject), {number}});
    }
    void Info(const wchar_t* text, std::int64_t number, std::int64_t next = 0) const {
        reading_.findings.push_back({kInfo, function_, text, {}, {number, next}});
    }
    // Whether the element is there; says so when not.
    [[nodiscard]] bool Has(VxXmlElement element, const wchar_t* missing) const {
        if (element.IsElementNull()) Info(missing);
        return !element.IsElementNull();
    }

private:
    ScreenReading& reading_;
    const wchar_t* function_;
};

}  // namespace tandor
