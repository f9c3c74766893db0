// The assistant service's end of its pipe.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "base/win_handle.h"

namespace tandor::test {

// A posted message as the service sees it: the frame's header and the strings in its data.
struct AssistantMessage {
    std::vector<int> header;  // client, receiver with its instance, message with its instance
    unsigned name_length = 0;
    std::vector<std::string> values;
};

class AssistantPipe {
public:
    AssistantPipe()
        : pipe_(::CreateNamedPipeW(L"\\\\.\\Pipe\\iPaviloAssistant", PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE | PIPE_NOWAIT,
                                   1, 65536, 65536, 0, nullptr)) {}

    // The messages that have come since the last call.
    std::vector<AssistantMessage> Take() {
        std::string bytes(65536, '\0');
        DWORD size = 0;
        ::ReadFile(pipe_.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &size, nullptr);
        std::vector<AssistantMessage> messages;
        for (std::size_t at = 0, length = 0; at < size; at += length) {
            length = Number<unsigned>(bytes, at + 8);
            EXPECT_TRUE(length >= 52 && at + length <= size) << length;
            if (length < 52 || at + length > size) break;
            messages.push_back(Read(bytes.substr(at, length)));
        }
        return messages;
    }

private:
    template <class T>
    static T Number(const std::string& bytes, std::size_t offset) {
        T value{};
        EXPECT_LE(offset + sizeof(value), bytes.size());
        if (offset + sizeof(value) <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof(value));
        return value;
    }
    static AssistantMessage Read(const std::string& frame) {
        AssistantMessage message;
        for (const std::size_t offset : {12, 16, 20, 24, 28}) message.header.push_back(Number<int>(frame, offset));
        message.name_length = Number<unsigned>(frame, 44);
        const std::size_t data = 52 + message.name_length;
        EXPECT_EQ(frame.size(), data + Number<unsigned>(frame, 48));
        for (std::size_t at = data; at < frame.size();) {
            const auto length = Number<unsigned>(frame, at);
            message.values.push_back(frame.substr(at + 4, length));
            at += 4 + length;
        }
        return message;
    }

    tandor::FileHandle pipe_;
};

}  // namespace tandor::test
