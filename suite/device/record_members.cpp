#include "suite/device/record_members.h"

#include <algorithm>
#include <stdexcept>

#include "base/decimal.h"
#include "base/utf.h"

namespace pelora {
namespace {

using Record = BluetoothDeviceSummary;

constexpr RecordMember kMembers[] = {
    {"DevType", &Record::DevType},
    {"Summary", &Record::Summary},
    {"DevName", &Record::DevName},
    {"UserName", &Record::UserName},
    {"NickName", &Record::NickName},
    {"MacAddr", &Record::MacAddr},
    {"MacAddrInt", &Record::MacAddrInt},
    {"IsPaired", &Record::IsPaired},
    {"ShareType", &Record::ShareType},
    {"IsReverseChannel", &Record::IsReverseChannel},
    {"IsWifi5GAbility", &Record::IsWifi5GAbility},
    {"IsAuthor", &Record::IsAuthor},
    {"ModelName", &Record::ModelName},
    {"PeerUuid", &Record::PeerUuid},
    {"AuthorState", &Record::AuthorState},
    {"IsTrusted", &Record::IsTrusted},
    {"TrustType", &Record::TrustType},
    {"DevSubType", &Record::DevSubType},
    {"AccountInfo", &Record::AccountInfo},
    {"AuthDigest", &Record::AuthDigest},
    {"LastSeenTime", &Record::LastSeenTime},
    {"IpAddr", &Record::IpAddr},
    {"ReconnectPolicy", &Record::ReconnectPolicy},
    {"ShieldState", &Record::ShieldState},
    {"OriginalName", &Record::OriginalName},
    {"PairedTime", &Record::PairedTime},
    {"PairedTimeCycle", &Record::PairedTimeCycle},
    {"IsSupportCoreLane", &Record::IsSupportCoreLane},
    {"IsSha256Auth", &Record::IsSha256Auth},
    {"ExtInfo", &Record::ExtInfo},
};

template <class Number>
bool ReadNumber(std::string_view text, Number& value) {
    const auto parsed = tandor::ParseDecimal<Number>(text);
    if (parsed) value = *parsed;
    return parsed.has_value();
}

}  // namespace

std::string StoredText(bool value) { return value ? "1" : "0"; }
std::string StoredText(std::int32_t value) { return std::to_string(value); }
std::string StoredText(unsigned long long value) { return std::to_string(value); }
std::string StoredText(const std::string& value) { return value; }
std::string StoredText(const std::wstring& value) { return tandor::Utf8FromWide(value); }
std::string StoredText(std::uint8_t value) { return std::to_string(value); }

bool ReadStored(std::string_view text, bool& value) {
    if (text == "true" || text == "false") {
        value = text == "true";
        return true;
    }
    long long number = 0;
    unsigned long long large = 0;
    if (!ReadNumber(text, number) && !ReadNumber(text, large)) return false;
    value = number != 0 || large != 0;
    return true;
}
bool ReadStored(std::string_view text, std::int32_t& value) { return ReadNumber(text, value); }
bool ReadStored(std::string_view text, unsigned long long& value) { return ReadNumber(text, value); }
bool ReadStored(std::string_view text, std::string& value) {
    value = text;
    return true;
}
bool ReadStored(std::string_view text, std::wstring& value) try {
    value = tandor::WideFromUtf8(text);
    return true;
} catch (const std::range_error&) {
    return false;
}
bool ReadStored(std::string_view text, std::uint8_t& value) { return ReadNumber(text, value); }

std::string RecordMember::Text(const BluetoothDeviceSummary& record) const {
    return std::visit([&](auto member) { return StoredText(record.*member); }, place);
}

bool RecordMember::Assign(BluetoothDeviceSummary& record, std::string_view text) const {
    return std::visit([&](auto member) { return ReadStored(text, record.*member); }, place);
}

std::optional<std::string> RecordMember::Normalized(std::string_view text) const {
    Record record;
    if (!Assign(record, text)) return std::nullopt;
    return Text(record);
}

std::span<const RecordMember> RecordMembers() { return kMembers; }

const RecordMember* FindRecordMember(std::string_view name) {
    const auto* const found =
        std::find_if(std::begin(kMembers), std::end(kMembers), [&](const auto& member) { return member.name == name; });
    return found == std::end(kMembers) ? nullptr : found;
}

}  // namespace pelora
