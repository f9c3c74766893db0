// Checks a request of logs against the names and types that the protocol publishes for its JSON
// (https://opentelemetry.io/docs/specs/otlp/#json-protobuf-encoding, and the definitions of logs, common and resource).
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <stdexcept>
#include <string>

#include "base/decimal.h"

namespace tandor::test {

class OtlpCheck {
public:
    // The first thing that the protocol does not allow, empty when there is none.
    static std::string FaultIn(const std::string& text) {
        try {
            Object(nlohmann::json::parse(text), {{"resourceLogs", Each(ResourceLogs)}});
            return {};
        } catch (const std::exception& error) {
            return error.what();
        }
    }

private:
    using Json = nlohmann::json;
    using Check = std::function<void(const Json&)>;

    static void Demand(bool holds, const std::string& what, const Json& value) {
        if (!holds)
            throw std::runtime_error(what + ": " +
                                     value.dump(-1, ' ', true, Json::error_handler_t::replace).substr(0, 200));
    }
    static void Object(const Json& value, const std::map<std::string, Check>& members) {
        Demand(value.is_object(), "no object", value);
        for (const auto& [name, member] : value.items()) {
            const auto known = members.find(name);
            Demand(known != members.end(), "no member '" + name + "' is known", value);
            known->second(member);
        }
    }
    static Check Each(void (*check)(const Json&)) {
        return [check](const Json& list) {
            Demand(list.is_array(), "no array", list);
            for (const Json& element : list) check(element);
        };
    }
    static void Text(const Json& value) { Demand(value.is_string(), "no string", value); }
    static void Small(const Json& value) { Demand(value.is_number_unsigned(), "no number", value); }
    static void Severity(const Json& value) {
        Demand(value.is_number_unsigned() && value >= 1 && value <= 24, "no severity", value);
    }
    template <class Number>
    static void Decimal(const Json& value) {
        Demand(value.is_string() && ParseDecimal<Number>(value.template get<std::string>()), "no 64-bit number", value);
    }
    static void Boolean(const Json& value) { Demand(value.is_boolean(), "no boolean", value); }
    static void Number(const Json& value) { Demand(value.is_number(), "no number", value); }

    static void Value(const Json& value) {
        Demand(value.is_object() && value.size() == 1, "not one value", value);
        Object(value, {{"stringValue", Text},
                       {"boolValue", Boolean},
                       {"intValue", Decimal<std::int64_t>},
                       {"doubleValue", Number},
                       {"bytesValue", Text},
                       {"arrayValue",
                        [](const Json& list) {
                            Object(list, {{"values", Each(Value)}});
                        }},
                       {"kvlistValue", [](const Json& list) {
                            Object(list, {{"values", Attributes}});
                        }}});
    }
    static void Attributes(const Json& list) {
        std::set<std::string> keys;
        Each([](const Json& pair) { Object(pair, {{"key", Text}, {"value", Value}}); })(list);
        for (const Json& pair : list) Demand(keys.insert(pair.at("key")).second, "a key twice", pair);
    }
    static void Log(const Json& log) {
        Object(log, {{"timeUnixNano", Decimal<std::uint64_t>},
                     {"observedTimeUnixNano", Decimal<std::uint64_t>},
                     {"severityNumber", Severity},
                     {"severityText", Text},
                     {"body", Value},
                     {"attributes", Attributes},
                     {"droppedAttributesCount", Small},
                     {"flags", Small},
                     {"traceId", Text},
                     {"spanId", Text}});
    }
    static void Scope(const Json& scope) {
        Object(scope,
               {{"name", Text}, {"version", Text}, {"attributes", Attributes}, {"droppedAttributesCount", Small}});
    }
    static void Resource(const Json& resource) {
        Object(resource, {{"attributes", Attributes}, {"droppedAttributesCount", Small}});
    }
    static void ScopeLogs(const Json& logs) {
        Object(logs, {{"scope", Scope}, {"logRecords", Each(Log)}, {"schemaUrl", Text}});
    }
    static void ResourceLogs(const Json& logs) {
        Object(logs, {{"resource", Resource}, {"scopeLogs", Each(ScopeLogs)}, {"schemaUrl", Text}});
    }
};

}  // namespace tandor::test
