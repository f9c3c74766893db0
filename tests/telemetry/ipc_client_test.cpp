#include "pelora/ipc_messages.h"
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

TEST(IpcClient, IsNotHeldByAServerThatDoesNotRead) {
    const std::wstring name = PipeName(L"-stumme");
    const tandor::FileHandle server = Server(name);
    IPCMessageClient client(1, false, false, name);
    const std::string data(60'000, 'x');
    bool taken = true;
    for (int i = 0; i < 50 && taken; ++i) taken = client.PostIPCMessage(Message(data));
    EXPECT_FALSE(taken) << "the pipe took more than it can hold";
    EXPECT_FALSE(client.PostIPCMessage(Message("x"))) << "its only connection is lost";
}

}  // namespace
