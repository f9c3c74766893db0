#include "suite/ipc/ipc_frame.h"

#include "base/bytes.h"
#include "base/utf.h"

namespace pelora {

std::optional<std::string> BuildFrame(int client, const TagIPCMessageItem& item) {
    const std::string name = tandor::Utf8FromWideLossy(item.name);
    if (name.size() > kLargestName || item.dataLength > kLargestData) return std::nullopt;
    if (item.dataLength > 0 && item.data == nullptr) return std::nullopt;
    const auto name_length = static_cast<std::uint32_t>(name.size());
    std::string frame;
    frame.reserve(kFrameHeader + name.size() + item.dataLength);
    for (const std::uint32_t field :
         {kFrameMark, kFrameVersion, kFrameHeader + name_length + item.dataLength, static_cast<std::uint32_t>(client),
          static_cast<std::uint32_t>(item.receiverId), static_cast<std::uint32_t>(item.receiverInstance),
          static_cast<std::uint32_t>(item.messageId), static_cast<std::uint32_t>(item.messageInstance), item.sequence,
          item.flags, item.parameter, name_length, item.dataLength}) {
        tandor::AppendLittle(field, frame);
    }
    frame += name;
    if (item.dataLength > 0) frame.append(static_cast<const char*>(item.data), item.dataLength);
    return frame;
}

FrameState ReadFrame(std::string_view bytes, ReadMessage& message) {
    tandor::ByteReader reader(bytes);
    std::uint32_t mark = 0, version = 0, name_length = 0;
    ReadMessage read;
    TagIPCMessageItem& item = read.item;
    if (!reader.Take(mark)) return FrameState::kIncomplete;
    if (mark != kFrameMark) return FrameState::kBroken;
    if (!reader.Take(version)) return FrameState::kIncomplete;
    if (version != kFrameVersion) return FrameState::kBroken;
    if (!(reader.Take(read.length) && reader.Take(read.client) && reader.Take(item.receiverId) &&
          reader.Take(item.receiverInstance) && reader.Take(item.messageId) && reader.Take(item.messageInstance) &&
          reader.Take(item.sequence) && reader.Take(item.flags) && reader.Take(item.parameter) &&
          reader.Take(name_length) && reader.Take(item.dataLength))) {
        return FrameState::kIncomplete;
    }
    if (name_length > kLargestName || item.dataLength > kLargestData ||
        read.length != kFrameHeader + name_length + item.dataLength) {
        return FrameState::kBroken;
    }
    std::string_view name, data;
    if (!reader.TakeBytes(name_length, name) || !reader.TakeBytes(item.dataLength, data)) {
        return FrameState::kIncomplete;
    }
    item.name = tandor::WideFromUtf8Lossy(name);
    item.data = data.data();
    message = std::move(read);
    return FrameState::kWhole;
}

}  // namespace pelora
