// Device summaries to JSON, without a document in between: keys and their order are known, every text is hexadecimal
// and so needs no escapes, and the size can be told before the first byte is written.
#include <charconv>
#include <cstring>

#include "base/hex.h"
#include "tandor/device_summary.h"

namespace {

// Two sinks take the same calls: one tells the size, the other writes.
class Measure {
public:
    template <std::size_t kSize>
    void Literal(const char (&)[kSize]) {
        size_ += kSize - 1;
    }
    void Hex(const std::string& bytes) { size_ += 2 * bytes.size(); }
    void Bool(bool value) { size_ += value ? 4 : 5; }
    template <class Number>
    void Decimal(Number value) {
        char digits[24];
        size_ += static_cast<std::size_t>(std::to_chars(digits, digits + sizeof(digits), value).ptr - digits);
    }
    [[nodiscard]] std::size_t Size() const { return size_; }

private:
    std::size_t size_ = 0;
};

class Write {
public:
    explicit Write(std::string& text) : out_(text.data()), end_(text.data() + text.size()) {}
    template <std::size_t kSize>
    void Literal(const char (&text)[kSize]) {
        std::memcpy(out_, text, kSize - 1);
        out_ += kSize - 1;
    }
    void Hex(const std::string& bytes) {
        tandor::WriteHex(bytes.data(), bytes.size(), tandor::HexCase::kUpper, out_);
        out_ += 2 * bytes.size();
    }
    void Bool(bool value) { value ? Literal("true") : Literal("false"); }
    template <class Number>
    void Decimal(Number value) {
        out_ = std::to_chars(out_, end_, value).ptr;
    }

private:
    char* out_;
    char* end_;
};

template <class Sink>
void PutFull(Sink& sink, const BluetoothDeviceSummary& device) {
    sink.Literal("{\"DevName\":\"");
    sink.Hex(device.DevName);
    sink.Literal("\",\"DevType\":");
    sink.Decimal(device.DevType);
    sink.Literal(",\"IsAuthor\":");
    sink.Bool(device.IsAuthor);
    sink.Literal(",\"IsPaired\":");
    sink.Bool(device.IsPaired);
    sink.Literal(",\"IsReverseChannel\":");
    sink.Bool(device.IsReverseChannel);
    sink.Literal(",\"IsTrusted\":");
    sink.Bool(device.IsTrusted);
    sink.Literal(",\"IsWifi5GAbility\":");
    sink.Bool(device.IsWifi5GAbility);
    sink.Literal(",\"MacAddr\":\"");
    sink.Hex(device.MacAddr);
    sink.Literal("\",\"MacAddrInt\":");
    sink.Decimal(device.MacAddrInt);
    sink.Literal(",\"ModelName\":\"");
    sink.Hex(device.ModelName);
    sink.Literal("\",\"NickName\":\"");
    sink.Hex(device.NickName);
    sink.Literal("\",\"PeerUuid\":\"");
    sink.Hex(device.PeerUuid);
    sink.Literal("\",\"ShareType\":");
    sink.Decimal(device.ShareType);
    sink.Literal(",\"Summary\":\"");
    sink.Hex(device.Summary);
    sink.Literal("\",\"UserName\":\"");
    sink.Hex(device.UserName);
    sink.Literal("\"}");
}

template <class Sink>
void PutSimple(Sink& sink, const BluetoothDeviceSummary& device, unsigned long long paired_time) {
    sink.Literal("{\"DevName\":\"");
    sink.Hex(device.DevName);
    sink.Literal("\",\"DevType\":");
    sink.Decimal(device.DevType);
    sink.Literal(",\"IsPaired\":");
    sink.Bool(device.IsPaired);
    sink.Literal(",\"IsTrusted\":");
    sink.Bool(device.IsTrusted);
    sink.Literal(",\"PairedTime\":");
    sink.Decimal(paired_time);
    sink.Literal(",\"Summary\":\"");
    sink.Hex(device.Summary);
    sink.Literal("\"}");
}

// put(sink, i) puts element i.
template <class Put>
std::string ArrayText(std::size_t count, Put put) {
    const auto put_array = [&](auto& sink) {
        sink.Literal("[");
        for (std::size_t i = 0; i < count; ++i) {
            if (i > 0) sink.Literal(",");
            put(sink, i);
        }
        sink.Literal("]");
    };
    Measure measure;
    put_array(measure);
    std::string text(measure.Size(), '\0');
    Write write(text);
    put_array(write);
    return text;
}

}  // namespace

std::string BluetoothDeviceSummarySerialize::ToString(const std::vector<BluetoothDeviceSummary>& devices) {
    return ArrayText(devices.size(), [&](auto& sink, std::size_t i) { PutFull(sink, devices[i]); });
}

std::string BluetoothDeviceSummarySerialize::ToSimpleString(const std::vector<BluetoothDeviceSummary>& devices,
                                                            std::vector<unsigned long long> pairedTimes) {
    pairedTimes.resize(devices.size());
    return ArrayText(devices.size(), [&](auto& sink, std::size_t i) { PutSimple(sink, devices[i], pairedTimes[i]); });
}
