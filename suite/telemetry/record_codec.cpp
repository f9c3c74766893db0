#include "suite/telemetry/record_codec.h"

#include "base/bytes.h"

namespace pelora {
namespace {

constexpr std::uint8_t kVersion = 1;
constexpr std::size_t kCheckHead = 12;  // length and check

// FNV-1a, 64 bits: http://www.isthe.com/chongo/tech/comp/fnv/
std::uint64_t CheckOf(std::string_view bytes) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211ULL;
    return hash;
}

bool TakeValue(tandor::ByteReader& reader, OutboxValue& value) {
    std::uint8_t number = 0;
    if (!reader.Take(number) || number > 1) return false;
    value.number = number == 1;
    return reader.TakeText(value.key) && reader.TakeText(value.text);
}

bool TakeFile(tandor::ByteReader& reader, OutboxFile& file) {
    return reader.TakeText(file.path) && reader.Take(file.size) && reader.Take(file.modified);
}

// Grows with what is really there, not with what the count claims.
template <class Element>
bool TakeAll(tandor::ByteReader& reader, bool (*take)(tandor::ByteReader&, Element&), std::vector<Element>& elements) {
    std::uint32_t count = 0;
    if (!reader.Take(count)) return false;
    elements.clear();
    for (; count > 0; --count) {
        if (!take(reader, elements.emplace_back())) return false;
    }
    return true;
}

}  // namespace

std::string EncodeContent(const OutboxRecord& record) {
    using tandor::AppendLittle, tandor::AppendText;
    std::string out;
    AppendLittle(kVersion, out);
    AppendText(record.event, out);
    AppendText(record.extra, out);
    AppendLittle(static_cast<std::uint32_t>(record.values.size()), out);
    for (const OutboxValue& value : record.values) {
        AppendLittle(static_cast<std::uint8_t>(value.number ? 1 : 0), out);
        AppendText(value.key, out);
        AppendText(value.text, out);
    }
    AppendLittle(static_cast<std::uint32_t>(record.files.size()), out);
    for (const OutboxFile& file : record.files) {
        AppendText(file.path, out);
        AppendLittle(static_cast<std::uint64_t>(file.size), out);
        AppendLittle(static_cast<std::uint64_t>(file.modified), out);
    }
    return out;
}

bool DecodeContent(std::string_view bytes, OutboxRecord& record) {
    tandor::ByteReader reader(bytes);
    std::uint8_t version = 0;
    return reader.Take(version) && version == kVersion && reader.TakeText(record.event) &&
           reader.TakeText(record.extra) && TakeAll(reader, TakeValue, record.values) &&
           TakeAll(reader, TakeFile, record.files) && reader.AtEnd();
}

std::string EncodeEntry(const JournalEntry& entry) {
    using tandor::AppendLittle;
    std::string body;
    body.reserve(kEntryHead - kCheckHead + entry.content.size());
    AppendLittle(entry.sequence, body);
    AppendLittle(static_cast<std::uint64_t>(entry.time), body);
    AppendLittle(entry.process, body);
    AppendLittle(static_cast<std::uint8_t>(entry.kind), body);
    body += entry.content;
    std::string out;
    out.reserve(kCheckHead + body.size());
    AppendLittle(static_cast<std::uint32_t>(body.size()), out);
    AppendLittle(CheckOf(body), out);
    return out += body;
}

bool TakeEntry(std::string_view& bytes, JournalEntry& entry) {
    tandor::ByteReader head(bytes);
    std::uint32_t length = 0;
    std::uint64_t check = 0;
    std::string_view body;
    if (!head.Take(length) || !head.Take(check) || !head.TakeBytes(length, body) || CheckOf(body) != check)
        return false;
    tandor::ByteReader reader(body);
    JournalEntry taken;
    std::uint8_t kind = 0;
    if (!reader.Take(taken.sequence) || !reader.Take(taken.time) || !reader.Take(taken.process) || !reader.Take(kind))
        return false;
    taken.kind = static_cast<OutboxKind>(kind);
    taken.content = reader.Rest();
    entry = taken;
    bytes.remove_prefix(kCheckHead + length);
    return true;
}

}  // namespace pelora
