// The outbox's files after a failure of any kind: what is read as a record or as an entry is written as the same bytes.
#include "fuzzers/property.h"
#include "suite/telemetry/record_codec.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes = tandor::fuzz::Text(data, size);
    pelora::OutboxRecord record;
    if (pelora::DecodeContent(bytes, record)) TANDOR_HOLDS(pelora::EncodeContent(record) == bytes);
    std::string_view rest = bytes;
    pelora::JournalEntry entry;
    for (std::string_view before = rest; pelora::TakeEntry(rest, entry); before = rest) {
        const std::string_view taken = before.substr(0, before.size() - rest.size());
        TANDOR_HOLDS(pelora::EncodeEntry(entry) == taken);
    }
    // Whatever stands in an entry comes back, and is not found any more when a bit of it has changed.
    const pelora::JournalEntry own{size, -1, 7, pelora::OutboxKind::kFault, bytes};
    std::string written = pelora::EncodeEntry(own);
    rest = written;
    TANDOR_HOLDS(pelora::TakeEntry(rest, entry) && entry.content == bytes && rest.empty());
    written[size % written.size()] = static_cast<char>(written[size % written.size()] ^ 0x10);
    rest = written;
    TANDOR_HOLDS(!pelora::TakeEntry(rest, entry));
    return 0;
}
