#include <algorithm>
#include <cstring>

#include "base/bytes.h"
#include "pelora/ipc_messages.h"

namespace {

constexpr unsigned kLengthField = 4;
constexpr std::size_t kLargestText = 0x7FFF0000;  // what the returned int and the length field can say

}  // namespace

IOChannel::~IOChannel() = default;

IpcBufferBuild::IpcBufferBuild(void* buffer, unsigned size, bool filled)
    : buffer_(static_cast<unsigned char*>(buffer)), size_(buffer == nullptr ? 0 : size), written_(filled ? size_ : 0) {}

unsigned IpcBufferBuild::Read(void* data, unsigned size) {
    const unsigned count = std::min(size, written_ - read_);
    if (count > 0) std::memcpy(data, buffer_ + read_, count);
    read_ += count;
    return count;
}

unsigned IpcBufferBuild::Write(const void* data, unsigned size) {
    if (size == 0 || size > size_ - written_) return 0;
    std::memcpy(buffer_ + written_, data, size);
    written_ += size;
    return size;
}

VxIpcPackage::VxIpcPackage(IOChannel* channel) : channel_(channel) {}

int VxIpcPackage::PacketString(const std::string& text) {
    if (channel_ == nullptr || text.size() > kLargestText) return 0;
    std::string packed;
    packed.reserve(kLengthField + text.size());
    tandor::AppendText(text, packed);
    return static_cast<int>(channel_->Write(packed.data(), static_cast<unsigned>(packed.size())));
}

bool VxIpcPackage::UnpacketString(std::string& text, unsigned largest) {
    char field[kLengthField];
    if (channel_ == nullptr || channel_->Read(field, kLengthField) != kLengthField) return false;
    std::uint32_t length = 0;
    if (!tandor::ByteReader({field, kLengthField}).Take(length) || length > largest) return false;
    std::string read(length, '\0');
    if (channel_->Read(read.data(), length) != length) return false;
    text = std::move(read);
    return true;
}
