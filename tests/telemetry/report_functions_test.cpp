#include <locale>

#include "base/send_interval.h"
#include "support/sent_records.h"
#include "support/testing.h"
#include "tandor/data_report.h"
#include "telemetry/report_members.h"

namespace {

using namespace tandor::test;

using Reports = TandorDataReportClass;
using MyPhoneDataReportCode::RESULT_TIMEOUT;

// Makes arguments that differ from each other, and notes what each is sent as.
class Arguments {
public:
    template <class Type>
    Type Take() {
        if constexpr (tandor::ReportStructure<Type>) {
            Type data;
            tandor::WithMembers(data, [this](auto&... members) {
                ((members = this->template Take<std::decay_t<decltype(members)>>()), ...);
            });
            return data;
        } else {
            const std::string number = std::to_string(++taken_);
            if constexpr (std::is_same_v<Type, std::string>) {
                return Sent("text " + number);
            } else if constexpr (std::is_same_v<Type, std::wstring>) {
                return tandor::WideFromUtf8(Sent("手 " + number));
            } else if constexpr (std::is_same_v<Type, bool>) {
                return Sent(taken_ % 2 == 0 ? "0" : "1") == "1";
            } else if constexpr (std::is_floating_point_v<Type>) {
                Sent(number + ".5");
                return taken_ + 0.5;
            } else {
                Sent(number);
                return static_cast<Type>(taken_);
            }
        }
    }
    [[nodiscard]] const std::string& Line() const { return line_; }

private:
    std::string Sent(const std::string& text) {
        line_ += (line_.empty() ? " " : ", ") + text;
        return text;
    }
    int taken_ = 0;
    std::string line_;
};

template <class... Parameters>
std::string Call(void (*report)(Parameters...)) {
    Arguments arguments;
    std::tuple<std::decay_t<Parameters>...> values{
        arguments.Take<std::decay_t<Parameters>>()...};  // from left to right
    std::apply(report, values);
    return arguments.Line();
}

TEST(ReportFunctions, EachSendsItsNumberAndItsArgumentsInOrder) {
    SentRecords sent;
    std::vector<std::string> expected;
#define TANDOR_CALL(number, type, function, parameters, sent) \
    expected.push_back(std::to_string(606'000'000 + number) + ":" + Call(&Reports::function));
    TANDOR_REPORT_TYPES(TANDOR_CALL)
#undef TANDOR_CALL
    EXPECT_EQ(LinesOf(sent.Take()), expected);
    std::set<std::string> events;
    for (const std::string& line : expected) events.insert(line.substr(0, 9));
    EXPECT_EQ(events.size(), 92u) << "each has a number of its own";
}

// A structure's members go in the order of their declaration.
TEST(ReportFunctions, StructuresAndLargeNumbersAreSentWhole) {
    SentRecords sent;
    Reports::ReportTandorReport90HandoffUpgradeId({1, 2, "10.0", "11.0"});
    Reports::ReportTandorReport90HandoffConnectDataId({1, 2, 3, 4, 5'000'000'000, "Pad"});
    Reports::ReportTandorReport140MultiWinPerformanceID({1, 2, 59.94, 0.125, 3});
    Reports::ReportTandorReport100KocastFirstUseKeyboardDataId(~0ULL);
    EXPECT_THAT(LinesOf(sent.Take()),
                ElementsAre("606009103: 1, 2, 10.0, 11.0", "606009100: 1, 2, 3, 4, 5000000000, Pad",
                            "606014000: 1, 2, 59.94, 0.125, 3", "606010003: 18446744073709551615"));
}

TEST(ReportFunctions, TheModesGoOutAsFaultsWithNamedKeys) {
    SentRecords sent;
    Reports::ReportBusinessDuration(1, 2, "3 s");
    Reports::ReportModeSwitch(4, 5, 6, 7);
    Reports::ReportConnectEntry(8, 9);
    Reports::ReportModeResult(10, 11, 12, 13);
    Reports::ReportAudioSwitch(14, 15, 16, 17);
    Reports::ReportDisconnect(18, 19, 20);
    Reports::ReportErrorBeforeFind(21, 22);
    EXPECT_THAT(
        LinesOf(sent.Take()),
        ElementsAre("992614403: deviceType=1, mode=2, duration='3 s'", "992614405: deviceType=4, old=5, new=6, type=7",
                    "992614412: deviceType=8, type=9", "992614414: deviceType=10, usbConnect=11, mode=12, result=13",
                    "992614415: deviceType=14, old=15, new=16, type=17",
                    "992614416: deviceType=18, mode=19, disconnectType=20", "992614417: deviceType=21, type=22"));
}

TEST(ReportFunctions, TheWifiConnectionIsLoggedToo) {
    HostLog log;
    Reports::ReportTandorReport100WifiP2PConnectDataId({1, -2, 3, 4, 86});
    EXPECT_THAT(log.Take(), ElementsAre(L"3 WifiP2PConnect, isSuccess = 1, errorCode=-2, bussnessType=3, mirrorType=4, "
                                        L"countryCode=86(TandorDataReportClass::"
                                        L"ReportTandorReport100WifiP2PConnectDataId)"));
}

TEST(ReportFunctions, AnUnpairedSurrogateIsRefusedAndNothingSent) {
    SentRecords sent;
    EXPECT_THROW(Reports::ReportTandorReport80PhoneBriefClickId(std::wstring(L"a") + wchar_t{0xD800}),
                 std::range_error);
    EXPECT_THAT(sent.Take(), IsEmpty());
}

// Writes numbers as 70.000,5.
struct Grouping : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(DataReport, EveryKindOfArgumentBecomesTextWhateverTheLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
    const std::shared_ptr<void> restored(nullptr, [&](void*) { std::locale::global(before); });
    SentRecords sent;
    const auto type = static_cast<TandorReportTypeEnum>(42);
    Reports* const reports = Reports::GetInstance();
    const std::string text = "тест";
    EXPECT_TRUE(reports->Report(type, -1, 4294967295U, -9223372036854775807LL - 1, true, false, RESULT_TIMEOUT, "c",
                                text, std::uint8_t{65}));
    EXPECT_TRUE(reports->Report(type, 1.0 / 3, 123456789.0, 0.0, 1e-7, 2.5F));
    EXPECT_TRUE(reports->Report(type));
    EXPECT_TRUE(reports->Report(static_cast<TandorReportTypeEnum>(2147483647), std::vector<std::string>{"list"}));
    EXPECT_THAT(LinesOf(sent.Take()),
                ElementsAre("606000042: -1, 4294967295, -9223372036854775808, 1, 0, 3, c, тест, 65",
                            "606000042: 0.333333, 1.23457e+08, 0, 1e-07, 2.5", "606000042:", "2753483647: list"));
    Reports::ReportConnectEntry(70000, -70000);
    EXPECT_THAT(LinesOf(sent.Take()), ElementsAre("992614412: deviceType=70000, type=-70000"));
}

TEST(DataReport, AFailedRendererIsReportedEachTime) {
    SentRecords sent;
    Reports::ReportRenderFailDataReport("x");
    Reports::ReportRenderFailDataReport("y");
    EXPECT_THAT(LinesOf(sent.Take()), ElementsAre("606013000: 2, x", "606013000: 2, y"));
}

TEST(SendInterval, PassesFirstThenAfterItsLengthAndWhenTheClockWasSetBack) {
    tandor::SendInterval interval(300'000);
    const unsigned long long start = 1'700'000'000'000;
    EXPECT_TRUE(interval.Pass(start));
    EXPECT_FALSE(interval.Pass(start));
    EXPECT_FALSE(interval.Pass(start + 299'999));
    EXPECT_TRUE(interval.Pass(start + 300'000));
    EXPECT_FALSE(interval.Pass(start + 300'001));
    EXPECT_TRUE(interval.Pass(start));
    EXPECT_FALSE(interval.Pass(start + 1));
}

}  // namespace
