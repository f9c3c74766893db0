#include "app/device_import.h"

#include <algorithm>
#include <map>
#include <set>

#include "app/command.h"
#include "base/hex.h"

namespace tandor::app {
namespace {

constexpr const char* kTextKeys[] = {"Summary", "DevName", "UserName", "NickName", "MacAddr", "ModelName", "PeerUuid"};
constexpr const char* kNumberKeys[] = {"DevType", "MacAddrInt"};
constexpr const char* kFlagKeys[] = {"IsReverseChannel", "IsPaired", "IsWifi5GAbility", "IsAuthor", "IsTrusted"};
constexpr const char* kForm = "a list in the full form is wanted, as 'tandorctl device export' writes it";

Json Parsed(const std::string& file, const std::string& text) {
    try {
        return Json::parse(text);
    } catch (const Json::parse_error& error) {
        throw CommandError(file, "it is not JSON, byte " + std::to_string(error.byte), kForm);
    }
}

bool IsHex(const std::string& text) {
    return text.size() % 2 == 0 &&
           std::all_of(text.begin(), text.end(), [](char digit) { return HexValue(digit) >= 0; });
}

// One element; `where` names it.
class Element {
public:
    Element(std::string where, const Json& object) : where_(std::move(where)), object_(object) {
        if (!object.is_object()) throw CommandError(where_, "it is no object", kForm);
    }
    void Check() const {
        for (const char* const key : kTextKeys) {
            const Json& value = At(key);
            if (!value.is_string()) Refuse(key, "it must be text");
            if (!IsHex(value.get<std::string>())) Refuse(key, "its text is not hexadecimal, two digits a byte");
        }
        for (const char* const key : kFlagKeys) {
            if (!At(key).is_boolean()) Refuse(key, "it must be true or false");
        }
        for (const char* const key : kNumberKeys) {
            if (!At(key).is_number_integer()) Refuse(key, "it must be a whole number");
        }
        CheckRanges();
    }
    [[noreturn]] void Refuse(const char* key, const std::string& cause) const {
        throw CommandError(where_ + ", key " + key, cause, kForm);
    }

private:
    [[nodiscard]] const Json& At(const char* key) const {
        const auto found = object_.find(key);
        if (found == object_.end()) Refuse(key, "it is missing");
        return *found;
    }
    void CheckRanges() const {
        const Json& type = At("DevType");
        const bool negative = type.get<std::int64_t>() < 0 && !type.is_number_unsigned();
        if (negative ? type.get<std::int64_t>() < std::numeric_limits<std::int32_t>::min()
                     : type.get<std::uint64_t>() > std::numeric_limits<std::int32_t>::max()) {
            Refuse("DevType", "it must fit in 32 bits");
        }
        if (!At("MacAddrInt").is_number_unsigned()) Refuse("MacAddrInt", "it must not be negative");
    }

    std::string where_;
    const Json& object_;
};

// Takes over what a summary tells; returns the names of the members that it changed.
std::vector<std::string> TakeOver(const BluetoothDeviceSummary& from, BluetoothDeviceSummary& to) {
    using Record = BluetoothDeviceSummary;
    std::vector<std::string> changed;
    const auto take = [&](const char* name, auto member) {
        if (to.*member == from.*member) return;
        to.*member = from.*member;
        changed.emplace_back(name);
    };
    take("DevType", &Record::DevType);
    take("Summary", &Record::Summary);
    take("DevName", &Record::DevName);
    take("UserName", &Record::UserName);
    take("NickName", &Record::NickName);
    take("MacAddr", &Record::MacAddr);
    take("MacAddrInt", &Record::MacAddrInt);
    take("IsReverseChannel", &Record::IsReverseChannel);
    take("IsPaired", &Record::IsPaired);
    take("IsWifi5GAbility", &Record::IsWifi5GAbility);
    take("IsAuthor", &Record::IsAuthor);
    take("ModelName", &Record::ModelName);
    take("PeerUuid", &Record::PeerUuid);
    take("IsTrusted", &Record::IsTrusted);
    return changed;
}

}  // namespace

std::vector<BluetoothDeviceSummary> RecordsToImport(const std::string& file, const std::string& text) {
    const Json document = Parsed(file, text);
    if (!document.is_array()) throw CommandError(file, "it is no list", kForm);
    const auto where = [&](std::size_t i) { return file + ", element " + std::to_string(i + 1); };
    for (std::size_t i = 0; i < document.size(); ++i) Element(where(i), document[i]).Check();

    auto records = BluetoothDeviceSummarySerialize::FromString(text);
    std::set<std::string> names;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const Element element(where(i), document[i]);
        records[i].DeviceId = records[i].DevName;
        if (records[i].DeviceId.empty()) element.Refuse("DevName", "it is empty");
        if (!names.insert(records[i].DeviceId).second) element.Refuse("DevName", "an element before has the same");
    }
    return records;
}

std::vector<DeviceChange> ChangesByImport(const std::vector<BluetoothDeviceSummary>& imported,
                                          const std::vector<BluetoothDeviceSummary>& stored) {
    std::map<std::string_view, const BluetoothDeviceSummary*> known;
    for (const BluetoothDeviceSummary& record : stored) known.emplace(record.DeviceId, &record);
    std::vector<DeviceChange> changes;
    for (const BluetoothDeviceSummary& record : imported) {
        const auto found = known.find(record.DeviceId);
        DeviceChange& change = changes.emplace_back();
        change.is_new = found == known.end();
        if (!change.is_new) change.record = *found->second;
        change.record.DeviceId = record.DeviceId;
        change.members = TakeOver(record, change.record);
    }
    return changes;
}

}  // namespace tandor::app
