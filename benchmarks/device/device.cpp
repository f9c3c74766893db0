// Device summaries beside the straightforward program over a JSON document.
#include <stdexcept>

#include "benchmarks/device/plain_summaries.h"
#include "benchmarks/ratio.h"
#include "tandor/device_summary.h"

namespace tandor::bench {
namespace {

using Devices = std::vector<BluetoothDeviceSummary>;
using Serialize = BluetoothDeviceSummarySerialize;

Devices Sample(std::size_t count) {
    Devices devices(count);
    for (std::size_t i = 0; i < count; ++i) {
        BluetoothDeviceSummary& device = devices[i];
        const std::string number = std::to_string(i);
        device.DevType = static_cast<int>(i % 5);
        device.Summary = "summary of the device " + number;
        device.DevName = "\xE6\x89\x8B\xE6\x9C\xBA " + number;
        device.UserName = "user " + number;
        device.NickName = "nickname " + number;
        device.MacAddr = "0A:1B:2C:3D:4E:5F";
        device.MacAddrInt = 0x0A1B2C3D4E5F + i;
        device.IsPaired = i % 2 == 0;
        device.ModelName = "MODEL-AL" + number;
        device.PeerUuid = "6f1c9a52-7c1e-4d0a-9b7e-0123456789ab";
        device.IsTrusted = i % 3 == 0;
    }
    return devices;
}

void CheckEqual(const Devices& devices) {
    const std::string text = Serialize::ToString(devices);
    if (text != test::PlainToString(devices) ||
        test::PlainToString(Serialize::FromString(text)) != test::PlainToString(test::PlainFromString(text))) {
        throw std::logic_error("device summaries: the outputs differ");
    }
}

void AddHexadecimal() {
    for (const auto& [size, name] : {std::pair{std::size_t{64}, "64 B"}, {std::size_t{1024 * 1024}, "1 MB"}}) {
        std::string bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 + i / 256);
        const std::string text = test::PlainHex(bytes);
        if (Serialize::HexStringToBytes(text) != bytes || test::PlainBytes(text) != bytes)
            throw std::logic_error("hexadecimal text: the outputs differ");
        Compare(std::string("HexStringToBytes, ") + name, "isxdigit, substr and stoi for each byte", AtLeastAsFast(10),
                Repeat([text] { return Serialize::HexStringToBytes(text); }),
                Repeat([text] { return test::PlainBytes(text); }));
    }
}

}  // namespace

void AddDevice() {
    for (const std::size_t count : {std::size_t{1}, std::size_t{100}, std::size_t{10'000}}) {
        const Devices devices = Sample(count);
        CheckEqual(devices);
        const std::string text = Serialize::ToString(devices);
        const std::string what = std::to_string(count) + (count == 1 ? " device summary" : " device summaries");
        Compare(what + " to JSON", "nlohmann document, member by member, dump", AtLeastAsFast(10),
                Repeat([devices] { return Serialize::ToString(devices); }),
                Repeat([devices] { return test::PlainToString(devices); }));
        Compare(what + " from JSON", "nlohmann document, at and get, stoi", AtLeastAsFast(2.4),
                Repeat([text] { return Serialize::FromString(text); }),
                Repeat([text] { return test::PlainFromString(text); }));
    }
    AddHexadecimal();
    AddDeviceStore();
}

}  // namespace tandor::bench
