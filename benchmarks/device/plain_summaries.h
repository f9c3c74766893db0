// Device summaries as the straightforward program over a JSON document writes and reads them: what the library's own
// forms must equal to the byte, and what they are measured against.
#pragma once

#include <nlohmann/json.hpp>

#include <cctype>
#include <limits>
#include <string>
#include <typeinfo>
#include <vector>

#include "tandor/device_summary.h"

namespace tandor::test {

inline std::string PlainHex(const std::string& bytes) {
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

inline std::string PlainBytes(const std::string& hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        const auto digit = [&](std::size_t at) { return std::isxdigit(static_cast<unsigned char>(hex[at])) != 0; };
        if (!digit(i) || !digit(i + 1)) return {};
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

inline std::string PlainToString(const std::vector<BluetoothDeviceSummary>& devices) {
    nlohmann::json array = nlohmann::json::array();
    for (const auto& device : devices) {
        nlohmann::json object;
        object["DevType"] = device.DevType;
        object["Summary"] = PlainHex(device.Summary);
        object["DevName"] = PlainHex(device.DevName);
        object["UserName"] = PlainHex(device.UserName);
        object["NickName"] = PlainHex(device.NickName);
        object["MacAddr"] = PlainHex(device.MacAddr);
        object["MacAddrInt"] = device.MacAddrInt;
        object["IsReverseChannel"] = device.IsReverseChannel;
        object["IsPaired"] = device.IsPaired;
        object["ShareType"] = device.ShareType;
        object["IsWifi5GAbility"] = device.IsWifi5GAbility;
        object["IsAuthor"] = device.IsAuthor;
        object["ModelName"] = PlainHex(device.ModelName);
        object["PeerUuid"] = PlainHex(device.PeerUuid);
        object["IsTrusted"] = device.IsTrusted;
        array.push_back(object);
    }
    return array.dump();
}

// A number with a fraction beyond the range is undefined in the plain program; the library's answer stands in for it.
template <class Number>
Number PlainNumber(const nlohmann::json& value) {
    if (value.is_number_float()) {
        const auto number = value.get<long double>();
        if (number <= static_cast<long double>(std::numeric_limits<Number>::min())) {
            return std::numeric_limits<Number>::min();
        }
        if (number >= static_cast<long double>(std::numeric_limits<Number>::max())) {
            return std::numeric_limits<Number>::max();
        }
    }
    return value.get<Number>();
}

inline std::vector<BluetoothDeviceSummary> PlainFromString(const std::string& text) {
    const nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
    if (document.is_discarded()) return {};
    std::vector<BluetoothDeviceSummary> devices;
    for (const auto& element : document) {
        BluetoothDeviceSummary device;
        device.DevType = PlainNumber<int>(element.at("DevType"));
        device.Summary = PlainBytes(element.at("Summary").get<std::string>());
        device.DevName = PlainBytes(element.at("DevName").get<std::string>());
        device.UserName = PlainBytes(element.at("UserName").get<std::string>());
        device.NickName = PlainBytes(element.at("NickName").get<std::string>());
        device.MacAddr = PlainBytes(element.at("MacAddr").get<std::string>());
        device.MacAddrInt = PlainNumber<nlohmann::json::number_unsigned_t>(element.at("MacAddrInt"));
        device.IsReverseChannel = element.at("IsReverseChannel").get<bool>();
        device.IsPaired = element.at("IsPaired").get<bool>();
        device.IsWifi5GAbility = element.at("IsWifi5GAbility").get<bool>();
        device.IsAuthor = element.at("IsAuthor").get<bool>();
        device.ModelName = PlainBytes(element.at("ModelName").get<std::string>());
        device.PeerUuid = PlainBytes(element.at("PeerUuid").get<std::string>());
        device.IsTrusted = element.at("IsTrusted").get<bool>();
        devices.push_back(device);
    }
    return devices;
}

// What reading gave: the records written again, or the JSON library's error with its type, number and text. Comparable
// as a whole. Another error is none that reading may give: it goes on.
template <class Read>
std::string Outcome(Read read, const std::string& text) {
    try {
        return PlainToString(read(text));
    } catch (const nlohmann::json::exception& error) {
        return std::string(typeid(error).name()) + " " + std::to_string(error.id) + " " + error.what();
    }
}

}  // namespace tandor::test
