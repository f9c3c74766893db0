#include <fmt/format.h>

#include "app/commands.h"
#include "foundation/version.h"
#include "tandor/text.h"

namespace tandor::app {
namespace {

constexpr const char* kOrders[] = {"not comparable", "equal", "lower", "higher"};

void Compare(const Context& context, const std::string& left, const std::string& right) {
    const char* const order = kOrders[static_cast<int>(CompareVersions(left, right))];
    if (context.json) return PrintJson({{"left", left}, {"right", right}, {"left_is", order}});
    PrintLine(order);
}

void Pack(const Context& context, const std::string& version) {
    const unsigned packed = TandorUtilClass::CalcVersion(version);
    const std::string digits = fmt::format("0x{:08X}", packed);
    if (context.json) return PrintJson({{"version", version}, {"packed", packed}, {"hexadecimal", digits}});
    PrintLine(digits);
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

}  // namespace

void AddVersionCommands(CLI::App& app, Context& context) {
    CLI::App* const version = app.add_subcommand("version", "Compare and pack dotted versions");
    version->require_subcommand(1);
    version->footer("Example:\n  tandorctl version compare 10.0.10 10.0.9\n  tandorctl version pack 10.0.0.100");

    struct Options {
        std::string left, right;
    };
    const auto options = std::make_shared<Options>();
    CLI::App* const compare =
        version->add_subcommand("compare", "Say whether LEFT is lower, equal, higher or not comparable");
    compare->add_option("LEFT", options->left, "A dotted version")->required();
    compare->add_option("RIGHT", options->right, "Another one")->required();
    compare->footer("Example:\n  tandorctl version compare 10.0.10 10.0.9");
    compare->callback([options, &context] { Compare(context, options->left, options->right); });

    CLI::App* const pack = version->add_subcommand("pack", "One byte per component, as the library compares them");
    pack->add_option("VERSION", options->left, "A dotted version")->required();
    pack->footer("Example:\n  tandorctl version pack 10.0.0.100");
    pack->callback([options, &context] { Pack(context, options->left); });

    CLI::App* const device = version->add_subcommand("device", "The version of a present device");
    device->add_option("NAME", options->left, "The device's name in the store")->required();
    device->footer("Example:\n  tandorctl version device \"Lena's phone\"");
    device->callback([options, &context] { OfDevice(context, options->left); });
}

}  // namespace tandor::app
