// The members of a device record by name, and values as the store's text.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "tandor/device_summary.h"

namespace pelora {

// Text from a value: "1" or "0", decimal, UTF-8. Throws std::range_error for wide text that is not valid.
std::string StoredText(bool value);
std::string StoredText(std::int32_t value);
std::string StoredText(unsigned long long value);
std::string StoredText(const std::string& value);
std::string StoredText(const std::wstring& value);
std::string StoredText(std::uint8_t value);

// The value of a stored text; false when it has none of that type, `value` is then as it was.
bool ReadStored(std::string_view text, bool& value);
bool ReadStored(std::string_view text, std::int32_t& value);
bool ReadStored(std::string_view text, unsigned long long& value);
bool ReadStored(std::string_view text, std::string& value);
bool ReadStored(std::string_view text, std::wstring& value);
bool ReadStored(std::string_view text, std::uint8_t& value);

struct RecordMember {
    std::string_view name;
    std::variant<bool BluetoothDeviceSummary::*, std::int32_t BluetoothDeviceSummary::*,
                 unsigned long long BluetoothDeviceSummary::*, std::string BluetoothDeviceSummary::*,
                 std::wstring BluetoothDeviceSummary::*, std::uint8_t BluetoothDeviceSummary::*>
        place;

    [[nodiscard]] std::string Text(const BluetoothDeviceSummary& record) const;
    // False when `text` is no value of the member's type.
    bool Assign(BluetoothDeviceSummary& record, std::string_view text) const;
    // `text` as the member's own type writes it ("true" becomes "1"); nothing when it is no value of that type.
    [[nodiscard]] std::optional<std::string> Normalized(std::string_view text) const;
};

// All members that are stored, that is, without DeviceId, which is the record's name in the store.
std::span<const RecordMember> RecordMembers();
const RecordMember* FindRecordMember(std::string_view name);

}  // namespace pelora
