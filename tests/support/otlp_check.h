// Checks a request of logs against the names and types that the protocol publishes for its JSON
// (https://opentelemetry.io/docs/specs/otlp/#json-protobuf-encoding, and the definitions of logs, common and resource).
#pragma once

#include <nlohmann/json.hpp>

#include <set>
#include <string>

#include "base/decimal.h"

namespace tandor::test {

class OtlpCheck {
public:
    // The first thing that the protocol does not allow, empty when there is none. What it allows and nobody sends here
    // counts as a fault too.
    static std::string FaultIn(const std::string& text) {
        static const Json form = Json::parse(R"({"resourceLogs": [{
            "resource": {"attributes": "attributes"},
            "scopeLogs": [{
                "scope": {"name": "text", "version": "text", "attributes": "attributes"},
                "logRecords": [{"timeUnixNano": "uint64", "observedTimeUnixNano": "uint64",
                                "severityNumber": "severity", "severityText": "text",
                                "body": "value", "attributes": "attributes"}]}]}]})");
        const Json request = Json::parse(text, nullptr, false);
        return request.is_discarded() ? "no JSON" : Fault(request, form);
    }

private:
    using Json = nlohmann::json;

    static std::string Fault(const Json& value, const Json& form) {
        static const Json one_value =
            Json::parse(R"({"stringValue": "text", "intValue": "int64", "arrayValue": {"values": ["value"]}})");
        static const Json attributes = Json::parse(R"([{"key": "text", "value": "value"}])");
        if (form == "value") return value.size() == 1 ? Fault(value, one_value) : "not one value: " + value.dump();
        if (form == "attributes") {
            const std::string fault = Fault(value, attributes);
            return fault.empty() && HasKeyTwice(value) ? "a key twice: " + value.dump() : fault;
        }
        if (form.is_string()) return Fits(value, form) ? "" : "not " + form.dump() + ": " + value.dump();
        if (value.type() != form.type()) return "not like " + form.dump() + ": " + value.dump();
        for (const auto& [name, member] : value.items()) {
            if (form.is_object() && !form.contains(name)) return "no member " + name + " is known";
            const std::string fault = Fault(member, form.is_array() ? form[0] : form[name]);
            if (!fault.empty()) return fault;
        }
        return {};
    }
    static bool Fits(const Json& value, const Json& kind) {
        if (kind == "severity") return value.is_number_unsigned() && value >= 1 && value <= 24;
        if (!value.is_string()) return false;
        const std::string text = value;
        return kind == "int64"    ? ParseDecimal<std::int64_t>(text).has_value()
               : kind == "uint64" ? ParseDecimal<std::uint64_t>(text).has_value()
                                  : kind == "text";
    }
    static bool HasKeyTwice(const Json& list) {
        std::set<Json> keys;
        for (const Json& pair : list) keys.insert(pair["key"]);
        return keys.size() != list.size();
    }
};

}  // namespace tandor::test
