// The reader of device summaries gives what the plain program over a document gives, records or error; and records made
// of any bytes come back from their text.
#include "benchmarks/device/plain_summaries.h"
#include "fuzzers/property.h"
#include "tandor/device_summary.h"

using Serialize = BluetoothDeviceSummarySerialize;

namespace {

std::vector<BluetoothDeviceSummary> RecordsOf(const std::string& bytes) {
    std::vector<BluetoothDeviceSummary> records;
    for (std::size_t begin = 0; begin < bytes.size() && records.size() < 2; begin += 40) {
        const std::string piece = bytes.substr(begin, 40);
        BluetoothDeviceSummary& record = records.emplace_back();
        std::size_t at = 0;
        for (std::string BluetoothDeviceSummary::*const member :
             {&BluetoothDeviceSummary::Summary, &BluetoothDeviceSummary::DevName, &BluetoothDeviceSummary::UserName,
              &BluetoothDeviceSummary::NickName, &BluetoothDeviceSummary::MacAddr, &BluetoothDeviceSummary::ModelName,
              &BluetoothDeviceSummary::PeerUuid}) {
            record.*member = piece.substr(std::min(at, piece.size()), at);
            at += 3;
        }
        const unsigned flags = static_cast<unsigned char>(piece[0]);
        record.IsPaired = (flags & 1) != 0;
        record.IsReverseChannel = (flags & 2) != 0;
        record.IsWifi5GAbility = (flags & 4) != 0;
        record.IsAuthor = (flags & 8) != 0;
        record.IsTrusted = (flags & 16) != 0;
        for (const char c : piece) {
            record.MacAddrInt = record.MacAddrInt << 7 ^ static_cast<unsigned char>(c);
            record.DevType = static_cast<std::int32_t>(record.MacAddrInt);
        }
    }
    return records;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = tandor::fuzz::Text(data, size);
    TANDOR_HOLDS(tandor::test::Outcome(Serialize::FromString, text) ==
                 tandor::test::Outcome(tandor::test::PlainFromString, text));
    const std::string written = Serialize::ToString(RecordsOf(text));
    TANDOR_HOLDS(Serialize::ToString(Serialize::FromString(written)) == written);
    return 0;
}
