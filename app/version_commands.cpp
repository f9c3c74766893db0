#include <fmt/format.h>

#include <sstream>

#include "app/commands.h"
#include "foundation/version.h"
#include "tandor/text.h"

namespace tandor::app {
namespace {

constexpr const char* kOrders[] = {"not comparable", "equal", "lower", "higher"};

using Pairs = std::vector<std::pair<std::string, std::string>>;

// Two versions a line, with blanks or tabs between them.
Pairs PairsOf(const FileInput& input) {
    Pairs pairs;
    for (const std::string& line : input.Lines()) {
        std::istringstream words(line);
        std::string left, right, more;
        if (!(words >> left >> right) || words >> more)
            throw CommandError("'" + line + "'", "it is not two versions",
                               "write two a line, with a blank between them");
        pairs.emplace_back(left, right);
    }
    return pairs;
}

void Compare(const Context& context, const Pairs& pairs) {
    Json document = Json::array();
    for (const auto& [left, right] : pairs) {
        const char* const order = kOrders[static_cast<int>(CompareVersions(left, right))];
        document.push_back({{"left", left}, {"right", right}, {"left_is", order}});
        if (!context.json) PrintLine(order);
    }
    if (context.json) PrintJson({{"comparisons", document}});
}

void Pack(const Context& context, const std::vector<std::string>& versions) {
    Json document = Json::array();
    for (const std::string& version : versions) {
        const unsigned packed = TandorUtilClass::CalcVersion(version);
        const std::string digits = fmt::format("0x{:08X}", packed);
        document.push_back({{"version", version}, {"packed", packed}, {"hexadecimal", digits}});
        if (!context.json) PrintLine(digits);
    }
    if (context.json) PrintJson({{"versions", document}});
}

void OfDevice(Context& context, const std::string& device) {
    const unsigned packed = TandorUtilClass::GetPeerDeviceVersion(device);
    const bool modern = TandorUtilClass::IsDeviceVersionMoreThanKOSM10(device);
    if (packed == 0) {
        throw CommandError("device '" + device + "'", "its version is not known",
                           "tandorctl device list shows the present devices");
    }
    const std::string digits = fmt::format("0x{:08X}", packed);
    if (context.json)
        return PrintJson(
            {{"device", device}, {"packed", packed}, {"hexadecimal", digits}, {"at_least_10_0_0_100", modern}});
    PrintLine(fmt::format("{} ({} 10.0.0.100)", digits, modern ? "at least" : "before"));
}

struct Options {
    std::string left, right;
};

void AddCompare(CLI::App& version, Context& context) {
    const auto options = std::make_shared<Options>();
    CLI::App* const compare =
        version.add_subcommand("compare", "Say whether LEFT is lower, equal, higher or not comparable");
    CLI::Option* const left = compare->add_option("LEFT", options->left, "A dotted version");
    CLI::Option* const right = compare->add_option("RIGHT", options->right, "Another one");
    const auto input = std::make_shared<FileInput>(
        *compare, std::vector{left, right}, "Compare the two versions in each line of this file; - is standard input");
    compare->footer("Example:\n  tandorctl version compare 10.0.10 10.0.9");
    compare->callback([options, input, &context] {
        Compare(context, input->IsGiven() ? PairsOf(*input) : Pairs{{options->left, options->right}});
    });
}

void AddPack(CLI::App& version, Context& context) {
    const auto options = std::make_shared<Options>();
    CLI::App* const pack = version.add_subcommand("pack", "One byte per component, as the library compares them");
    CLI::Option* const argument = pack->add_option("VERSION", options->left, "A dotted version");
    const auto input = std::make_shared<FileInput>(*pack, std::vector{argument},
                                                   "Pack the version in each line of this file; - is standard input");
    pack->footer("Example:\n  tandorctl version pack 10.0.0.100");
    pack->callback(
        [options, input, &context] { Pack(context, input->IsGiven() ? input->Lines() : std::vector{options->left}); });
}

}  // namespace

void AddVersionCommands(CLI::App& app, Context& context) {
    CLI::App* const version = app.add_subcommand("version", "Compare and pack dotted versions");
    version->require_subcommand(1);
    version->footer("Example:\n  tandorctl version compare 10.0.10 10.0.9\n  tandorctl version pack 10.0.0.100");
    AddCompare(*version, context);
    AddPack(*version, context);

    const auto name = std::make_shared<std::string>();
    CLI::App* const device = version->add_subcommand("device", "The version of a present device");
    device->add_option("NAME", *name, "The device's name in the store")->required();
    device->footer("Example:\n  tandorctl version device \"Lena's phone\"");
    device->callback([name, &context] { OfDevice(context, *name); });
}

}  // namespace tandor::app
