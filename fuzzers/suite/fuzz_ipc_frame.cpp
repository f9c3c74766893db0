// What a client may write into a pipe: a whole frame lies inside its bytes, says the same when it is built again, and
// no shorter piece of it is one.
#include "fuzzers/property.h"
#include "suite/ipc/ipc_frame.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes = tandor::fuzz::Text(data, size);
    pelora::ReadMessage message;
    if (pelora::ReadFrame(bytes, message) != pelora::FrameState::kWhole) return 0;
    TANDOR_HOLDS(message.length <= size);
    const auto* const content = static_cast<const char*>(message.item.data);
    TANDOR_HOLDS(content >= bytes.data() && content + message.item.dataLength == bytes.data() + message.length);
    pelora::ReadMessage cut;
    TANDOR_HOLDS(pelora::ReadFrame(std::string_view(bytes).substr(0, message.length - 1), cut) ==
                 pelora::FrameState::kIncomplete);
    const auto built = pelora::BuildFrame(message.client, message.item);
    if (!built) return 0;  // a name whose bytes that were not UTF-8 have become longer ones
    pelora::ReadMessage again;
    TANDOR_HOLDS(pelora::ReadFrame(*built, again) == pelora::FrameState::kWhole);
    TANDOR_HOLDS(again.client == message.client && again.item.name == message.item.name &&
                 again.item.messageId == message.item.messageId && again.item.dataLength == message.item.dataLength);
    return 0;
}
