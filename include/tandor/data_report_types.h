/// @file
/// The numbers of the business statistics, and what their report functions take.
#pragma once

#include <string>

// The catalogue of the statistics: number, type, the function of TandorDataReportClass that sends it, its parameters,
// and what it sends of them, in this order; a structure's members go out one by one. A statistic reaches the
// data-report service as the event 606000000 + number. Numbers in use never change their meaning.
// clang-format off
/// Sharing of files.
#define TANDOR_REPORTS_SHARING(REPORT) \
    REPORT( 4525, TANDOR_REPORT_80_KOSHARE_SETTING_SET_RECV_PATH_ID, ReportTandorReport80KoshareSettingSetRecvPathId, \
           (const std::wstring& path), (path)) \
    REPORT( 4526, TANDOR_REPORT_80_KOSHARE_SETTING_OPEN_RECV_PATH_ID, ReportTandorReport80KoshareSettingOpenRecvPathId, \
           (), ()) \
    REPORT( 4527, TANDOR_REPORT_80_KOSHARE_ENTER_MYSHARE_ID, ReportTandorReport80KoshareEnterMyshareId, (), ()) \
    REPORT( 4528, TANDOR_REPORT_80_KOSHARE_SETTING_ALLOW_DISCOVERY_ID, ReportTandorReport80KoshareSettingAllowDiscoveryId, \
           (), ())

/// Pairing with a phone.
#define TANDOR_REPORTS_PAIRING(REPORT) \
    REPORT( 8000, TANDOR_REPORT_80_PHONE_PAIR_ID, ReportTandorReport80PhonePairId, \
           (MyPhoneDataReportCode::Result result, int errorCode, int pairType, const std::string& modelName, \
            const std::string& phoneVersion, int duration, int retries, int deviceType, const std::string& traceId), \
           (result, errorCode, pairType, modelName, phoneVersion, duration, retries, deviceType, traceId)) \
    REPORT( 8001, TANDOR_REPORT_80_PHONE_UNPAIR_ID, ReportTandorReport80PhoneUnpairId, \
           (MyPhoneDataReportCode::UnpairAction action, int deviceType, const std::string& modelName), \
           (action, deviceType, modelName)) \
    REPORT( 8002, TANDOR_REPORT_80_PHONE_CONNECT_STATE_ID, ReportTandorReport80PhoneConnectStateId, \
           (MyPhoneDataReportCode::ConnectState state), (state))

/// The phone's pictures.
#define TANDOR_REPORTS_ALBUM(REPORT) \
    REPORT( 8003, TANDOR_REPORT_80_MYALBUM_ENTER_ID, ReportTandorReport80MyalbumEnterId, (), ()) \
    REPORT( 8004, TANDOR_REPORT_80_MYALBUM_OPEN_ID, ReportTandorReport80MyalbumOpenId, (), ()) \
    REPORT( 8005, TANDOR_REPORT_80_MYALBUM_DISCONNECTED_ID, ReportTandorReport80MyalbumDisconnectedId, \
           (int reason), (reason)) \
    REPORT( 8006, TANDOR_REPORT_80_MYALBUM_OPEN_RESULT_ID, ReportTandorReport80MyalbumOpenResultId, \
           (MyPhoneDataReportCode::Result result, int errorCode, int duration), (result, errorCode, duration)) \
    REPORT( 8007, TANDOR_REPORT_80_MYALBUM_PHOTO_COUNT_ID, ReportTandorReport80MyalbumPhotoCountId, \
           (int count), (count)) \
    REPORT( 8008, TANDOR_REPORT_80_MYALBUM_REFRESH_ID, ReportTandorReport80MyalbumRefreshId, (), ()) \
    REPORT( 8009, TANDOR_REPORT_80_MYALBUM_SET_PATH_IN_SETTING_ID, ReportTandorReport80MyalbumSetPathInSettingId, \
           (const std::wstring& path), (path)) \
    REPORT( 8010, TANDOR_REPORT_80_MYALBUM_OPEN_PATH_IN_ALBUM_ID, ReportTandorReport80MyalbumOpenPathInAlbumId, \
           (), ()) \
    REPORT( 8011, TANDOR_REPORT_80_MYALBUM_OPEN_PATH_IN_SETTINGS_ID, ReportTandorReport80MyalbumOpenPathInSettingsId, \
           (), ()) \
    REPORT( 8012, TANDOR_REPORT_80_MYALBUM_BACKUP_ID, ReportTandorReport80MyalbumBackupId, (int count), (count)) \
    REPORT( 8013, TANDOR_REPORT_80_MYALBUM_BACKUP_RESULT_ID, ReportTandorReport80MyalbumBackupResultId, \
           (MyPhoneDataReportCode::Result result, int done, int failed, int skipped), (result, done, failed, skipped)) \
    REPORT( 8014, TANDOR_REPORT_80_MYALBUM_CANCEL_BACKUP_ID, ReportTandorReport80MyalbumCancelBackupId, (), ()) \
    REPORT( 8015, TANDOR_REPORT_80_MYALBUM_DOUBLE_CLICK_PHOTO_ID, ReportTandorReport80MyalbumDoubleClickPhotoId, \
           (), ()) \
    REPORT( 8016, TANDOR_REPORT_80_MYALBUM_DELETE_ID, ReportTandorReport80MyalbumDeleteId, (int count), (count)) \
    REPORT( 8017, TANDOR_REPORT_80_MYALBUM_DETELE_RESULT_ID, ReportTandorReport80MyalbumDeteleResultId, \
           (MyPhoneDataReportCode::Result result, int done, int failed), (result, done, failed)) \
    REPORT( 8018, TANDOR_REPORT_80_MYALBUM_UPLOAD_ID, ReportTandorReport80MyalbumUploadId, (int count), (count)) \
    REPORT( 8019, TANDOR_REPORT_80_MYALBUM_UPLOAD_RESULT_ID, ReportTandorReport80MyalbumUploadResultId, \
           (MyPhoneDataReportCode::Result result, int done, int failed, int skipped), (result, done, failed, skipped)) \
    REPORT( 8020, TANDOR_REPORT_80_MYALBUM_CANCEL_UPLOAD_ID, ReportTandorReport80MyalbumCancelUploadId, (), ()) \
    REPORT( 8021, TANDOR_REPORT_80_MYALBUM_CLICK_TITLE_BUTTON_ID, ReportTandorReport80MyalbumClickTitleButtonId, \
           (), ()) \
    REPORT( 8022, TANDOR_REPORT_80_MYALBUM_AUTOMATIC_BACKUP_ID, ReportTandorReport80MyalbumAutomaticBackupId, \
           (int enabled), (enabled))

/// The phone's music.
#define TANDOR_REPORTS_MUSIC(REPORT) \
    REPORT( 8200, TANDOR_REPORT_80_MYMUSIC_ENTER_ID, ReportTandorReport80MymusicEnterId, (), ()) \
    REPORT( 8201, TANDOR_REPORT_80_MYMUSIC_OPEN_ID, ReportTandorReport80MymusicOpenId, (), ()) \
    REPORT( 8202, TANDOR_REPORT_80_MYMUSIC_DISCONNECTED_ID, ReportTandorReport80MymusicDisconnectedId, \
           (int reason), (reason)) \
    REPORT( 8203, TANDOR_REPORT_80_MYMUSIC_OPEN_RESULT_ID, ReportTandorReport80MymusicOpenResultId, \
           (MyPhoneDataReportCode::Result result, int errorCode, int duration), (result, errorCode, duration)) \
    REPORT( 8204, TANDOR_REPORT_80_MYMUSIC_SONG_COUNT_ID, ReportTandorReport80MymusicSongCountId, \
           (int count), (count)) \
    REPORT( 8205, TANDOR_REPORT_80_MYMUSIC_REFRESH_ID, ReportTandorReport80MymusicRefreshId, (), ()) \
    REPORT( 8206, TANDOR_REPORT_80_MYMUSIC_SET_PATH_IN_SETTING_ID, ReportTandorReport80MymusicSetPathInSettingId, \
           (const std::wstring& path), (path)) \
    REPORT( 8207, TANDOR_REPORT_80_MYMUSIC_OPEN_PATH_IN_SETTING_ID, ReportTandorReport80MymusicOpenPathInSettingId, \
           (), ()) \
    REPORT( 8208, TANDOR_REPORT_80_MYMUSIC_BACKUP_ID, ReportTandorReport80MymusicBackupId, (int count), (count)) \
    REPORT( 8209, TANDOR_REPORT_80_MYMUSIC_BACKUP_RESULT_ID, ReportTandorReport80MymusicBackupResultId, \
           (MyPhoneDataReportCode::Result result, int done, int failed, int skipped), (result, done, failed, skipped)) \
    REPORT( 8210, TANDOR_REPORT_80_MYMUSIC_CANCEL_BACKUP_ID, ReportTandorReport80MymusicCancelBackupId, (), ()) \
    REPORT( 8211, TANDOR_REPORT_80_MYMUSIC_DOUBLE_CLICK_PHOTO_ID, ReportTandorReport80MymusicDoubleClickPhotoId, \
           (), ()) \
    REPORT( 8212, TANDOR_REPORT_80_MYMUSIC_DELETE_ID, ReportTandorReport80MymusicDeleteId, (int count), (count)) \
    REPORT( 8213, TANDOR_REPORT_80_MYMUSIC_DELETE_RESULT_ID, ReportTandorReport80MymusicDeleteResultId, \
           (MyPhoneDataReportCode::Result result, int done, int failed), (result, done, failed))

/// The phone's videos.
#define TANDOR_REPORTS_VIDEO(REPORT) \
    REPORT( 8300, TANDOR_REPORT_80_MYVIDEO_ENTER_ID, ReportTandorReport80MyVideoEnterId, (), ()) \
    REPORT( 8301, TANDOR_REPORT_80_MYVIDEO_OPEN_ID, ReportTandorReport80MyvideoOpenId, (), ()) \
    REPORT( 8302, TANDOR_REPORT_80_MYVIDEO_DISCONNECTED_ID, ReportTandorReport80MyvideoDisconnectedId, \
           (int reason), (reason)) \
    REPORT( 8303, TANDOR_REPORT_80_MYVIDEO_OPEN_RESULT_ID, ReportTandorReport80MyvideoOpenResultId, \
           (MyPhoneDataReportCode::Result result, int errorCode, int duration), (result, errorCode, duration)) \
    REPORT( 8304, TANDOR_REPORT_80_MYVIDEO_SONG_COUNT_ID, ReportTandorReport80MyvideoSongCountId, \
           (int count), (count)) \
    REPORT( 8305, TANDOR_REPORT_80_MYVIDEO_REFRESH_ID, ReportTandorReport80MyvideoRefreshId, (), ()) \
    REPORT( 8306, TANDOR_REPORT_80_MYVIDEO_SET_PATH_IN_SETTINGS_ID, ReportTandorReport80MyvideoSetPathInSettingsId, \
           (const std::wstring& path), (path)) \
    REPORT( 8307, TANDOR_REPORT_80_MYVIDEO_OPEN_PATH_IN_SETTINGS_ID, ReportTandorReport80MyvideoOpenPathInSettingsId, \
           (), ()) \
    REPORT( 8308, TANDOR_REPORT_80_MYVIDEO_BACKUP_ID, ReportTandorReport80MyvideoBackupId, (int count), (count)) \
    REPORT( 8309, TANDOR_REPORT_80_MYVIDEO_BACKUP_RESULT_ID, ReportTandorReport80MyvideoBackupResultId, \
           (MyPhoneDataReportCode::Result result, int done, int failed, int skipped), (result, done, failed, skipped)) \
    REPORT( 8310, TANDOR_REPORT_80_MYVIDEO_CANCEL_BACKUP_ID, ReportTandorReport80MyvideoCancelBackupId, (), ()) \
    REPORT( 8311, TANDOR_REPORT_80_MYVIDEO_DOUBLE_CLICK_PHOTO_ID, ReportTandorReport80MyvideoDoubleClickPhotoId, \
           (), ()) \
    REPORT( 8312, TANDOR_REPORT_80_MYVIDEO_DELETE_ID, ReportTandorReport80MyvideoDeleteId, (int count), (count)) \
    REPORT( 8313, TANDOR_REPORT_80_MYVIDEO_DELETE_RESULT_ID, ReportTandorReport80MyvideoDeleteResultId, \
           (MyPhoneDataReportCode::Result result, int done, int failed), (result, done, failed)) \
    REPORT( 8314, TANDOR_REPORT_80_MYVIDEO_UPLOAD_ID, ReportTandorReport80MyvideoUploadId, (int count), (count)) \
    REPORT( 8315, TANDOR_REPORT_80_MYVIDEO_UPLOAD_RESULT_ID, ReportTandorReport80MyvideoUploadResultId, \
           (MyPhoneDataReportCode::Result result, int done, int failed, int skipped), (result, done, failed, skipped)) \
    REPORT( 8316, TANDOR_REPORT_80_MYVIDEO_CANCEL_UPLOAD_ID, ReportTandorReport80MyvideoCancelUploadId, (), ())

/// The short view of a phone.
#define TANDOR_REPORTS_BRIEF(REPORT) \
    REPORT( 8400, TANDOR_REPORT_80_PHONE_BRIEF_CLICK_ID, ReportTandorReport80PhoneBriefClickId, \
           (const std::wstring& item), (item)) \
    REPORT( 8401, TANDOR_REPORT_80_PHONE_BRIEF_ENTER_ID, ReportTandorReport80PhoneBriefEnterId, (), ())

/// Connections and transfers.
#define TANDOR_REPORTS_TRANSFER(REPORT) \
    REPORT( 9100, TANDOR_REPORT_90_HANDOFF_CONNECT_DATA_ID, ReportTandorReport90HandoffConnectDataId, \
           (const HandoffReportData::ConnectReportDataStru& data), (data)) \
    REPORT( 9101, TANDOR_REPORT_90_HANDOFF_PAIR_PERFORM_ID, ReportTandorReport90HandoffPairPerformId, \
           (const HandoffReportData::PairPerformData& data), (data)) \
    REPORT( 9102, TANDOR_REPORT_90_HANDOFF_DISCONNECT_TYPE_ID, ReportTandorReport90HandoffDisconnectTypeId, \
           (int deviceType, int disconnectType), (deviceType, disconnectType)) \
    REPORT( 9103, TANDOR_REPORT_90_HANDOFF_UPGRADE_ID, ReportTandorReport90HandoffUpgradeId, \
           (const HandoffReportData::UpgradeReportData& data), (data)) \
    REPORT( 9200, TANDOR_REPORT_90_HANDOFF_SHARE_SINGLE_FILE_ID, ReportTandorReport90HandoffShareSingleFileId, \
           (const HandoffReportData::ShareFileReportData& data), (data)) \
    REPORT( 9201, TANDOR_REPORT_90_HANDOFF_TRANS_PERFORM_ID, ReportTandorReport90HandoffTransPerformId, \
           (const HandoffReportData::TransPerformData& data), (data))

/// Casting the screen.
#define TANDOR_REPORTS_CASTING(REPORT) \
    REPORT(10000, TANDOR_REPORT_100_KOCAST_START_RESULT_DATA_ID, ReportTandorReport100KocastStartResultDataId, \
           (const HandoffReportData::CastStartReportData& data), (data)) \
    REPORT(10001, TANDOR_REPORT_100_KOCAST_OPEN_OR_CLOSE_DATA_ID, ReportTandorReport100KocastOpenOrCloseDataId, \
           (bool open), (open)) \
    REPORT(10002, TANDOR_REPORT_100_KOCAST_MAX_OR_MIN_COUNT_DATA_ID, ReportTandorReport100KocastMaxOrMinCountDataId, \
           (int maximized, int minimized), (maximized, minimized)) \
    REPORT(10003, TANDOR_REPORT_100_KOCAST_FIRST_USE_KEYBOARD_DATA_ID, ReportTandorReport100KocastFirstUseKeyboardDataId, \
           (unsigned long long sinceStart), (sinceStart)) \
    REPORT(10004, TANDOR_REPORT_100_KOCAST_FIRST_USE_MOUSE_DATA_ID, ReportTandorReport100KocastFirstUseMouseDataId, \
           (unsigned long long sinceStart), (sinceStart)) \
    REPORT(10005, TANDOR_REPORT_100_KOCAST_FIRST_USE_TOUCH_DATA_ID, ReportTandorReport100KocastFirstUseTouchDataId, \
           (unsigned long long sinceStart), (sinceStart)) \
    REPORT(10006, TANDOR_REPORT_100_KOCAST_FIRST_USE_THREE_NAVIGATION_DATA_ID, ReportTandorReport100KocastFirstUseThreeNavigationDataId, \
           (unsigned long long sinceStart), (sinceStart)) \
    REPORT(10007, TANDOR_REPORT_100_KOCAST_VIEW_HELP_DATA_ID, ReportTandorReport100KocastViewHelpDataId, (), ()) \
    REPORT(10008, TANDOR_REPORT_100_WIFI_P2P_CONNECT_DATA_ID, ReportTandorReport100WifiP2PConnectDataId, \
           (const HandoffReportData::WifiP2PConnectData& data), (data)) \
    REPORT(10010, TANDOR_REPORT_100_KOCAST_HARDWARE_DRIVEN_RESULT, ReportTandorReport100KocastHardwareDrivenResult, \
           (HandoffReportData::MIRROR_HARDWARE_STATUS status), (status)) \
    REPORT(10100, TANDOR_REPORT_90_HANDOFF_DRAGE_IN_FILE_ID, Report_TANDOR_REPORT_90_HANDOFF_DRAGE_IN_FILE_ID, \
           (const HandoffReportData::DragFileReportData& data), (data)) \
    REPORT(10101, TANDOR_REPORT_90_HANDOFF_DRAGE_OUT_FILE_ID, Report_TANDOR_REPORT_90_HANDOFF_DRAGE_OUT_FILE_ID, \
           (const HandoffReportData::DragFileReportData& data), (data)) \
    REPORT(10200, TANDOR_REPORT_100_KOSIGHT_CONNECTION_STATUS_ID, ReportTandorReport100KosightConnectionStatusId, \
           (int status, int errorCode), (status, errorCode)) \
    REPORT(10201, TANDOR_REPORT_100_MSDP_STATUS, ReportTandorReport100MSDPStatus, \
           (int status, std::string detail), (status, detail)) \
    REPORT(10207, TANDOR_REPORT_101_OPEN_FILE_DATA_ID, ReportTandorReport101OpenFileDataId, \
           (int result, std::string extension, std::string application), (result, extension, application)) \
    REPORT(11014, TANDOR_REPORT_WIFI_P2P_DISCONNECT_RESON, ReportWifiP2pDisconnectReson, \
           (int reason, int bussnessType, std::string detail), (reason, bussnessType, detail)) \
    REPORT(11017, TANDOR_REPORT_ANFC_EVENT, ReportAnfcEvent, (HandoffReportData::NFCOpenBluetoothData& data), (data))

/// Windows of the phone's applications.
#define TANDOR_REPORTS_WINDOWS(REPORT) \
    REPORT(12000, TANDOR_REPORT_120_MULTI_WIN_ADD_APP_DATA_ID, ReportTandorReport120MultiWinAddAppDataId, \
           (const std::string& application, int windowCount), (application, windowCount)) \
    REPORT(12001, TANDOR_REPORT_120_MULTI_WIN_CLOSE_WIN_DATA_ID, ReportTandorReport120MultiWinCloseWinDataId, \
           (const std::string& application, int windowCount), (application, windowCount)) \
    REPORT(12005, TANDOR_REPORT_120_MULTI_WIN_REC_PHONE_EVENT_DATA_ID, ReportTandorReport120MultiWinRecPhoneEventDataId, \
           (int event), (event)) \
    REPORT(12008, TANDOR_REPORT_120_MULTI_WIN_TOPMOST_DATA_ID, ReportTandorReport120MultiWinTopmostDataId, \
           (bool topmost), (topmost)) \
    REPORT(12020, TANDOR_REPORT_120_MULTI_WIN_LOCK_SCREEN_DATA_ID, ReportTandorReport120MultiWinLockScreenDataId, \
           (bool locked), (locked)) \
    REPORT(13000, TANDOR_REPORT_130_MULTI_WIN_FAULT_DATA_ID, ReportTandorReport130MultiWinFaultDataId, \
           (int fault, const std::string& reason), (fault, reason)) \
    REPORT(14000, TANDOR_REPORT_140_MULTI_WIN_PERFORMANCE_ID, ReportTandorReport140MultiWinPerformanceID, \
           (const HandoffReportData::PerformanceRecord& data), (data)) \
    REPORT(14001, TANDOR_REPORT_140_MULTI_WIN_CLICK_ROTATE, ReportTandorReport140MultiWinClickRotate, (), ()) \
    REPORT(14002, TANDOR_REPORT_140_MULTI_WIN_CLICK_BACK, ReportTandorReport140MultiWinClickBack, (), ())

/// All of them, in the order of their numbers.
#define TANDOR_REPORT_TYPES(REPORT) \
    TANDOR_REPORTS_SHARING(REPORT) TANDOR_REPORTS_PAIRING(REPORT) TANDOR_REPORTS_ALBUM(REPORT) \
    TANDOR_REPORTS_MUSIC(REPORT) TANDOR_REPORTS_VIDEO(REPORT) TANDOR_REPORTS_BRIEF(REPORT) \
    TANDOR_REPORTS_TRANSFER(REPORT) TANDOR_REPORTS_CASTING(REPORT) TANDOR_REPORTS_WINDOWS(REPORT)

/// The named-key reports: the fault event, the function that sends it, its parameters, what goes out of them, and the keys.
#define TANDOR_KEYED_REPORTS(REPORT) \
    REPORT(992614403, ReportBusinessDuration, (int deviceType, int mode, std::string duration), \
           (deviceType, mode, duration), ("deviceType", "mode", "duration")) \
    REPORT(992614405, ReportModeSwitch, (int deviceType, int oldValue, int newValue, int type), \
           (deviceType, oldValue, newValue, type), ("deviceType", "old", "new", "type")) \
    REPORT(992614412, ReportConnectEntry, (int deviceType, int type), \
           (deviceType, type), ("deviceType", "type")) \
    REPORT(992614414, ReportModeResult, (int deviceType, int usbConnect, int mode, int result), \
           (deviceType, usbConnect, mode, result), ("deviceType", "usbConnect", "mode", "result")) \
    REPORT(992614415, ReportAudioSwitch, (int deviceType, int oldValue, int newValue, int type), \
           (deviceType, oldValue, newValue, type), ("deviceType", "old", "new", "type")) \
    REPORT(992614416, ReportDisconnect, (int deviceType, int mode, int disconnectType), \
           (deviceType, mode, disconnectType), ("deviceType", "mode", "disconnectType")) \
    REPORT(992614417, ReportErrorBeforeFind, (int deviceType, int type), \
           (deviceType, type), ("deviceType", "type"))
// clang-format on

/// The numbers of the statistics.
enum TandorReportTypeEnum : int {
// The text goes with each enumerator into the reference.
#define TANDOR_REPORT_ENUMERATOR(number, type, function, parameters, sent) type = (number), /**< Sent by function. */
    TANDOR_REPORT_TYPES(TANDOR_REPORT_ENUMERATOR)
#undef TANDOR_REPORT_ENUMERATOR
};

/// What the statistics about a phone take.
namespace MyPhoneDataReportCode {

/// How a step ended.
enum Result {
    RESULT_SUCCESS = 0,   ///< done; the error code beside it is 0
    RESULT_FAILED = 1,    ///< the error code beside it says why
    RESULT_CANCELED = 2,  ///< by the user
    RESULT_TIMEOUT = 3,   ///< the phone did not answer in time
};

/// What the connection to the phone became.
enum ConnectState {
    CONNECT_STATE_DISCONNECTED = 0,  ///< broken or closed
    CONNECT_STATE_CONNECTING = 1,    ///< under way
    CONNECT_STATE_CONNECTED = 2,     ///< ready for use
};

/// Who ended a pairing.
enum UnpairAction {
    UNPAIR_BY_PC = 0,       ///< the user, at this PC
    UNPAIR_BY_PEER = 1,     ///< the user, at the phone
    UNPAIR_BY_ACCOUNT = 2,  ///< the account, when the user signed out or changed it
};

}  // namespace MyPhoneDataReportCode

/// What the report functions take when it is more than a few values. The members are sent in the order in which they
/// stand here. Results are 0 for success; an errorCode is 0 unless the result is a failure; times are in milliseconds.
namespace HandoffReportData {

/// How the picture of a mirrored screen is decoded.
enum MIRROR_HARDWARE_STATUS {
    MIRROR_HARDWARE_UNSUPPORTED = 0,  ///< the machine has no decoder for it
    MIRROR_HARDWARE_DRIVEN = 1,       ///< the hardware decodes
    MIRROR_HARDWARE_FAILED = 2,       ///< the hardware's decoder failed; software decodes
};

/// One attempt to connect to a paired device.
struct ConnectReportDataStru {
    int deviceType = 0;               ///< the peer's kind (BluetoothDeviceSummary::DevType)
    int connectType = 0;              ///< how it was begun: 0 by the user, 1 again after a break, 2 by touching (NFC)
    int result = 0;                   ///< 0 success
    int errorCode = 0;                ///< 0 unless the result is a failure
    unsigned long long duration = 0;  ///< milliseconds
    std::string modelName;            ///< the peer's
};

/// The steps of one pairing.
struct PairPerformData {
    int deviceType = 0;                       ///< the peer's kind (BluetoothDeviceSummary::DevType)
    int result = 0;                           ///< 0 success
    int errorCode = 0;                        ///< 0 unless the result is a failure
    unsigned long long discoverDuration = 0;  ///< milliseconds until the peer was found
    unsigned long long verifyDuration = 0;    ///< milliseconds that the user and both sides took to confirm
    unsigned long long connectDuration = 0;   ///< milliseconds until the connection stood
};

/// One upgrade of the feature on either side.
struct UpgradeReportData {
    int deviceType = 0;       ///< the peer's kind (BluetoothDeviceSummary::DevType)
    int result = 0;           ///< 0 success
    std::string fromVersion;  ///< dotted
    std::string toVersion;    ///< dotted
};

/// One file that was shared by itself.
struct ShareFileReportData {
    int direction = 0;                ///< 0 sent, 1 received
    int result = 0;                   ///< 0 success
    int errorCode = 0;                ///< 0 unless the result is a failure
    int fileType = 0;                 ///< ZellTransferFileType
    unsigned long long fileSize = 0;  ///< bytes
};

/// One transfer of files.
struct TransPerformData {
    int direction = 0;                 ///< 0 sent, 1 received
    int result = 0;                    ///< 0 success
    int fileCount = 0;                 ///< files of the transfer
    unsigned long long totalSize = 0;  ///< bytes
    unsigned long long duration = 0;   ///< milliseconds
    double averageRate = 0;            ///< bytes per second
};

/// The start of one casting session.
struct CastStartReportData {
    int deviceType = 0;               ///< the peer's kind (BluetoothDeviceSummary::DevType)
    int result = 0;                   ///< 0 success
    int errorCode = 0;                ///< 0 unless the result is a failure
    unsigned long long duration = 0;  ///< milliseconds
};

/// The connection of one casting session over Wi-Fi P2P.
struct WifiP2PConnectData {
    int isSuccess = 0;     ///< 1 connected, 0 not
    int errorCode = 0;     ///< 0 unless the result is a failure
    int bussnessType = 0;  ///< what the connection is for, as the casting module numbers it
    int mirrorType = 0;    ///< mirrored or extended, as the casting module numbers it
    int countryCode = 0;   ///< of the radio channels in use, as the casting module numbers it
};

/// Files dragged into or out of a mirrored screen.
struct DragFileReportData {
    int fileCount = 0;                 ///< files of the transfer
    unsigned long long totalSize = 0;  ///< bytes
    int result = 0;                    ///< 0 success
    int errorCode = 0;                 ///< 0 unless the result is a failure
    unsigned long long duration = 0;   ///< milliseconds
};

/// A touch of the device that had to switch Bluetooth on.
struct NFCOpenBluetoothData {
    int result = 0;                   ///< 0 success
    int errorCode = 0;                ///< 0 unless the result is a failure
    int bluetoothState = 0;           ///< before the touch: 0 off, 1 on, 2 no adapter
    unsigned long long duration = 0;  ///< milliseconds
};

/// How the windows of several applications performed, over one session.
struct PerformanceRecord {
    int windowCount = 0;              ///< the most at one time
    unsigned long long duration = 0;  ///< milliseconds
    double averageFrameRate = 0;      ///< frames per second
    double averageDelay = 0;          ///< milliseconds from the device's picture to the screen
    int lostFrames = 0;               ///< pictures that were never shown
};

/// Sums over the transfers of a process.
struct TransferCounts {
    unsigned long long files = 0;     ///< in both directions
    unsigned long long bytes = 0;     ///< in both directions
    unsigned long long duration = 0;  ///< milliseconds, of all together
};

/// The transfers of a process so far.
struct TransferRecord {
    int sentFiles = 0;        ///< done
    int receivedFiles = 0;    ///< done
    int failedFiles = 0;      ///< in either direction
    int lastResult = -1;      ///< -1: no transfer yet
    int linkType = 4;         ///< 4: not known
    std::string peerModel;    ///< of the last transfer's peer
    std::string peerVersion;  ///< of the last transfer's peer, dotted
    std::string traceId;      ///< of the last transfer
    TransferCounts total;     ///< since the process began
};

}  // namespace HandoffReportData
