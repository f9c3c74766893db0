// Device summaries from the events of a JSON parser, without a document in between.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tandor/device_summary.h"

namespace tandor {

// Takes the events of nlohmann::json::sax_parse. What a document model would give is given: of keys that stand twice
// the last counts, the elements of an object count in the order of their keys, and a fault counts only in text that is
// JSON to its end.
class SummaryReader {
public:
    // `expected`: room is made for so many records at once.
    explicit SummaryReader(std::size_t expected) { records_.reserve(expected); }

    // The records, once the text is known to be JSON. Throws what reading the first faulty element throws.
    std::vector<BluetoothDeviceSummary> Finish();

    bool null();
    bool boolean(bool value);
    bool number_integer(std::int64_t value);
    bool number_unsigned(std::uint64_t value);
    bool number_float(double value, const std::string& text);
    bool string(std::string& value);
    bool binary(nlohmann::json::binary_t& value);
    bool start_object(std::size_t size);
    bool key(std::string& name);
    bool end_object();
    bool start_array(std::size_t size);
    bool end_array();
    bool parse_error(std::size_t position, const std::string& token, const nlohmann::json::exception& error);

private:
    using Type = nlohmann::json::value_t;
    struct Fault {
        int field;   // which field, or kNone: the element is no object
        Type found;  // discarded: there is no such key
    };
    using Outcome = std::variant<Fault, std::unique_ptr<BluetoothDeviceSummary>>;

    static constexpr int kFields = 14;
    static constexpr int kNone = -1;

    bool Value(Type type);
    template <class Number>
    bool NumberValue(Type type, Number value);
    void BeginElement();
    void EndElement(std::optional<Fault> fault);
    [[nodiscard]] std::optional<Fault> FindFault() const;
    [[nodiscard]] bool InRecord() const { return depth_ == 2 && in_object_; }
    [[nodiscard]] bool AtField() const { return InRecord() && field_ != kNone; }
    BluetoothDeviceSummary& Current() { return records_.back(); }
    std::vector<BluetoothDeviceSummary> InOrderOfKeys();
    static void Raise(const Fault& fault);

    std::size_t depth_ = 0;                        // open containers
    bool keyed_ = false;                           // the outermost container is an object
    bool in_object_ = false;                       // the element under way is an object
    int field_ = kNone;                            // what the next value in a record belongs to
    Type found_[kFields] = {};                     // what the record under way has at its fields
    std::vector<BluetoothDeviceSummary> records_;  // the last one is under way
    std::optional<Fault> fault_;                   // the first, when elements have no keys
    std::string key_;                              // of the element under way, when they have
    std::map<std::string, Outcome> by_key_;
};

}  // namespace tandor
