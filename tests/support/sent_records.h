// What this process and others have put into the outbox since a moment.
#pragma once

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "pelora/outbox.h"

namespace tandor::test {

class SentRecords {
public:
    SentRecords() {
        std::vector<pelora::OutboxRecord> last;
        EXPECT_EQ(pelora::Outbox::GetInstance().ReadLast(1, last), "");
        if (!last.empty()) after_ = last.back().sequence;
    }

    // The records since construction or the last call, in their order.
    std::vector<pelora::OutboxRecord> Take() {
        std::vector<pelora::OutboxRecord> all;
        for (;;) {
            std::vector<pelora::OutboxRecord> some;
            EXPECT_EQ(pelora::Outbox::GetInstance().Read(after_, 1000, 1024 * 1024, some), "");
            if (some.empty()) return all;
            after_ = some.back().sequence;
            all.insert(all.end(), some.begin(), some.end());
        }
    }

private:
    unsigned long long after_ = 0;
};

inline std::set<std::string> Identifiers(const std::vector<pelora::OutboxRecord>& records) {
    std::set<std::string> identifiers;
    for (const pelora::OutboxRecord& record : records) identifiers.insert(record.identifier);
    return identifiers;
}

inline std::vector<std::string> ValuesOf(const pelora::OutboxRecord& record) {
    std::vector<std::string> values;
    for (std::size_t i = 0; i < record.values.size(); ++i) {
        EXPECT_EQ(record.values[i].key, std::to_string(i));
        values.push_back(record.values[i].text);
    }
    return values;
}

// A record as "event: value, value" and, for a fault, "event: key=value, key=value". Numbers stand bare, texts in
// apostrophes.
inline std::string LineOf(const pelora::OutboxRecord& record) {
    std::string line = record.event + ":";
    const char* separator = " ";
    for (const pelora::OutboxValue& value : record.values) {
        line += separator;
        if (record.kind == pelora::OutboxKind::kFault) line += value.key + "=";
        line += value.number || record.kind == pelora::OutboxKind::kBusiness ? value.text : "'" + value.text + "'";
        separator = ", ";
    }
    return line;
}

inline std::vector<std::string> LinesOf(const std::vector<pelora::OutboxRecord>& records) {
    std::vector<std::string> lines;
    for (const auto& record : records) lines.push_back(LineOf(record));
    return lines;
}

}  // namespace tandor::test
