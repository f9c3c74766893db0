#include <locale>

#include "base/send_interval.h"
#include "support/sent_records.h"
#include "support/testing.h"
#include "tandor/data_report.h"
#include "telemetry/report_table.h"

namespace {

using namespace tandor::test;

using Reports = TandorDataReportClass;
using namespace HandoffReportData;
using namespace MyPhoneDataReportCode;

struct Case {
    void (*report)();
    const char* sent;  // the record without the leading "6060"
};

// Arguments and members differ from each other, so that an order or a member that is wrong shows.
const ConnectReportDataStru kConnect{1, 2, 3, 4, 5'000'000'000, "Pad"};
const PairPerformData kPair{1, 2, 3, 4, 5, 6};
const UpgradeReportData kUpgrade{1, 2, "10.0", "11.0"};
const ShareFileReportData kFile{1, 2, 3, 4, 5};
const TransPerformData kTransfer{1, 2, 3, 4, 5, 2.5e6};
const CastStartReportData kCast{1, 2, 3, 4};
const WifiP2PConnectData kWifi{1, 2, 3, 4, 5};
const DragFileReportData kDragIn{1, 2, 3, 4, 5};
const DragFileReportData kDragOut{6, 7, 8, 9, 10};
const PerformanceRecord kWindows{1, 2, 59.94, 0.125, 3};
NFCOpenBluetoothData touch{1, 2, 3, 4};

const Case kCases[] = {
    {[] { Reports::ReportTandorReport80KoshareSettingSetRecvPathId(L"D:\\手机"); }, "04525: D:\\手机"},
    {[] { Reports::ReportTandorReport80KoshareSettingOpenRecvPathId(); }, "04526:"},
    {[] { Reports::ReportTandorReport80KoshareEnterMyshareId(); }, "04527:"},
    {[] { Reports::ReportTandorReport80KoshareSettingAllowDiscoveryId(); }, "04528:"},
    {[] { Reports::ReportTandorReport80PhonePairId(RESULT_TIMEOUT, 11, -12, "m", "v", 13, 14, 15, "t"); },
     "08000: 3, 11, -12, m, v, 13, 14, 15, t"},
    {[] { Reports::ReportTandorReport80PhoneUnpairId(UNPAIR_BY_PEER, 7, "é"); }, "08001: 1, 7, é"},
    {[] { Reports::ReportTandorReport80PhoneConnectStateId(CONNECT_STATE_CONNECTED); }, "08002: 2"},
    {[] { Reports::ReportTandorReport80MyalbumEnterId(); }, "08003:"},
    {[] { Reports::ReportTandorReport80MyalbumOpenId(); }, "08004:"},
    {[] { Reports::ReportTandorReport80MyalbumDisconnectedId(5); }, "08005: 5"},
    {[] { Reports::ReportTandorReport80MyalbumOpenResultId(RESULT_FAILED, 2, 3); }, "08006: 1, 2, 3"},
    {[] { Reports::ReportTandorReport80MyalbumPhotoCountId(70000); }, "08007: 70000"},
    {[] { Reports::ReportTandorReport80MyalbumRefreshId(); }, "08008:"},
    {[] { Reports::ReportTandorReport80MyalbumSetPathInSettingId(L"E:\\"); }, "08009: E:\\"},
    {[] { Reports::ReportTandorReport80MyalbumOpenPathInAlbumId(); }, "08010:"},
    {[] { Reports::ReportTandorReport80MyalbumOpenPathInSettingsId(); }, "08011:"},
    {[] { Reports::ReportTandorReport80MyalbumBackupId(4); }, "08012: 4"},
    {[] { Reports::ReportTandorReport80MyalbumBackupResultId(RESULT_SUCCESS, 1, 2, 3); }, "08013: 0, 1, 2, 3"},
    {[] { Reports::ReportTandorReport80MyalbumCancelBackupId(); }, "08014:"},
    {[] { Reports::ReportTandorReport80MyalbumDoubleClickPhotoId(); }, "08015:"},
    {[] { Reports::ReportTandorReport80MyalbumDeleteId(9); }, "08016: 9"},
    {[] { Reports::ReportTandorReport80MyalbumDeteleResultId(RESULT_CANCELED, 8, 9); }, "08017: 2, 8, 9"},
    {[] { Reports::ReportTandorReport80MyalbumUploadId(6); }, "08018: 6"},
    {[] { Reports::ReportTandorReport80MyalbumUploadResultId(RESULT_SUCCESS, 4, 5, 6); }, "08019: 0, 4, 5, 6"},
    {[] { Reports::ReportTandorReport80MyalbumCancelUploadId(); }, "08020:"},
    {[] { Reports::ReportTandorReport80MyalbumClickTitleButtonId(); }, "08021:"},
    {[] { Reports::ReportTandorReport80MyalbumAutomaticBackupId(1); }, "08022: 1"},
    {[] { Reports::ReportTandorReport80MymusicEnterId(); }, "08200:"},
    {[] { Reports::ReportTandorReport80MymusicOpenId(); }, "08201:"},
    {[] { Reports::ReportTandorReport80MymusicDisconnectedId(5); }, "08202: 5"},
    {[] { Reports::ReportTandorReport80MymusicOpenResultId(RESULT_FAILED, 2, 3); }, "08203: 1, 2, 3"},
    {[] { Reports::ReportTandorReport80MymusicSongCountId(12); }, "08204: 12"},
    {[] { Reports::ReportTandorReport80MymusicRefreshId(); }, "08205:"},
    {[] { Reports::ReportTandorReport80MymusicSetPathInSettingId(L"F:\\"); }, "08206: F:\\"},
    {[] { Reports::ReportTandorReport80MymusicOpenPathInSettingId(); }, "08207:"},
    {[] { Reports::ReportTandorReport80MymusicBackupId(4); }, "08208: 4"},
    {[] { Reports::ReportTandorReport80MymusicBackupResultId(RESULT_SUCCESS, 1, 2, 3); }, "08209: 0, 1, 2, 3"},
    {[] { Reports::ReportTandorReport80MymusicCancelBackupId(); }, "08210:"},
    {[] { Reports::ReportTandorReport80MymusicDoubleClickPhotoId(); }, "08211:"},
    {[] { Reports::ReportTandorReport80MymusicDeleteId(9); }, "08212: 9"},
    {[] { Reports::ReportTandorReport80MymusicDeleteResultId(RESULT_CANCELED, 8, 9); }, "08213: 2, 8, 9"},
    {[] { Reports::ReportTandorReport80MyVideoEnterId(); }, "08300:"},
    {[] { Reports::ReportTandorReport80MyvideoOpenId(); }, "08301:"},
    {[] { Reports::ReportTandorReport80MyvideoDisconnectedId(5); }, "08302: 5"},
    {[] { Reports::ReportTandorReport80MyvideoOpenResultId(RESULT_FAILED, 2, 3); }, "08303: 1, 2, 3"},
    {[] { Reports::ReportTandorReport80MyvideoSongCountId(12); }, "08304: 12"},
    {[] { Reports::ReportTandorReport80MyvideoRefreshId(); }, "08305:"},
    {[] { Reports::ReportTandorReport80MyvideoSetPathInSettingsId(L"G:\\"); }, "08306: G:\\"},
    {[] { Reports::ReportTandorReport80MyvideoOpenPathInSettingsId(); }, "08307:"},
    {[] { Reports::ReportTandorReport80MyvideoBackupId(4); }, "08308: 4"},
    {[] { Reports::ReportTandorReport80MyvideoBackupResultId(RESULT_SUCCESS, 1, 2, 3); }, "08309: 0, 1, 2, 3"},
    {[] { Reports::ReportTandorReport80MyvideoCancelBackupId(); }, "08310:"},
    {[] { Reports::ReportTandorReport80MyvideoDoubleClickPhotoId(); }, "08311:"},
    {[] { Reports::ReportTandorReport80MyvideoDeleteId(9); }, "08312: 9"},
    {[] { Reports::ReportTandorReport80MyvideoDeleteResultId(RESULT_CANCELED, 8, 9); }, "08313: 2, 8, 9"},
    {[] { Reports::ReportTandorReport80MyvideoUploadId(6); }, "08314: 6"},
    {[] { Reports::ReportTandorReport80MyvideoUploadResultId(RESULT_SUCCESS, 4, 5, 6); }, "08315: 0, 4, 5, 6"},
    {[] { Reports::ReportTandorReport80MyvideoCancelUploadId(); }, "08316:"},
    {[] { Reports::ReportTandorReport80PhoneBriefClickId(L"Akku"); }, "08400: Akku"},
    {[] { Reports::ReportTandorReport80PhoneBriefEnterId(); }, "08401:"},
    {[] { Reports::ReportTandorReport90HandoffConnectDataId(kConnect); }, "09100: 1, 2, 3, 4, 5000000000, Pad"},
    {[] { Reports::ReportTandorReport90HandoffPairPerformId(kPair); }, "09101: 1, 2, 3, 4, 5, 6"},
    {[] { Reports::ReportTandorReport90HandoffDisconnectTypeId(1, 2); }, "09102: 1, 2"},
    {[] { Reports::ReportTandorReport90HandoffUpgradeId(kUpgrade); }, "09103: 1, 2, 10.0, 11.0"},
    {[] { Reports::ReportTandorReport90HandoffShareSingleFileId(kFile); }, "09200: 1, 2, 3, 4, 5"},
    {[] { Reports::ReportTandorReport90HandoffTransPerformId(kTransfer); }, "09201: 1, 2, 3, 4, 5, 2.5e+06"},
    {[] { Reports::ReportTandorReport100KocastStartResultDataId(kCast); }, "10000: 1, 2, 3, 4"},
    {[] { Reports::ReportTandorReport100KocastOpenOrCloseDataId(true); }, "10001: 1"},
    {[] { Reports::ReportTandorReport100KocastMaxOrMinCountDataId(3, 4); }, "10002: 3, 4"},
    {[] { Reports::ReportTandorReport100KocastFirstUseKeyboardDataId(~0ULL); }, "10003: 18446744073709551615"},
    {[] { Reports::ReportTandorReport100KocastFirstUseMouseDataId(2); }, "10004: 2"},
    {[] { Reports::ReportTandorReport100KocastFirstUseTouchDataId(3); }, "10005: 3"},
    {[] { Reports::ReportTandorReport100KocastFirstUseThreeNavigationDataId(4); }, "10006: 4"},
    {[] { Reports::ReportTandorReport100KocastViewHelpDataId(); }, "10007:"},
    {[] { Reports::ReportTandorReport100WifiP2PConnectDataId(kWifi); }, "10008: 1, 2, 3, 4, 5"},
    {[] { Reports::ReportTandorReport100KocastHardwareDrivenResult(MIRROR_HARDWARE_FAILED); }, "10010: 2"},
    {[] { Reports::Report_TANDOR_REPORT_90_HANDOFF_DRAGE_IN_FILE_ID(kDragIn); }, "10100: 1, 2, 3, 4, 5"},
    {[] { Reports::Report_TANDOR_REPORT_90_HANDOFF_DRAGE_OUT_FILE_ID(kDragOut); }, "10101: 6, 7, 8, 9, 10"},
    {[] { Reports::ReportTandorReport100KosightConnectionStatusId(1, 2); }, "10200: 1, 2"},
    {[] { Reports::ReportTandorReport100MSDPStatus(1, "d"); }, "10201: 1, d"},
    {[] { Reports::ReportTandorReport101OpenFileDataId(1, "pdf", "app"); }, "10207: 1, pdf, app"},
    {[] { Reports::ReportWifiP2pDisconnectReson(1, 2, "r"); }, "11014: 1, 2, r"},
    {[] { Reports::ReportAnfcEvent(touch); }, "11017: 1, 2, 3, 4"},
    {[] { Reports::ReportTandorReport120MultiWinAddAppDataId("a", 2); }, "12000: a, 2"},
    {[] { Reports::ReportTandorReport120MultiWinCloseWinDataId("b", 3); }, "12001: b, 3"},
    {[] { Reports::ReportTandorReport120MultiWinRecPhoneEventDataId(4); }, "12005: 4"},
    {[] { Reports::ReportTandorReport120MultiWinTopmostDataId(false); }, "12008: 0"},
    {[] { Reports::ReportTandorReport120MultiWinLockScreenDataId(true); }, "12020: 1"},
    {[] { Reports::ReportTandorReport130MultiWinFaultDataId(3, "f"); }, "13000: 3, f"},
    {[] { Reports::ReportTandorReport140MultiWinPerformanceID(kWindows); }, "14000: 1, 2, 59.94, 0.125, 3"},
    {[] { Reports::ReportTandorReport140MultiWinClickRotate(); }, "14001:"},
    {[] { Reports::ReportTandorReport140MultiWinClickBack(); }, "14002:"},
};

TEST(ReportFunctions, EachSendsItsNumberAndItsArgumentsInOrder) {
    SentRecords sent;
    for (const Case& each : kCases) each.report();
    const auto lines = LinesOf(sent.Take());
    ASSERT_EQ(lines.size(), std::size(kCases));
    std::set<std::string> events;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i], std::string("6060") + kCases[i].sent);
        events.insert(lines[i].substr(0, 9));
    }
    // No number twice, and none of the table left out.
    EXPECT_EQ(events.size(), std::size(kCases));
    EXPECT_EQ(std::ranges::count(tandor::kReportFunctions, false, &tandor::ReportFunction::keyed),
              static_cast<int>(std::size(kCases)));
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

TEST(DataReport, AFailedDecoderIsReportedOnceInFiveMinutesAndARendererEachTime) {
    static bool first_in_process = true;
    SentRecords sent;
    Reports::DecordFailDataReport("first");
    const auto first = LinesOf(sent.Take());
    if (std::exchange(first_in_process, false)) {
        EXPECT_THAT(first, ElementsAre("606013000: 1, first"));
    }
    Reports::DecordFailDataReport("too early");
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
