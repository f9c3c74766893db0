// The frame of a message in the pipe; its layout stands in pelora/ipc_messages.h.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pelora/ipc_messages.h"

namespace pelora {

inline constexpr std::uint32_t kFrameMark = 0x43504950;  // "PIPC"
inline constexpr std::uint32_t kFrameVersion = 1;
inline constexpr std::uint32_t kFrameHeader = 52;
inline constexpr std::uint32_t kLargestName = 1024;
inline constexpr std::uint32_t kLargestData = 65536;

// The frame of a message, or nothing when the message is beyond the limits or has a length without data.
std::optional<std::string> BuildFrame(int client, const TagIPCMessageItem& item);

// A message read back. `data` lies in the bytes that were read.
struct ReadMessage {
    int client = 0;
    TagIPCMessageItem item;
    std::uint32_t length = 0;  // of the whole frame
};

enum class FrameState { kWhole, kIncomplete, kBroken };

// Reads the frame that `bytes` begin with. Incomplete: more bytes are needed. Broken: no frame can begin so. `message`
// is changed by a whole one alone.
FrameState ReadFrame(std::string_view bytes, ReadMessage& message);

}  // namespace pelora
