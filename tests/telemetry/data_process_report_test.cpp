#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <optional>

#include "base/win_handle.h"
#include "support/host_log.h"
#include "tandor/data_report.h"
#include "tandor/event_reporter.h"

namespace {

using tandor::test::HostLog;
using testing::ElementsAre;
using testing::IsEmpty;

Tandor::DataProcessReport& Assistant() { return Tandor::DataProcessReport::GetInstance(); }

// A posted message as the assistant service sees it: the frame's header and the strings in its data.
struct Message {
    std::vector<int> header;  // client, receiver with its instance, message with its instance
    unsigned name_length = 0;
    std::vector<std::string> values;
};

// The assistant service's end of the pipe.
class AssistantPipe {
public:
    AssistantPipe()
        : pipe_(::CreateNamedPipeW(L"\\\\.\\Pipe\\iPaviloAssistant", PIPE_ACCESS_INBOUND,
                                   PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, 1, 65536, 65536, 0, nullptr)) {}

    // Reads one message that has been posted already. No value when there is none.
    std::optional<Message> Read() {
        if (::ConnectNamedPipe(pipe_.Get(), nullptr) == 0 && ::GetLastError() != ERROR_PIPE_CONNECTED) return {};
        DWORD there = 0;
        if (::PeekNamedPipe(pipe_.Get(), nullptr, 0, nullptr, &there, nullptr) == 0 || there < 52) return {};
        std::string frame(there, '\0');
        if (::ReadFile(pipe_.Get(), frame.data(), there, &there, nullptr) == 0) return {};
        Message message;
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

private:
    template <class T>
    static T Number(const std::string& bytes, std::size_t offset) {
        T value{};
        EXPECT_LE(offset + sizeof(value), bytes.size());
        if (offset + sizeof(value) <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof(value));
        return value;
    }

    tandor::FileHandle pipe_;
};

TEST(DataProcessReport, PostsThePendingValuesOfOneReport) {
    AssistantPipe pipe;
    Assistant().AddPendingValue(1, "eins");
    Assistant().AddPendingValue(2, "of another report");
    Assistant().AddPendingValue(1, "");
    Assistant().AddPendingValue(1, "三");
    HostLog log;
    Assistant().Commit(1);
    EXPECT_THAT(log.Take(), IsEmpty());
    const auto message = pipe.Read();
    ASSERT_TRUE(message);
    EXPECT_THAT(message->header, ElementsAre(0x490084, 0x490000, -1, 0x490085, -1));
    EXPECT_EQ(message->name_length, 0u);
    EXPECT_THAT(message->values, ElementsAre("eins", "", "三"));
    EXPECT_THAT(Assistant().GetPendingValues(1), IsEmpty());
    EXPECT_THAT(Assistant().GetPendingValues(2), ElementsAre("of another report"));
    // A report without values is posted too.
    Assistant().Commit(3);
    const auto empty = pipe.Read();
    ASSERT_TRUE(empty);
    EXPECT_THAT(empty->values, IsEmpty());
    Assistant().Commit(2);
}

TEST(DataProcessReport, WhatDoesNotFitStaysPendingAndALineSaysSo) {
    AssistantPipe pipe;
    const std::string endless(2000, 'x');
    const std::string large(500, 'a');
    const std::string rest(1024 - 2 * 504 - 4, 'r');  // fills the buffer to its last byte
    for (const std::string& value : {endless, large, large, rest, std::string("next"), std::string("s")}) {
        Assistant().AddPendingValue(4, value);
    }
    HostLog log;
    Assistant().Commit(4);
    EXPECT_THAT(log.Take(), ElementsAre(L"3 [DataCal]message is full, report:4,values still pending:3"
                                        L"(Tandor::DataProcessReport::Commit)"));
    EXPECT_THAT(pipe.Read().value_or(Message{}).values, ElementsAre(large, large, rest));
    EXPECT_THAT(Assistant().GetPendingValues(4), ElementsAre(endless, "next", "s"));
    Assistant().Commit(4);
    EXPECT_THAT(pipe.Read().value_or(Message{}).values, ElementsAre("next", "s"));
    EXPECT_THAT(Assistant().GetPendingValues(4), ElementsAre(endless));
}

TEST(DataProcessReport, WithoutAServerNothingWaitsAndNothingIsKept) {
    Assistant().AddPendingValue(5, "lost");
    const ULONGLONG begin = ::GetTickCount64();
    Assistant().Commit(5);
    EXPECT_LT(::GetTickCount64() - begin, 5000u);
    EXPECT_THAT(Assistant().GetPendingValues(5), IsEmpty());
}

TEST(DataProcessReport, TheBeginningOfPairingIsReadOnce) {
    HostLog log;
    const auto before = TandorDataReportClass::GetCurrentMilliSecond();
    Assistant().SetBeginPairTime();
    const std::string time = Assistant().GetBeginPairTime();
    EXPECT_EQ(Assistant().GetBeginPairTime(), "");
    ASSERT_FALSE(time.empty());
    EXPECT_GE(std::stoull(time), before);
    EXPECT_LE(std::stoull(time), TandorDataReportClass::GetCurrentMilliSecond());
    EXPECT_THAT(log.Take(), ElementsAre(L"3 [DataCal] timeMs:" + std::wstring(time.begin(), time.end()) +
                                        L"(Tandor::DataProcessReport::GetCurrentMilliSecond)"));
}

}  // namespace
