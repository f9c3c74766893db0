#include "support/assistant_pipe.h"
#include "support/testing.h"
#include "tandor/data_report.h"
#include "tandor/event_reporter.h"

namespace {

using namespace tandor::test;

Tandor::DataProcessReport& Assistant() { return Tandor::DataProcessReport::GetInstance(); }

TEST(DataProcessReport, PostsThePendingValuesOfOneReport) {
    AssistantPipe pipe;
    Assistant().AddPendingValue(1, "eins");
    Assistant().AddPendingValue(2, "of another report");
    Assistant().AddPendingValue(1, "");
    Assistant().AddPendingValue(1, "三");
    HostLog log;
    Assistant().Commit(1);
    EXPECT_THAT(log.Take(), IsEmpty());
    // A report without values is posted too.
    Assistant().Commit(3);
    const auto messages = pipe.Take();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_THAT(messages[0].header, ElementsAre(0x490084, 0x490000, -1, 0x490085, -1));
    EXPECT_EQ(messages[0].name_length, 0u);
    EXPECT_THAT(messages[0].values, ElementsAre("eins", "", "三"));
    EXPECT_THAT(messages[1].values, IsEmpty());
    EXPECT_THAT(Assistant().GetPendingValues(1), IsEmpty());
    EXPECT_THAT(Assistant().GetPendingValues(2), ElementsAre("of another report"));
    Assistant().Commit(2);
}

TEST(DataProcessReport, WhatDoesNotFitIsLeftOutAsAWholeAndALineSaysSo) {
    AssistantPipe pipe;
    const std::string endless(2000, 'x');
    const std::string large(500, 'a');
    const std::string rest(1024 - 2 * 504 - 4, 'r');  // fills the buffer to its last byte
    for (const std::string& value : {endless, large, large, rest, std::string("next"), std::string("s")})
        Assistant().AddPendingValue(4, value);
    HostLog log;
    Assistant().Commit(4);
    EXPECT_THAT(log.Take(), ElementsAre(L"3 [DataCal]message is full, report:4,values left out:3"
                                        L"(Tandor::DataProcessReport::Commit)"));
    EXPECT_THAT(pipe.Take().at(0).values, ElementsAre(large, large, rest));
    EXPECT_THAT(Assistant().GetPendingValues(4), IsEmpty());
}

TEST(DataProcessReport, WithoutAServerNothingWaitsAndNothingIsKept) {
    Assistant().AddPendingValue(5, "lost");
    Assistant().Commit(5);
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
