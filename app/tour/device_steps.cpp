#include <fmt/format.h>
#include <windows.h>

#include <algorithm>

#include "app/command.h"
#include "app/device_collection.h"
#include "app/tour.h"
#include "app/tour/second_process.h"
#include "base/utf.h"
#include "pelora/device_manager.h"
#include "tandor/paired_device_config.h"

namespace tandor::app {
namespace {

BluetoothDeviceSummary Phone() {
    BluetoothDeviceSummary phone;
    phone.DevType = 1;
    phone.Summary = "a phone that the tour made up";
    phone.DevName = TourPhone();
    phone.UserName = "Lena";
    phone.MacAddr = "02:00:5E:10:00:01";
    phone.MacAddrInt = 0x02005E100001;
    phone.IsPaired = true;
    phone.ModelName = "TOUR-1";
    phone.PeerUuid = "6f1c9a52-7c1e-4d0a-9b7e-000000000001";
    return phone;
}

// What another process reads of the phone.
Json SeenByASecondProcess(const std::filesystem::path& output) {
    const SecondProcess reader(L"--json device show \"" + WideFromUtf8(TourPhone()) + L"\"", output);
    Expect(reader.EndsWell(), "the second process's look");
    Json seen = Json::parse(ReadInput(TextOf(output)));
    std::filesystem::remove(output);
    return seen;
}

}  // namespace

const std::string& TourPhone() {
    static const std::string name = fmt::format("Lena's 手机 (tour {})", ::GetCurrentProcessId());
    return name;
}

std::size_t TakeBackPhone() {
    const DeviceCollection present(false);
    if (!present.Contains(TourPhone())) return 0;
    present.Delete(TourPhone(), true);
    return 1;
}

void TourRemember(TourReport& report) {
    const DeviceCollection present(false);
    Expect(TandorConfig::SetPairDeviceParam(TourPhone(), Phone()), "remembering the device");
    TandorConfig::SetPairedIsAuthorized(TourPhone(), true);
    TandorConfig::SetDevicePairedTimeCycle(TourPhone(), true, 1767225600, 2592000);
    present.SetText(TourPhone(), "peerDeviceVersion", "10.0.0.100");
    bool trusted = false;
    unsigned long long time = 0, cycle = 0;
    Expect(TandorConfig::GetDevicePairedTimeCycle(TourPhone(), trusted, time, cycle) && trusted && time == 1767225600,
           "the time of pairing");
    report.Result("remembered", TourPhone());
    report.Result("trusted since", fmt::format("{} for {} s", time, cycle), time);
    const auto records = present.Records();
    report.Result("present devices", std::to_string(records.size()), records.size());
    const auto listed = [](const BluetoothDeviceSummary& record) { return record.DeviceId == TourPhone(); };
    Expect(std::any_of(records.begin(), records.end(), listed), "the list of present devices");
    const Json seen = SeenByASecondProcess(report.Folder() / L"zweiter Prozess 手机.json");
    const std::string name = seen.at("record").at("DevName"), paired = seen.at("attributes").at("DevicePairedTime");
    Expect(name == TourPhone() && paired == std::to_string(time), "what a second process reads");
    report.Result("a second process reads", fmt::format("{}, paired at {}", name, paired));
}

void TourExport(TourReport& report) {
    using Serialize = BluetoothDeviceSummarySerialize;
    const std::vector<BluetoothDeviceSummary> exported{DeviceCollection(false).Record(TourPhone())};
    const std::string text = Serialize::ToString(exported);
    const std::filesystem::path file = report.Folder() / L"devices 手机.json";
    WriteOutput(TextOf(file), text);
    const auto read = Serialize::FromString(ReadInput(TextOf(file)));
    Expect(read.size() == 1 && read[0].DevName == TourPhone() && Serialize::ToString(read) == text,
           "what was read back");
    report.Result("file", TextOf(file));
    report.Result("JSON", text.substr(0, 60) + fmt::format("... ({} bytes)", text.size()), text);
    report.Result("short form", Serialize::ToSimpleString(exported, {1767225600}));
    report.Result("read back", read[0].DevName + ", " + read[0].ModelName);
}

}  // namespace tandor::app
