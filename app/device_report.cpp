#include "app/device_report.h"

#include <fmt/format.h>
#include <windows.h>

#include <setupapi.h>

#include <algorithm>
#include <iterator>

#include "base/utf.h"
#include "base/win_error.h"

namespace tandor::app {
namespace {

using Vxa::Exp::DeviceNode;

struct Problem {
    unsigned long code;
    const char* meaning;
};
constexpr Problem kProblems[] = {
    {1, "it is not configured"},        {10, "it cannot start"},
    {14, "the PC must be restarted"},   {18, "its driver must be installed again"},
    {28, "no driver is installed"},     {31, "its driver cannot be loaded"},
    {37, "its driver failed to start"}, {39, "its driver is damaged or missing"},
    {43, "it reported a failure"},      {52, "its driver is not signed"},
};

struct Explanation {
    DWORD error;
    const char* cause;  // null: the system's own text
    const char* remedy;
};
// The system has no text for the Setup API's own codes.
constexpr Explanation kExplanations[] = {
    {ERROR_ACCESS_DENIED, nullptr, "run as administrator"},
    {ERROR_FILE_NOT_FOUND, nullptr, "check the path; a folder is not an INF file"},
    {ERROR_PATH_NOT_FOUND, nullptr, "check the path"},
    {ERROR_INVALID_NAME, nullptr, "check the path"},
    {ERROR_FILENAME_EXCED_RANGE, nullptr, "use a shorter path, of at most 259 characters"},
    {ERROR_BAD_PATHNAME, nullptr, "use a shorter path, of at most 259 characters"},
    {ERROR_INVALID_FUNCTION, "the system's device-installation library cannot be used", "--follow shows what it lacks"},
    {ERROR_TIMEOUT, "the system's pnputil.exe still runs after five minutes", "look for it in the task manager"},
    {ERROR_NO_SUCH_DEVINST, "no present device has this hardware identifier", "'tandorctl console list' shows them"},
    {ERROR_NO_CATALOG_FOR_OEM_INF, "the driver package is not signed", "use a signed package"},
    {ERROR_WRONG_INF_STYLE, "the file is not a driver's INF", "check the file"},
    {ERROR_INVALID_CLASS, "the INF's device class is not valid", "check the file"},
    {ERROR_SECTION_NOT_FOUND, "the INF has no such section", "check the file"},
    {ERROR_LINE_NOT_FOUND, "the INF lacks a line", "check the file"},
    {ERROR_GENERAL_SYNTAX, "the INF's text is not well formed", "check the file"},
    {ERROR_NOT_DISABLEABLE, "the device cannot be disabled", ""},
};

}  // namespace

std::string StateText(const DeviceNode& node) {
    switch (node.state) {
        case DeviceNode::State::kUnknown:
            return "unknown";
        case DeviceNode::State::kStarted:
            return "started";
        case DeviceNode::State::kStopped:
            return "stopped";
        case DeviceNode::State::kDisabled:
            return "disabled";
        case DeviceNode::State::kProblem:
            break;
    }
    const auto* const found = std::ranges::find(kProblems, node.problem, &Problem::code);
    return fmt::format("problem {}{}{}", node.problem, found == std::end(kProblems) ? "" : ": ",
                       found == std::end(kProblems) ? "" : found->meaning);
}

Json JsonOf(const std::vector<DeviceNode>& nodes) {
    Json list = Json::array();
    for (const DeviceNode& node : nodes) {
        Json identifiers = Json::array();
        for (const std::wstring& one : node.hardware_ids) identifiers.push_back(Utf8FromWideLossy(one));
        list.push_back({{"instance", Utf8FromWideLossy(node.instance)},
                        {"class", Utf8FromWideLossy(node.class_name)},
                        {"description", Utf8FromWideLossy(node.description)},
                        {"state", StateText(node)},
                        {"hardware_ids", identifiers}});
    }
    return list;
}

void ShowDevices(const std::vector<DeviceNode>& nodes) {
    std::vector<std::vector<std::string>> rows{{"INSTANCE", "STATE", "CLASS", "HARDWARE ID", "DESCRIPTION"}};
    for (const DeviceNode& node : nodes) {
        const std::string first = node.hardware_ids.empty() ? "" : Utf8FromWideLossy(node.hardware_ids.front());
        const std::string more =
            node.hardware_ids.size() > 1 ? fmt::format(" (+{})", node.hardware_ids.size() - 1) : "";
        rows.push_back({Utf8FromWideLossy(node.instance), StateText(node), Utf8FromWideLossy(node.class_name),
                        first + more, Utf8FromWideLossy(node.description)});
    }
    PrintTable(rows);
}

CommandError DeviceError(const std::string& thing, unsigned long error, const char* remedy) {
    const auto* const found = std::ranges::find(kExplanations, error, &Explanation::error);
    const bool known = found != std::end(kExplanations);
    if (known && found->cause != nullptr) return {thing, found->cause, found->remedy};
    const std::string cause =
        error >= 0xE0000000 ? fmt::format("Setup API error 0x{:08X}", error) : WindowsErrorText(error);
    return {thing, cause, known ? found->remedy : remedy};
}

}  // namespace tandor::app
