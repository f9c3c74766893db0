#include "suite/telemetry/record_codec.h"

#include "base/bytes.h"

namespace pelora {
namespace {

constexpr std::uint8_t kVersion = 1;

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

}  // namespace pelora
