#include "pelora/ipc_messages.h"
#include "suite/ipc/ipc_frame.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

std::wstring PipeName(const wchar_t* name) {
    return L"\\\\.\\pipe\\tandor-test-" + std::to_wstring(::GetCurrentProcessId()) + name;
}

tandor::FileHandle Server(const std::wstring& name) {
    return tandor::FileHandle(
        ::CreateNamedPipeW(name.c_str(), PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE, 4, 4096, 4096, 0, nullptr));
}

TagIPCMessageItem Message(const std::string& data) {
    TagIPCMessageItem item;
    item.receiverId = 0x490000;
    item.messageId = 0x490085;
    item.dataLength = static_cast<unsigned>(data.size());
    item.data = data.data();
    return item;
}

TEST(IpcClient, FailsAtOnceWithoutAServerAndFindsOneThatComes) {
    const std::wstring name = PipeName(L"-späte");
    IPCMessageClient client(0x490084, true, false, name);
    EXPECT_FALSE(client.PostIPCMessage(Message("x")));
    for (int round = 0; round < 2; ++round) {  // and one that comes back
        const tandor::FileHandle server = Server(name);
        ASSERT_TRUE(client.PostIPCMessage(Message("abc")));
        char frame[128];
        DWORD read = 0;
        ASSERT_TRUE(::ReadFile(server.Get(), frame, sizeof(frame), &read, nullptr));
        ASSERT_EQ(read, 55u);
        EXPECT_EQ(std::string(frame, 4), "PIPC");
        EXPECT_EQ(std::string(frame + 52, 3), "abc");
    }
}

// The numbers that the next `count` frames carry, read a kilobyte at a time.
std::vector<int> ReadNumbers(HANDLE server, std::size_t count) {
    std::vector<int> numbers;
    std::string bytes;
    for (pelora::ReadMessage message; numbers.size() < count;) {
        const auto state = pelora::ReadFrame(bytes, message);
        if (state == pelora::FrameState::kWhole) {
            numbers.push_back(message.item.messageInstance);
            bytes.erase(0, message.length);
            continue;
        }
        char some[1024];
        DWORD read = 0;
        if (state == pelora::FrameState::kBroken || !::ReadFile(server, some, sizeof(some), &read, nullptr)) break;
        bytes.append(some, read);
    }
    return numbers;
}

TEST(IpcClient, NeitherWaitsForASlowServerNorLosesWhatItTook) {
    const std::wstring name = PipeName(L"-langsame");
    const tandor::FileHandle server = Server(name);
    IPCMessageClient client(1, true, false, name);
    const std::string data(10'000, 'x');  // more than the pipe holds
    TagIPCMessageItem item = Message(data);
    std::vector<int> taken;
    while (client.PostIPCMessage(item)) taken.push_back(item.messageInstance++);
    EXPECT_GT(taken.size(), 90u);
    EXPECT_LE(taken.size(), 256u);
    EXPECT_EQ(ReadNumbers(server.Get(), taken.size()), taken);
    EXPECT_TRUE(client.PostIPCMessage(item)) << "there is room again";
}

TEST(IpcClient, WhatAServerLeftGoesToTheNextOne) {
    const std::wstring name = PipeName(L"-wechselnde");
    tandor::FileHandle server = Server(name);
    IPCMessageClient client(1, true, false, name), once(1, false, true, name);
    const std::string data(10'000, 'x');
    TagIPCMessageItem item = Message(data);
    for (item.messageInstance = 0; item.messageInstance < 5; ++item.messageInstance)
        ASSERT_TRUE(client.PostIPCMessage(item));
    EXPECT_THAT(ReadNumbers(server.Get(), 2), ElementsAre(0, 1));  // and a part of the third
    server.Reset();
    EXPECT_FALSE(client.PostIPCMessage(item)) << "nobody is there";
    server = Server(name);
    ASSERT_TRUE(client.PostIPCMessage(item));
    EXPECT_THAT(ReadNumbers(server.Get(), 4), ElementsAre(2, 3, 4, 5));
    server.Reset();
    EXPECT_TRUE(once.PostIPCMessage(item)) << "it waits here";
    server = Server(name);
    ++item.messageInstance;
    EXPECT_TRUE(once.PostIPCMessage(item));
    EXPECT_THAT(ReadNumbers(server.Get(), 2), ElementsAre(5, 6));
}

TEST(IpcListen, ShowsWhatIsPosted) {
    const std::wstring name = PipeName(L"-zuhörer");
    ProgramRun run;
    std::thread listener([&] { run = RunTandorctl(L"ipc listen --count 2 --for 60 --pipe " + name); });
    IPCMessageClient client(0x490084, true, false, name);
    const std::string strings("\4\0\0\0eins\0\0\0\0", 12), bytes("\x12\xAB");
    for (int attempt = 0; attempt < 3000 && !client.PostIPCMessage(Message(strings)); ++attempt) ::Sleep(10);
    EXPECT_TRUE(client.PostIPCMessage(Message(bytes)));
    listener.join();
    const std::string head = "client 0x490084 to 0x490000, message 0x490085: ";
    EXPECT_EQ(run.out, head + "'eins' ''\n" + head + "12ab\n") << run.error;
}

}  // namespace
