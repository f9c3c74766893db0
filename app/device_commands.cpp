#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "app/commands.h"
#include "app/device_collection.h"
#include "app/device_import.h"
#include "base/decimal.h"
#include "base/hex.h"
#include "base/utf.h"
#include "tandor/paired_device_config.h"

namespace tandor::app {
namespace {

// What is shown of a device: the members of its record, then the attributes that the feature keeps.
constexpr const char* kMembers[] = {
    "DevType",         "Summary",         "DevName",           "UserName",     "NickName",
    "MacAddr",         "MacAddrInt",      "IsPaired",          "ShareType",    "IsReverseChannel",
    "IsWifi5GAbility", "IsAuthor",        "ModelName",         "PeerUuid",     "AuthorState",
    "IsTrusted",       "TrustType",       "DevSubType",        "AccountInfo",  "AuthDigest",
    "LastSeenTime",    "IpAddr",          "ReconnectPolicy",   "ShieldState",  "OriginalName",
    "PairedTime",      "PairedTimeCycle", "IsSupportCoreLane", "IsSha256Auth", "ExtInfo"};
constexpr const char* kAttributes[] = {"ApkVersionNotMatch",
                                       "isConnected",
                                       "devName",
                                       "IsPhoneMirrorSupported",
                                       "IsFileSystemSupported",
                                       "PairedIsAuthorized",
                                       "IsConnected",
                                       "PairedDeviceIsTrusted",
                                       "DevicePairedTime",
                                       "DevicePairedTimeCycle",
                                       "PairedDeviceIsReconnect",
                                       "pairedDeviceReconnectPermit",
                                       "PairedDeviceBussUseState",
                                       "MultiDeviceSyncSwitch",
                                       "OpenAlbumTimespan",
                                       "OpenMusicAlbumTimespan",
                                       "OpenVideoTimespan",
                                       "FirstAlbumOpenTime",
                                       "LastAlbumOpenTime",
                                       "peerDeviceVersion"};

struct Options {
    bool bound = false;
    bool add = false;
    bool even_trusted = false;
    bool simple = false;
    bool dry_run = false;
    std::string device, attribute, value, file;
};

DeviceCollection In(const Options& options) { return DeviceCollection(options.bound); }

// Bytes that are no printable UTF-8 are shown as hexadecimal text.
std::string Shown(const std::string& bytes) {
    const bool control =
        std::any_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; });
    try {
        WideFromUtf8(bytes);
        if (!control) return bytes;
    } catch (const std::range_error&) {  // shown the other way
    }
    return "hex:" + HexFromBytes(bytes, HexCase::kUpper);
}

Json AsJson(const BluetoothDeviceSummary& record) {
    return {{"name", Shown(record.DeviceId)},     {"DevType", record.DevType},
            {"DevName", Shown(record.DevName)},   {"ModelName", Shown(record.ModelName)},
            {"MacAddr", Shown(record.MacAddr)},   {"IsPaired", record.IsPaired},
            {"IsTrusted", record.IsTrusted},      {"IsAuthor", record.IsAuthor},
            {"PeerUuid", Shown(record.PeerUuid)}, {"UserName", Shown(record.UserName)}};
}

void List(const Context& context, const Options& options) {
    const auto records = In(options).Records();
    Json document = Json::array();
    std::vector<std::vector<std::string>> rows{{"NAME", "TYPE", "MODEL", "MAC", "PAIRED", "TRUSTED", "AUTHORISED"}};
    const auto yes = [](bool value) { return value ? "yes" : "no"; };
    for (const auto& record : records) {
        document.push_back(AsJson(record));
        rows.push_back({Shown(record.DeviceId), std::to_string(record.DevType), Shown(record.ModelName),
                        Shown(record.MacAddr), yes(record.IsPaired), yes(record.IsTrusted), yes(record.IsAuthor)});
    }
    if (context.json) return PrintJson({{"devices", document}});
    if (records.empty()) return PrintLine(fmt::format("there are no {} devices", In(options).Kind()));
    PrintTable(rows);
}

void Show(const Context& context, const Options& options) {
    const DeviceCollection devices = In(options);
    Json record = Json::object();
    Json attributes = Json::object();
    for (const char* const name : kMembers) record[name] = Shown(devices.Text(options.device, name));
    for (const char* const name : kAttributes) {
        std::string text;
        if (devices.FindText(options.device, name, text)) attributes[name] = Shown(text);
    }
    if (context.json) return PrintJson({{"name", options.device}, {"record", record}, {"attributes", attributes}});
    std::vector<std::vector<std::string>> rows{{"NAME", "VALUE"}};
    for (const Json& part : {record, attributes}) {
        for (const auto& [name, value] : part.items()) rows.push_back({name, value.get<std::string>()});
    }
    PrintTable(rows);
}

void Set(const Options& options) {
    const DeviceCollection devices = In(options);
    if (std::ranges::find(kMembers, options.attribute) == std::end(kMembers)) {
        throw CommandError(options.attribute, "a device's record has no such member",
                           "tandorctl device show lists those that it has; tandorctl device attr set writes others");
    }
    if (options.add && !devices.Contains(options.device)) {
        BluetoothDeviceSummary record;
        record.DevName = options.device;
        devices.SetRecord(options.device, record);
    }
    devices.SetText(options.device, options.attribute, options.value);
}

void GetAttribute(const Context& context, const Options& options) {
    const std::string value = In(options).Text(options.device, options.attribute);
    if (context.json) {
        return PrintJson({{"device", options.device}, {"attribute", options.attribute}, {"value", Shown(value)}});
    }
    PrintLine(Shown(value));
}

// A bound record that is there keeps what a summary does not tell, such as its times and its account.
void Bind(const Options& options) {
    const BluetoothDeviceSummary present = DeviceCollection(false).Record(options.device);
    const bool bound = DeviceCollection(true).Contains(options.device)
                           ? TandorConfig::SetKoPlayDevice(options.device, present)
                           : TandorConfig::BackupCurrentDataToKoplayDevice(options.device);
    if (!bound) throw CommandError("bound device '" + options.device + "'", "it was not stored", "--follow shows why");
}

void Export(const Context& context, const Options& options) {
    const auto records = In(options).Records();
    std::string text;
    if (options.simple) {
        std::vector<unsigned long long> times;
        for (const auto& record : records) {
            std::string stored;  // a present device's time is an attribute, a bound one's a member
            if (!In(options).FindText(record.DeviceId, options.bound ? "PairedTime" : "DevicePairedTime", stored)) {
                stored = "0";
            }
            times.push_back(ParseDecimal<unsigned long long>(stored).value_or(0));
        }
        text = BluetoothDeviceSummarySerialize::ToSimpleString(records, times);
    } else {
        text = BluetoothDeviceSummarySerialize::ToString(records);
    }
    if (options.file.empty() || options.file == "-") return PrintLine(text);
    WriteOutput(options.file, text);
    if (context.json) return PrintJson({{"written", records.size()}, {"file", options.file}});
    PrintLine(fmt::format("{} {} devices written to {}", records.size(), In(options).Kind(), options.file));
}

void ShowChanges(const Context& context, const std::vector<DeviceChange>& changes) {
    Json document = Json::array();
    for (const DeviceChange& change : changes) {
        const std::string device = Shown(change.record.DeviceId);
        const char* const kind = change.is_new ? "new" : change.members.empty() ? "unchanged" : "changed";
        document.push_back({{"device", device}, {"change", kind}, {"members", change.members}});
        if (context.json) continue;
        const bool details = !change.is_new && !change.members.empty();
        PrintLine(fmt::format("{}: {}{}{}", device, kind, details ? " in " : "",
                              details ? fmt::format("{}", fmt::join(change.members, ", ")) : ""));
    }
    if (context.json) PrintJson({{"changes", document}});
}

void Import(const Context& context, const Options& options) {
    const auto records = RecordsToImport(options.file, ReadInput(options.file));
    const DeviceCollection devices = In(options);
    const auto changes = ChangesByImport(records, devices.Records());
    if (options.dry_run) return ShowChanges(context, changes);
    Progress progress("storing " + options.file);
    std::size_t stored = 0;
    for (std::size_t i = 0; i < changes.size(); ++i) {
        if (changes[i].Changes()) {
            devices.SetRecord(changes[i].record.DeviceId, changes[i].record);
            ++stored;
        }
        progress.Show(i + 1, changes.size());
    }
    const std::size_t unchanged = changes.size() - stored;
    if (context.json) return PrintJson({{"stored", stored}, {"unchanged", unchanged}});
    PrintLine(fmt::format("{} {} devices stored, {} were so already", stored, devices.Kind(), unchanged));
}

using SharedOptions = std::shared_ptr<Options>;

// A verb about one device.
CLI::App* AddVerb(CLI::App& parent, const char* verb, const char* what, const char* example,
                  const SharedOptions& options) {
    CLI::App* const added = parent.add_subcommand(verb, what);
    added->add_option("NAME", options->device, "The device's name in the store")->required();
    added->footer(std::string("Example:\n  tandorctl device ") + example);
    return added;
}

void AddRecordVerbs(CLI::App& device, Context& context, const SharedOptions& options) {
    CLI::App* const list = device.add_subcommand("list", "The devices with their most important members");
    list->footer("Example:\n  tandorctl device list --bound");
    list->callback([options, &context] { List(context, *options); });

    CLI::App* const show = AddVerb(device, "show", "One device: its record, and the attributes that the feature keeps",
                                   "show \"Lena's phone\" --json", options);
    show->callback([options, &context] { Show(context, *options); });

    CLI::App* const set =
        AddVerb(device, "set", "Write a member of the record", "set --new \"Lena's phone\" IsTrusted 1", options);
    set->add_option("MEMBER", options->attribute, "The member's name, exact case")->required();
    set->add_option("VALUE", options->value, "Text; numbers are decimal, flags 1 or 0")->required();
    set->add_flag("--new", options->add, "Remember the device first if it is not there");
    set->callback([options] { Set(*options); });

    CLI::App* const forget =
        AddVerb(device, "forget", "Delete a device and its attributes", "forget \"Lena's phone\"", options);
    forget->add_flag("--even-trusted", options->even_trusted, "Also a bound device that is trusted");
    forget->callback([options] { In(*options).Delete(options->device, options->even_trusted); });

    CLI::App* const bind = AddVerb(device, "bind", "Make a present device a bound one, or refresh the bound one",
                                   "bind \"Lena's phone\"", options);
    bind->callback([options] { Bind(*options); });
}

void AddAttributeVerbs(CLI::App& device, Context& context, const SharedOptions& options) {
    CLI::App* const attribute = device.add_subcommand("attr", "One attribute, or member of the record, of a device");
    attribute->require_subcommand(1);
    attribute->footer("Example:\n  tandorctl device attr get \"Lena's phone\" peerDeviceVersion");
    CLI::App* const get = AddVerb(*attribute, "get", "Read it", "attr get \"Lena's phone\" IsTrusted", options);
    CLI::App* const set =
        AddVerb(*attribute, "set", "Write it", "attr set \"Lena's phone\" peerDeviceVersion 10.0.0.100", options);
    for (CLI::App* const verb : {get, set}) {
        verb->add_option("ATTRIBUTE", options->attribute, "The attribute's name, exact case")->required();
    }
    set->add_option("VALUE", options->value, "Text; numbers are decimal, flags 1 or 0")->required();
    get->callback([options, &context] { GetAttribute(context, *options); });
    set->callback([options] { In(*options).SetText(options->device, options->attribute, options->value); });
}

void AddFileVerbs(CLI::App& device, Context& context, const SharedOptions& options) {
    CLI::App* const exporting = device.add_subcommand("export", "All devices as JSON text");
    exporting->add_flag("--simple", options->simple, "The short form: type, summary, name, flags and time of pairing");
    exporting->add_option("-o,--output", options->file, "A file instead of standard output")->type_name("FILE");
    exporting->footer("Example:\n  tandorctl device export --output devices.json");
    exporting->callback([options, &context] { Export(context, *options); });

    CLI::App* const importing = device.add_subcommand("import", "Remember the devices of a JSON file in the full form");
    importing->add_option("FILE", options->file, "The file, or - for standard input")->required();
    importing->add_flag("--dry-run", options->dry_run, "Say what would change, change nothing");
    importing->footer(
        "Each device is kept under its DevName. Of one that is there, what the file does not tell stays: its share "
        "type, its times, its attributes and so on.\n"
        "A file with anything that cannot be used is refused as a whole. The devices are stored one by one: where the "
        "store fails, those before it are stored, and importing again does the rest.\n"
        "Example:\n  tandorctl device import devices.json --dry-run");
    importing->callback([options, &context] { Import(context, *options); });
}

}  // namespace

void AddDeviceCommands(CLI::App& app, Context& context) {
    CLI::App* const device =
        app.add_subcommand("device", "The remembered devices: present ones, or with --bound, bound ones");
    device->require_subcommand(1);
    device->footer(
        "Example:\n  tandorctl device set --new \"Lena's phone\" IsTrusted 1\n  tandorctl device export --output "
        "devices.json\n"
        "  tandorctl device import devices.json --bound");
    const auto options = std::make_shared<Options>();
    device->add_flag("--bound", options->bound, "The bound (paired) devices instead of the present ones");
    AddRecordVerbs(*device, context, options);
    AddAttributeVerbs(*device, context, options);
    AddFileVerbs(*device, context, options);
}

}  // namespace tandor::app
