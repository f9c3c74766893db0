#include "app/report_call.h"

#include <CLI/CLI.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

#include "base/decimal.h"
#include "base/utf.h"
#include "tandor/data_report.h"
#include "telemetry/report_members.h"

namespace tandor::app {
namespace {

template <class Type>
constexpr std::size_t WordsFor() {
    if constexpr (ReportStructure<Type>) {
        return HasMembers<Type, 4> ? 4 : HasMembers<Type, 5> ? 5 : 6;
    } else {
        return 1;
    }
}

// Turns words into what a function takes, one after the other.
class Reader {
public:
    explicit Reader(const std::vector<std::string>& words) : words_(words) {}

    template <class Type>
    Type Take() {
        if constexpr (ReportStructure<Type>) {
            Type data;
            WithMembers(data, [this](auto&... members) {
                ((members = this->template Take<std::decay_t<decltype(members)>>()), ...);
            });
            return data;
        } else {
            const std::string& word = words_[next_++];
            if constexpr (std::is_same_v<Type, std::string>) {
                return word;
            } else if constexpr (std::is_same_v<Type, std::wstring>) {
                return WideFromUtf8(word);
            } else if constexpr (std::is_same_v<Type, bool>) {
                return Checked<int>(word, "0 or 1", [](int value) { return value == 0 || value == 1; }) == 1;
            } else if constexpr (std::is_enum_v<Type>) {
                return static_cast<Type>(Checked<int>(word, "a 32-bit number"));
            } else if constexpr (std::is_floating_point_v<Type>) {
                return Floating(word);
            } else {
                return Checked<Type>(word, std::is_signed_v<Type> ? "a 32-bit number" : "a number from 0 on");
            }
        }
    }

private:
    template <class Type, class Holds = bool (*)(Type)>
    Type Checked(
        const std::string& word, const char* wanted, Holds holds = [](Type) { return true; }) const {
        const auto number = ParseDecimal<Type>(word);
        if (!number || !holds(*number)) Complain(word, wanted);
        return *number;
    }
    double Floating(const std::string& word) const {
        double value = 0;
        const char* const end = word.data() + word.size();
        const auto [stop, error] = std::from_chars(word.data(), end, value);
        if (error != std::errc{} || stop != end) Complain(word, "a number");
        return value;
    }
    [[noreturn]] void Complain(const std::string& word, const char* wanted) const {
        throw CLI::ValidationError(fmt::format("argument {}", next_), fmt::format("'{}' is not {}", word, wanted));
    }

    const std::vector<std::string>& words_;
    std::size_t next_ = 0;
};

struct Callable {
    std::size_t words;
    void (*call)(Reader& reader);
};

template <class Function>
struct Words;
template <class... Parameters>
struct Words<void(Parameters...)> {
    static constexpr std::size_t kCount = (std::size_t{0} + ... + WordsFor<std::decay_t<Parameters>>());
};

template <class... Parameters>
void Call(void (*function)(Parameters...), Reader& reader) {
    std::tuple<std::decay_t<Parameters>...> values{reader.Take<std::decay_t<Parameters>>()...};  // from left to right
    std::apply(function, values);
}

constexpr ReportFunction kFailureReports[] = {
    {"DecordFailDataReport", TANDOR_REPORT_130_MULTI_WIN_FAULT_DATA_ID, "(std::string reason)", false},
    {"ReportRenderFailDataReport", TANDOR_REPORT_130_MULTI_WIN_FAULT_DATA_ID, "(const std::string& text)", false},
};

constexpr auto kFunctions = [] {
    std::array<ReportFunction, std::size(kReportFunctions) + std::size(kFailureReports)> all{};
    std::ranges::copy(kFailureReports, std::ranges::copy(kReportFunctions, all.begin()).out);
    return all;
}();

// In the order of kFunctions.
constexpr Callable kCallables[] = {
#define TANDOR_CALLABLE(number, type, function, parameters, sent) \
    {Words<decltype(TandorDataReportClass::function)>::kCount,    \
     [](Reader& reader) { Call(&TandorDataReportClass::function, reader); }},
    TANDOR_REPORT_TYPES(TANDOR_CALLABLE)
#undef TANDOR_CALLABLE
#define TANDOR_CALLABLE(event, function, parameters, sent, keys) \
    {Words<decltype(TandorDataReportClass::function)>::kCount,   \
     [](Reader& reader) { Call(&TandorDataReportClass::function, reader); }},
        TANDOR_KEYED_REPORTS(TANDOR_CALLABLE)
#undef TANDOR_CALLABLE
            {1, [](Reader& reader) { Call(&TandorDataReportClass::DecordFailDataReport, reader); }},
    {1, [](Reader& reader) { Call(&TandorDataReportClass::ReportRenderFailDataReport, reader); }},
};
static_assert(std::size(kCallables) == kFunctions.size());

const Callable& CallableOf(const ReportFunction& function) { return kCallables[&function - kFunctions.data()]; }

}  // namespace

std::span<const ReportFunction> ReportFunctions() { return kFunctions; }

const ReportFunction* FindReport(std::string_view name) {
    const auto found = std::ranges::find(kFunctions, name, &ReportFunction::name);
    return found == kFunctions.end() ? nullptr : &*found;
}

std::string ArgumentsOf(const ReportFunction& function) {
    std::string text(function.parameters.substr(1, function.parameters.size() - 2));
    for (const std::string_view noise : {"const ", "std::w", "std::", "&", "MyPhoneDataReportCode::"}) {
        for (std::size_t at = 0; (at = text.find(noise, at)) != text.npos;) text.erase(at, noise.size());
    }
    constexpr std::string_view kStructures = "HandoffReportData::";
    if (!text.starts_with(kStructures)) return text;
    text.erase(0, kStructures.size());
    const std::size_t words = CallableOf(function).words;
    return words == 1 ? text : fmt::format("the {} members of {}", words, text.substr(0, text.find(' ')));
}

void CallReport(const ReportFunction& function, const std::vector<std::string>& arguments) {
    const Callable& callable = CallableOf(function);
    if (arguments.size() != callable.words) {
        throw CLI::ValidationError(
            std::string(function.name),
            fmt::format("it takes {} arguments ({}), not {}", callable.words, ArgumentsOf(function), arguments.size()));
    }
    Reader reader(arguments);
    callable.call(reader);
}

}  // namespace tandor::app
