#include <fmt/format.h>

#include <span>

#include "app/commands.h"
#include "app/panel_report.h"
#include "base/hex.h"
#include "base/utf.h"
#include "device/gamut_diagram.h"
#include "tandor/edid.h"

namespace tandor::app {
namespace {

struct Options {
    std::string file;
    std::string device;
    std::string svg;
};

// A file may hold the block itself, or its hexadecimal text as other tools print it.
std::vector<unsigned char> FromFile(const std::string& file) {
    std::string content = ReadInput(file);
    std::vector<unsigned char> edid(content.begin(), content.end());
    std::erase_if(content, [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
    std::vector<unsigned char> decoded(content.size() / 2);
    if (!content.empty() && content.size() % 2 == 0 && ReadHex(content, decoded.data()) == decoded.size())
        return decoded;
    return edid;
}

std::vector<unsigned char> FromMachine(std::wstring device) {
    if (device.empty()) device = GetEdidData::GetPnpDeviceID();
    if (device.empty()) {
        throw CommandError("the panel", "the management service names no monitor of the maker's own make",
                           "attach one, name a monitor with --device, or give a file");
    }
    std::vector<unsigned char> edid = GetEdidData::GetLcdEdidData(GetEdidData::GetEdidDataPath(device));
    if (edid.empty()) {
        throw CommandError(
            Utf8FromWideLossy(device), "the registry has no EDID for this device",
            "take the device instance path that the device manager shows, as DISPLAY\\VXT0042\\4&2f5c1e7&0&UID265988");
    }
    return edid;
}

void Panel(const Context& context, const Options& options) {
    const std::vector<unsigned char> edid =
        options.file.empty() ? FromMachine(WideFromUtf8(options.device)) : FromFile(options.file);
    const auto block = ReadEdid(edid);
    if (!block) {
        throw CommandError(options.file.empty() ? "the panel" : options.file,
                           fmt::format("{} bytes are no EDID block, which has {}", edid.size(), kEdidBlock),
                           "give the block as it is or as hexadecimal text");
    }
    if (!ReadCoordinates(edid)) {
        throw CommandError(options.file.empty() ? "the panel" : options.file,
                           "it does not begin with 00 FF FF as an EDID does",
                           "give the block as it is or as hexadecimal text");
    }
    if (!options.svg.empty()) WriteOutput(options.svg, GamutDiagram(PanelTitle(*block), block->gamut));
    context.json ? PrintJson(PanelDocument(*block)) : PrintTable(PanelRows(*block));
}

}  // namespace

void AddPanelCommand(CLI::App& app, Context& context) {
    CLI::App* const panel = app.add_subcommand("panel", "Read a panel's EDID and judge its colours");
    const auto options = std::make_shared<Options>();
    CLI::Option* const file = panel->add_option(
        "FILE", options->file,
        "An EDID block, binary or hexadecimal (- is standard input); this machine's panel when left out");
    panel->add_option("--device", options->device, "The monitor with this device instance path")->excludes(file);
    panel
        ->add_option("--svg", options->svg,
                     "Also write a picture: the CIE 1931 xy diagram with the panel over the references")
        ->type_name("FILE");
    panel->footer(
        "A panel supports a gamut when it covers more than 0.9 of it; one of P3, Adobe RGB and BT.2020 makes it "
        "wide-gamut.\n"
        "Example:\n  tandorctl panel samples/wide-panel.edid --svg panel.svg");
    panel->callback([options, &context] { Panel(context, *options); });
}

}  // namespace tandor::app
