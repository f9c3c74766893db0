// The report functions. What each sends stands here; its number stands in tandor/data_report_types.h.
#include "foundation/message.h"
#include "tandor/data_report.h"
#include "tandor/text.h"
#include "telemetry/report_table.h"

using Reports = TandorDataReportClass;
using tandor::NumberOf;

namespace {

template <class... Values>
void Send(TandorReportTypeEnum type, const Values&... values) {
    Reports::GetInstance()->Report(type, values...);
}

std::string Narrow(const std::wstring& wide) { return TandorUtilClass::ConvertFromWideBytes(wide); }

}  // namespace

// Sharing of files
void Reports::ReportTandorReport80KoshareSettingSetRecvPathId(const std::wstring& path) {
    Send(NumberOf(__func__), Narrow(path));
}
void Reports::ReportTandorReport80KoshareSettingOpenRecvPathId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80KoshareEnterMyshareId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80KoshareSettingAllowDiscoveryId() { Send(NumberOf(__func__)); }

// Pairing with a phone
void Reports::ReportTandorReport80PhonePairId(MyPhoneDataReportCode::Result result, int errorCode, int pairType,
                                              const std::string& modelName, const std::string& phoneVersion,
                                              int duration, int retries, int deviceType, const std::string& traceId) {
    Send(NumberOf(__func__), result, errorCode, pairType, modelName, phoneVersion, duration, retries, deviceType,
         traceId);
}
void Reports::ReportTandorReport80PhoneUnpairId(MyPhoneDataReportCode::UnpairAction action, int deviceType,
                                                const std::string& modelName) {
    Send(NumberOf(__func__), action, deviceType, modelName);
}
void Reports::ReportTandorReport80PhoneConnectStateId(MyPhoneDataReportCode::ConnectState state) {
    Send(NumberOf(__func__), state);
}

// The phone's pictures
void Reports::ReportTandorReport80MyalbumEnterId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyalbumOpenId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyalbumDisconnectedId(int reason) { Send(NumberOf(__func__), reason); }
void Reports::ReportTandorReport80MyalbumOpenResultId(MyPhoneDataReportCode::Result result, int errorCode,
                                                      int duration) {
    Send(NumberOf(__func__), result, errorCode, duration);
}
void Reports::ReportTandorReport80MyalbumPhotoCountId(int count) { Send(NumberOf(__func__), count); }
void Reports::ReportTandorReport80MyalbumRefreshId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyalbumSetPathInSettingId(const std::wstring& path) {
    Send(NumberOf(__func__), Narrow(path));
}
void Reports::ReportTandorReport80MyalbumOpenPathInAlbumId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyalbumOpenPathInSettingsId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyalbumBackupId(int count) { Send(NumberOf(__func__), count); }
void Reports::ReportTandorReport80MyalbumBackupResultId(MyPhoneDataReportCode::Result result, int done, int failed,
                                                        int skipped) {
    Send(NumberOf(__func__), result, done, failed, skipped);
}
void Reports::ReportTandorReport80MyalbumCancelBackupId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyalbumDoubleClickPhotoId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyalbumDeleteId(int count) { Send(NumberOf(__func__), count); }
void Reports::ReportTandorReport80MyalbumDeteleResultId(MyPhoneDataReportCode::Result result, int done, int failed) {
    Send(NumberOf(__func__), result, done, failed);
}
void Reports::ReportTandorReport80MyalbumUploadId(int count) { Send(NumberOf(__func__), count); }
void Reports::ReportTandorReport80MyalbumUploadResultId(MyPhoneDataReportCode::Result result, int done, int failed,
                                                        int skipped) {
    Send(NumberOf(__func__), result, done, failed, skipped);
}
void Reports::ReportTandorReport80MyalbumCancelUploadId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyalbumClickTitleButtonId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyalbumAutomaticBackupId(int enabled) { Send(NumberOf(__func__), enabled); }

// The phone's music
void Reports::ReportTandorReport80MymusicEnterId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MymusicOpenId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MymusicDisconnectedId(int reason) { Send(NumberOf(__func__), reason); }
void Reports::ReportTandorReport80MymusicOpenResultId(MyPhoneDataReportCode::Result result, int errorCode,
                                                      int duration) {
    Send(NumberOf(__func__), result, errorCode, duration);
}
void Reports::ReportTandorReport80MymusicSongCountId(int count) { Send(NumberOf(__func__), count); }
void Reports::ReportTandorReport80MymusicRefreshId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MymusicSetPathInSettingId(const std::wstring& path) {
    Send(NumberOf(__func__), Narrow(path));
}
void Reports::ReportTandorReport80MymusicOpenPathInSettingId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MymusicBackupId(int count) { Send(NumberOf(__func__), count); }
void Reports::ReportTandorReport80MymusicBackupResultId(MyPhoneDataReportCode::Result result, int done, int failed,
                                                        int skipped) {
    Send(NumberOf(__func__), result, done, failed, skipped);
}
void Reports::ReportTandorReport80MymusicCancelBackupId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MymusicDoubleClickPhotoId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MymusicDeleteId(int count) { Send(NumberOf(__func__), count); }
void Reports::ReportTandorReport80MymusicDeleteResultId(MyPhoneDataReportCode::Result result, int done, int failed) {
    Send(NumberOf(__func__), result, done, failed);
}

// The phone's videos
void Reports::ReportTandorReport80MyVideoEnterId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyvideoOpenId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyvideoDisconnectedId(int reason) { Send(NumberOf(__func__), reason); }
void Reports::ReportTandorReport80MyvideoOpenResultId(MyPhoneDataReportCode::Result result, int errorCode,
                                                      int duration) {
    Send(NumberOf(__func__), result, errorCode, duration);
}
void Reports::ReportTandorReport80MyvideoSongCountId(int count) { Send(NumberOf(__func__), count); }
void Reports::ReportTandorReport80MyvideoRefreshId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyvideoSetPathInSettingsId(const std::wstring& path) {
    Send(NumberOf(__func__), Narrow(path));
}
void Reports::ReportTandorReport80MyvideoOpenPathInSettingsId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyvideoBackupId(int count) { Send(NumberOf(__func__), count); }
void Reports::ReportTandorReport80MyvideoBackupResultId(MyPhoneDataReportCode::Result result, int done, int failed,
                                                        int skipped) {
    Send(NumberOf(__func__), result, done, failed, skipped);
}
void Reports::ReportTandorReport80MyvideoCancelBackupId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyvideoDoubleClickPhotoId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport80MyvideoDeleteId(int count) { Send(NumberOf(__func__), count); }
void Reports::ReportTandorReport80MyvideoDeleteResultId(MyPhoneDataReportCode::Result result, int done, int failed) {
    Send(NumberOf(__func__), result, done, failed);
}
void Reports::ReportTandorReport80MyvideoUploadId(int count) { Send(NumberOf(__func__), count); }
void Reports::ReportTandorReport80MyvideoUploadResultId(MyPhoneDataReportCode::Result result, int done, int failed,
                                                        int skipped) {
    Send(NumberOf(__func__), result, done, failed, skipped);
}
void Reports::ReportTandorReport80MyvideoCancelUploadId() { Send(NumberOf(__func__)); }

// The short view of a phone
void Reports::ReportTandorReport80PhoneBriefClickId(const std::wstring& item) {
    Send(NumberOf(__func__), Narrow(item));
}
void Reports::ReportTandorReport80PhoneBriefEnterId() { Send(NumberOf(__func__)); }

// Connections and transfers
void Reports::ReportTandorReport90HandoffConnectDataId(const HandoffReportData::ConnectReportDataStru& data) {
    const auto& [deviceType, connectType, result, errorCode, duration, modelName] = data;
    Send(NumberOf(__func__), deviceType, connectType, result, errorCode, duration, modelName);
}
void Reports::ReportTandorReport90HandoffPairPerformId(const HandoffReportData::PairPerformData& data) {
    const auto& [deviceType, result, errorCode, discoverDuration, verifyDuration, connectDuration] = data;
    Send(NumberOf(__func__), deviceType, result, errorCode, discoverDuration, verifyDuration, connectDuration);
}
void Reports::ReportTandorReport90HandoffDisconnectTypeId(int deviceType, int disconnectType) {
    Send(NumberOf(__func__), deviceType, disconnectType);
}
void Reports::ReportTandorReport90HandoffUpgradeId(const HandoffReportData::UpgradeReportData& data) {
    const auto& [deviceType, result, fromVersion, toVersion] = data;
    Send(NumberOf(__func__), deviceType, result, fromVersion, toVersion);
}
void Reports::ReportTandorReport90HandoffShareSingleFileId(const HandoffReportData::ShareFileReportData& data) {
    const auto& [direction, result, errorCode, fileType, fileSize] = data;
    Send(NumberOf(__func__), direction, result, errorCode, fileType, fileSize);
}
void Reports::ReportTandorReport90HandoffTransPerformId(const HandoffReportData::TransPerformData& data) {
    const auto& [direction, result, fileCount, totalSize, duration, averageRate] = data;
    Send(NumberOf(__func__), direction, result, fileCount, totalSize, duration, averageRate);
}

// Casting the screen
void Reports::ReportTandorReport100KocastStartResultDataId(const HandoffReportData::CastStartReportData& data) {
    const auto& [deviceType, result, errorCode, duration] = data;
    Send(NumberOf(__func__), deviceType, result, errorCode, duration);
}
void Reports::ReportTandorReport100KocastOpenOrCloseDataId(bool open) { Send(NumberOf(__func__), open); }
void Reports::ReportTandorReport100KocastMaxOrMinCountDataId(int maximized, int minimized) {
    Send(NumberOf(__func__), maximized, minimized);
}
void Reports::ReportTandorReport100KocastFirstUseKeyboardDataId(unsigned long long sinceStart) {
    Send(NumberOf(__func__), sinceStart);
}
void Reports::ReportTandorReport100KocastFirstUseMouseDataId(unsigned long long sinceStart) {
    Send(NumberOf(__func__), sinceStart);
}
void Reports::ReportTandorReport100KocastFirstUseTouchDataId(unsigned long long sinceStart) {
    Send(NumberOf(__func__), sinceStart);
}
void Reports::ReportTandorReport100KocastFirstUseThreeNavigationDataId(unsigned long long sinceStart) {
    Send(NumberOf(__func__), sinceStart);
}
void Reports::ReportTandorReport100KocastViewHelpDataId() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport100WifiP2PConnectDataId(const HandoffReportData::WifiP2PConnectData& data) {
    const auto& [isSuccess, errorCode, bussnessType, mirrorType, countryCode] = data;
    tandor::LogMessage(tandor::kInfo, L"TandorDataReportClass::ReportTandorReport100WifiP2PConnectDataId",
                       L"WifiP2PConnect, isSuccess = ", isSuccess, L", errorCode=", errorCode, L", bussnessType=",
                       bussnessType, L", mirrorType=", mirrorType, L", countryCode=", countryCode);
    Send(NumberOf(__func__), isSuccess, errorCode, bussnessType, mirrorType, countryCode);
}
void Reports::ReportTandorReport100KocastHardwareDrivenResult(HandoffReportData::MIRROR_HARDWARE_STATUS status) {
    Send(NumberOf(__func__), status);
}
void Reports::Report_TANDOR_REPORT_90_HANDOFF_DRAGE_IN_FILE_ID(const HandoffReportData::DragFileReportData& data) {
    const auto& [fileCount, totalSize, result, errorCode, duration] = data;
    Send(NumberOf(__func__), fileCount, totalSize, result, errorCode, duration);
}
void Reports::Report_TANDOR_REPORT_90_HANDOFF_DRAGE_OUT_FILE_ID(const HandoffReportData::DragFileReportData& data) {
    const auto& [fileCount, totalSize, result, errorCode, duration] = data;
    Send(NumberOf(__func__), fileCount, totalSize, result, errorCode, duration);
}
void Reports::ReportTandorReport100KosightConnectionStatusId(int status, int errorCode) {
    Send(NumberOf(__func__), status, errorCode);
}
void Reports::ReportTandorReport100MSDPStatus(int status, std::string detail) {
    Send(NumberOf(__func__), status, detail);
}
void Reports::ReportTandorReport101OpenFileDataId(int result, std::string extension, std::string application) {
    Send(NumberOf(__func__), result, extension, application);
}
void Reports::ReportWifiP2pDisconnectReson(int reason, int bussnessType, std::string detail) {
    Send(NumberOf(__func__), reason, bussnessType, detail);
}
void Reports::ReportAnfcEvent(HandoffReportData::NFCOpenBluetoothData& data) {
    const auto& [result, errorCode, bluetoothState, duration] = data;
    Send(NumberOf(__func__), result, errorCode, bluetoothState, duration);
}

// Windows of the phone's applications
void Reports::ReportTandorReport120MultiWinAddAppDataId(const std::string& application, int windowCount) {
    Send(NumberOf(__func__), application, windowCount);
}
void Reports::ReportTandorReport120MultiWinCloseWinDataId(const std::string& application, int windowCount) {
    Send(NumberOf(__func__), application, windowCount);
}
void Reports::ReportTandorReport120MultiWinRecPhoneEventDataId(int event) { Send(NumberOf(__func__), event); }
void Reports::ReportTandorReport120MultiWinTopmostDataId(bool topmost) { Send(NumberOf(__func__), topmost); }
void Reports::ReportTandorReport120MultiWinLockScreenDataId(bool locked) { Send(NumberOf(__func__), locked); }
void Reports::ReportTandorReport130MultiWinFaultDataId(int fault, const std::string& reason) {
    Send(NumberOf(__func__), fault, reason);
}
void Reports::ReportTandorReport140MultiWinPerformanceID(const HandoffReportData::PerformanceRecord& data) {
    const auto& [windowCount, duration, averageFrameRate, averageDelay, lostFrames] = data;
    Send(NumberOf(__func__), windowCount, duration, averageFrameRate, averageDelay, lostFrames);
}
void Reports::ReportTandorReport140MultiWinClickRotate() { Send(NumberOf(__func__)); }
void Reports::ReportTandorReport140MultiWinClickBack() { Send(NumberOf(__func__)); }
