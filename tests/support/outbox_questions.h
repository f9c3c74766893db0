// What the outbox's tests ask of it.
#pragma once

#include "pelora/outbox.h"
#include "support/testing.h"

namespace tandor::test {

using pelora::Outbox, pelora::OutboxRecord, pelora::OutboxStatus;

inline std::string Utf8(const std::filesystem::path& path) { return tandor::Utf8FromWide(path.native()); }

inline OutboxRecord Record(const std::string& text) {
    OutboxRecord record;
    record.event = "606008003";
    record.values = {{"0", text, false}};
    return record;
}

inline OutboxStatus StatusOf(Outbox& outbox) {
    OutboxStatus status;
    EXPECT_EQ(outbox.Status(status), "");
    return status;
}

inline int CountAside(const std::filesystem::path& folder) {
    int aside = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        aside += entry.path().filename().native().starts_with(L"outbox.damaged-") ? 1 : 0;
    return aside;
}

inline std::vector<OutboxRecord> All(Outbox& outbox) {
    std::vector<OutboxRecord> records;
    EXPECT_EQ(outbox.Read(0, 1'000'000, ~std::size_t{0}, records), "");
    return records;
}

}  // namespace tandor::test
