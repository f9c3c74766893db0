#include <fmt/format.h>

#include "app/commands.h"
#include "app/panel_report.h"
#include "base/utf.h"
#include "device/gamut_diagram.h"
#include "device/hex_dump.h"
#include "tandor/edid.h"

namespace tandor::app {
namespace {

struct Options {
    // Whether a block's source is named is asked of the option itself: an empty text, as a script's empty variable
    // gives it, must not lead to another panel.
    const CLI::Option* by_file = nullptr;
    const CLI::Option* by_hex = nullptr;
    const CLI::Option* by_device = nullptr;
    std::string file;
    std::string hex;
    std::string device;
    std::string svg;
};

constexpr const char* kForms = "give the block as it is, or as hexadecimal text";
constexpr const char* kDevicePath =
    "take the device instance path that the device manager shows, as DISPLAY\\VXT0042\\4&2f5c1e7&0&UID265988";

std::vector<unsigned char> FromHex(const std::string& thing, std::string_view text) {
    HexDump dump = ReadHexDump(text);
    if (dump.fault == nullptr) return std::move(dump.bytes);
    throw CommandError(thing, fmt::format("line {}, column {}: {}", dump.line, dump.column, dump.fault), kForms);
}

// A file may hold the block itself, or its hexadecimal text as other tools print it. A block begins with a zero byte,
// and text has none near its beginning but in UTF-16, which has a mark.
std::vector<unsigned char> FromFile(const std::string& file) {
    if (file.empty()) throw CommandError("--file", "it names no file", kForms);
    const std::string content = ReadInput(file);
    if (content.empty() || content.find('\0') < 2) return {content.begin(), content.end()};
    return FromHex(file, content);
}

std::vector<unsigned char> FromMachine(std::wstring device) {
    if (device.empty()) device = GetEdidData::GetPnpDeviceID();
    if (device.empty()) {
        throw CommandError("the panel", "the management service names no monitor of the maker's own make",
                           "attach one, name a monitor with --registry, or give --file or --hex");
    }
    std::vector<unsigned char> edid = GetEdidData::GetLcdEdidData(GetEdidData::GetEdidDataPath(device));
    if (edid.empty()) {
        throw CommandError(Utf8FromWideLossy(device), "the registry has no EDID for this device", kDevicePath);
    }
    return edid;
}

void Show(const Context& context, const Options& options) {
    const bool file = options.by_file->count() != 0, hex = options.by_hex->count() != 0;
    if (options.by_device->count() != 0 && options.device.empty())
        throw CommandError("--registry", "it names no device", kDevicePath);
    const std::string thing = file ? options.file : hex ? "--hex" : "the panel";
    const std::vector<unsigned char> edid = file  ? FromFile(options.file)
                                            : hex ? FromHex(thing, options.hex)
                                                  : FromMachine(WideFromUtf8(options.device));
    const auto block = ReadEdid(edid);
    if (!block) {
        throw CommandError(thing, fmt::format("{} bytes are no EDID block, which has {}", edid.size(), kEdidBlock),
                           kForms);
    }
    if (!ReadCoordinates(edid)) throw CommandError(thing, "it does not begin with 00 FF FF as an EDID does", kForms);
    if (!options.svg.empty()) WriteOutput(options.svg, GamutDiagram(PanelTitle(*block), block->gamut));
    context.json ? PrintJson(PanelDocument(*block)) : PrintTable(PanelRows(*block));
}

}  // namespace

void AddPanelCommand(CLI::App& app, Context& context) {
    CLI::App* const panel = app.add_subcommand("panel", "A panel's EDID and its colours");
    panel->require_subcommand(1);
    panel->footer("Example:\n  tandorctl panel show --file samples/wide-panel.edid --svg panel.svg");
    CLI::App* const show = panel->add_subcommand("show", "Read a panel's EDID and judge its colours");
    const auto options = std::make_shared<Options>();
    CLI::Option* const file =
        show->add_option("--file", options->file, "A block in a file, binary or hexadecimal text (- is standard input)")
            ->type_name("FILE");
    CLI::Option* const hex =
        show->add_option("--hex", options->hex, "A block as hexadecimal text")->type_name("TEXT")->excludes(file);
    options->by_device =
        show->add_option(
                "--registry", options->device,
                "The EDID that the registry has for this device instance path; this machine's panel when left out")
            ->type_name("ID")
            ->excludes(file)
            ->excludes(hex);
    options->by_file = file;
    options->by_hex = hex;
    show->add_option("--svg", options->svg,
                     "Also write a picture: the CIE 1931 xy diagram with the panel over the references")
        ->type_name("FILE");
    show->footer(
        "Hexadecimal text may have offsets, a column of characters, blanks, commas and 0x, or be a registry export.\n"
        "A panel supports a gamut when it covers more than 0.9 of it; one of P3, Adobe RGB and BT.2020 makes it "
        "wide-gamut.\n"
        "Example:\n  tandorctl panel show --file samples/wide-panel.edid --svg panel.svg");
    show->callback([options, &context] { Show(context, *options); });
}

}  // namespace tandor::app
