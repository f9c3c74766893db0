#include "suite/ipc/ipc_frame.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

TEST(IpcBuffer, RefusesAsAWholeWhatPassesItsEnd) {
    char memory[16];
    std::memset(memory, '#', sizeof(memory));
    IpcBufferBuild buffer(memory, 12, false);
    VxIpcPackage package(&buffer);
    EXPECT_EQ(package.PacketString("abc"), 7);
    EXPECT_EQ(package.PacketString("de"), 0) << "one byte too long";
    EXPECT_EQ(package.PacketString("d"), 5);
    EXPECT_EQ(package.PacketString(""), 0) << "no room for its length";
    EXPECT_EQ(std::string(memory, 16), std::string("\3\0\0\0abc\1\0\0\0d####", 16));
    std::string text;
    for (const auto& [there, expected] : {std::pair{true, "abc"}, {true, "d"}, {false, "d"}}) {
        EXPECT_EQ(package.UnpacketString(text), there);
        EXPECT_EQ(text, expected);
    }
}

TEST(IpcBuffer, DoesNotTrustALengthInWhatItReads) {
    char memory[] = "\xFF\xFF\xFF\xFFx";
    IpcBufferBuild buffer(memory, 5, true);
    std::string text = "kept";
    EXPECT_FALSE(VxIpcPackage(&buffer).UnpacketString(text));
    char whole[] = "\3\0\0\0abc";
    IpcBufferBuild longer(whole, 7, true);
    EXPECT_FALSE(VxIpcPackage(&longer).UnpacketString(text, 2)) << "more than the caller wants";
    EXPECT_EQ(text, "kept");
}

TEST(IpcFrame, IsReadBackAndCutOrFalseOnesAreNot) {
    TagIPCMessageItem item;
    item.name = L"empfänger";
    item.receiverId = 0x490000;
    item.messageId = 0x490085;
    item.dataLength = 3;
    item.data = "xyz";
    const auto frame = pelora::BuildFrame(0x490084, item);
    ASSERT_TRUE(frame);
    pelora::ReadMessage read;
    for (std::size_t length = 0; length < frame->size(); ++length)
        EXPECT_EQ(pelora::ReadFrame(std::string_view(*frame).substr(0, length), read), pelora::FrameState::kIncomplete);
    const std::string stream = *frame + "next";  // what is read points into it
    ASSERT_EQ(pelora::ReadFrame(stream, read), pelora::FrameState::kWhole);
    EXPECT_EQ(read.client, 0x490084);
    EXPECT_EQ(read.length, frame->size());
    EXPECT_EQ(read.item.name, item.name);
    EXPECT_EQ(read.item.receiverInstance, -1);
    EXPECT_EQ(read.item.messageId, 0x490085);
    EXPECT_EQ(std::string_view(static_cast<const char*>(read.item.data), read.item.dataLength), "xyz");
    for (const std::size_t offset : {0u, 4u, 8u, 47u, 51u}) {
        std::string broken = *frame;
        broken[offset] = '\x7F';
        EXPECT_EQ(pelora::ReadFrame(broken, read), pelora::FrameState::kBroken) << offset;
    }
    item.dataLength = 65537;
    EXPECT_FALSE(pelora::BuildFrame(1, item));
    item.dataLength = 1;
    item.data = nullptr;
    EXPECT_FALSE(pelora::BuildFrame(1, item));
}

}  // namespace
