#include "device/summary_reader.h"

#include <algorithm>
#include <limits>
#include <variant>

#include "base/hex.h"

namespace tandor {
namespace {

using Record = BluetoothDeviceSummary;
using Json = nlohmann::json;

struct Field {
    std::string_view key;
    std::variant<std::int32_t Record::*, unsigned long long Record::*, bool Record::*, std::string Record::*> member;
};

// In the order in which their faults count.
constexpr Field kTable[] = {
    {"DevType", &Record::DevType},       {"Summary", &Record::Summary},
    {"DevName", &Record::DevName},       {"UserName", &Record::UserName},
    {"NickName", &Record::NickName},     {"MacAddr", &Record::MacAddr},
    {"MacAddrInt", &Record::MacAddrInt}, {"IsReverseChannel", &Record::IsReverseChannel},
    {"IsPaired", &Record::IsPaired},     {"IsWifi5GAbility", &Record::IsWifi5GAbility},
    {"IsAuthor", &Record::IsAuthor},     {"ModelName", &Record::ModelName},
    {"PeerUuid", &Record::PeerUuid},     {"IsTrusted", &Record::IsTrusted},
};

template <class T>
T Record::*MemberAt(int field) {
    const auto* const member = std::get_if<T Record::*>(&kTable[field].member);
    return member == nullptr ? nullptr : *member;
}

// Whole numbers keep their low bits. For numbers with a fraction the language defines nothing beyond the range.
template <class To, class From>
To Narrowed(From value) {
    if constexpr (std::is_same_v<From, double>) {
        // 2^31 and 2^64, one past the largest values, are the bounds that a double represents exactly.
        constexpr double kEnd = 2 * static_cast<double>(To{1} << (std::numeric_limits<To>::digits - 1));
        if (!(value > static_cast<double>(std::numeric_limits<To>::min()))) return std::numeric_limits<To>::min();
        if (value >= kEnd) return std::numeric_limits<To>::max();
    }
    return static_cast<To>(value);
}

void DecodeHex(std::string_view hex, std::string& bytes) {
    bytes.resize(hex.size() / 2);
    if (ReadHex(hex, reinterpret_cast<unsigned char*>(bytes.data())) != bytes.size()) bytes.clear();
}

bool Suits(const Field& field, Json::value_t found) {
    using Type = Json::value_t;
    const bool number = found == Type::number_integer || found == Type::number_unsigned || found == Type::number_float;
    if (std::holds_alternative<std::int32_t Record::*>(field.member)) return number || found == Type::boolean;
    if (std::holds_alternative<unsigned long long Record::*>(field.member)) return number;
    return found == (std::holds_alternative<bool Record::*>(field.member) ? Type::boolean : Type::string);
}

}  // namespace

bool SummaryReader::null() { return Value(Type::null); }

bool SummaryReader::boolean(bool value) {
    if (AtField()) {
        if (const auto member = MemberAt<bool>(field_)) Current().*member = value;
        if (const auto member = MemberAt<std::int32_t>(field_)) Current().*member = value ? 1 : 0;
    }
    return Value(Type::boolean);
}

template <class Number>
bool SummaryReader::NumberValue(Type type, Number value) {
    if (AtField()) {
        if (const auto member = MemberAt<std::int32_t>(field_)) Current().*member = Narrowed<std::int32_t>(value);
        if (const auto member = MemberAt<unsigned long long>(field_)) {
            Current().*member = Narrowed<unsigned long long>(value);
        }
    }
    return Value(type);
}

bool SummaryReader::number_integer(std::int64_t value) { return NumberValue(Type::number_integer, value); }
bool SummaryReader::number_unsigned(std::uint64_t value) { return NumberValue(Type::number_unsigned, value); }
bool SummaryReader::number_float(double value, const std::string&) { return NumberValue(Type::number_float, value); }

bool SummaryReader::string(std::string& value) {
    if (AtField()) {
        if (const auto member = MemberAt<std::string>(field_)) DecodeHex(value, Current().*member);
    }
    return Value(Type::string);
}

bool SummaryReader::binary(Json::binary_t&) { return Value(Type::binary); }

// A value that is complete, or the head of a container.
bool SummaryReader::Value(Type type) {
    if (InRecord()) {
        if (field_ != kNone) found_[field_] = type;
    } else if (depth_ == 1 || (depth_ == 0 && type != Type::null)) {  // a single value is its own one element
        BeginElement();
        EndElement(Fault{kNone, type});
    }
    return true;
}

bool SummaryReader::start_object(std::size_t) {
    if (depth_ == 0) {
        keyed_ = true;
    } else if (depth_ == 1) {
        BeginElement();
        in_object_ = true;
    } else {
        Value(Type::object);
    }
    ++depth_;
    return true;
}

bool SummaryReader::key(std::string& name) {
    if (InRecord()) {
        const auto* const field =
            std::find_if(std::begin(kTable), std::end(kTable), [&](const Field& known) { return known.key == name; });
        field_ = field == std::end(kTable) ? kNone : static_cast<int>(field - kTable);
    } else if (depth_ == 1) {
        key_ = name;
    }
    return true;
}

bool SummaryReader::end_object() {
    if (InRecord()) {
        EndElement(FindFault());
        in_object_ = false;
    }
    --depth_;
    return true;
}

bool SummaryReader::start_array(std::size_t) {
    if (depth_ > 0) Value(Type::array);
    ++depth_;
    return true;
}

bool SummaryReader::end_array() {
    --depth_;
    return true;
}

bool SummaryReader::parse_error(std::size_t, const std::string&, const Json::exception&) { return false; }

void SummaryReader::BeginElement() {
    // After a fault, and with keys, the records are not gathered here: one serves for all.
    if (records_.empty() || !(fault_ || keyed_)) {
        records_.emplace_back();
    } else {
        Current() = {};
    }
    std::fill(std::begin(found_), std::end(found_), Type::discarded);
}

void SummaryReader::EndElement(std::optional<Fault> fault) {
    if (!keyed_) {
        if (!fault_) fault_ = fault;
    } else if (fault) {
        by_key_.insert_or_assign(key_, *fault);
    } else {
        by_key_.insert_or_assign(key_, std::make_unique<Record>(std::move(Current())));
    }
}

std::optional<SummaryReader::Fault> SummaryReader::FindFault() const {
    static_assert(std::size(kTable) == kFields);
    for (int i = 0; i < kFields; ++i) {
        if (!Suits(kTable[i], found_[i])) return Fault{i, found_[i]};
    }
    return std::nullopt;
}

// The library's own operation on a value of the same type fails with the library's own exception.
void SummaryReader::Raise(const Fault& fault) {
    if (fault.field == kNone) {
        const Json value(fault.found);
        value.at(std::string(kTable[0].key));
    } else if (fault.found == Type::discarded) {
        const Json value(Type::object);
        value.at(std::string(kTable[fault.field].key));
    } else if (MemberAt<std::string>(fault.field) != nullptr) {
        Json(fault.found).get<std::string>();
    } else if (MemberAt<bool>(fault.field) != nullptr) {
        Json(fault.found).get<bool>();
    } else {
        Json(fault.found).get<Json::number_unsigned_t>();
    }
}

std::vector<BluetoothDeviceSummary> SummaryReader::Finish() {
    if (keyed_) return InOrderOfKeys();
    if (fault_) Raise(*fault_);
    if (records_.capacity() > 2 * records_.size()) records_.shrink_to_fit();  // not every object was a device
    return std::move(records_);
}

std::vector<BluetoothDeviceSummary> SummaryReader::InOrderOfKeys() {
    std::vector<BluetoothDeviceSummary> records;
    records.reserve(by_key_.size());
    for (const auto& [key, outcome] : by_key_) {
        if (const auto* const fault = std::get_if<Fault>(&outcome)) Raise(*fault);
        records.push_back(std::move(*std::get<1>(outcome)));
    }
    return records;
}

}  // namespace tandor

std::vector<BluetoothDeviceSummary> BluetoothDeviceSummarySerialize::FromString(const std::string& text) {
    // What one record takes at least, so that text of many empty objects cannot ask for much memory.
    constexpr std::size_t kShortestRecord = 200;
    const auto objects = static_cast<std::size_t>(std::count(text.begin(), text.end(), '{'));
    tandor::SummaryReader reader(std::min(objects, text.size() / kShortestRecord + 1));
    if (!nlohmann::json::sax_parse(text.data(), text.data() + text.size(), &reader)) return {};
    return reader.Finish();
}

std::string BluetoothDeviceSummarySerialize::HexStringToBytes(const std::string& hex) {
    std::string bytes;
    tandor::DecodeHex(hex, bytes);
    return bytes;
}
