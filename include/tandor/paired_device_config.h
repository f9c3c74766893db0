/// @file
/// What is remembered about paired devices: their records and named attributes in the device manager, and what the
/// registry keeps beside them.
#pragma once

#include <string>
#include <vector>

#include "tandor/api.h"
#include "tandor/device_summary.h"

namespace Tandor {

/// Which of a device's states is synchronised.
enum class DeviceStateType : int {
    UNKNOWN_STATE = 0,             ///< never stored
    MULTI_DEVICE_SYNC_SWITCH = 1,  ///< attribute "MultiDeviceSyncSwitch"
};

}  // namespace Tandor

/// A device is named by the key under which the device manager keeps it; the name is passed on unchanged. A member that
/// says bool returns whether the device manager reported success (0) unless its comment says otherwise, and each call
/// writes what it did, with the manager's code, to the host log at level 3. "The sharing key" is
/// "\SOFTWARE\Vextro\Pelora\KoShare" in the user's hive (HKEY_USERS).
///
/// Threads and processes: all members are static, keep no state, and may be called from any thread of any process. One
/// that reads a record, changes it and writes it back is not one step: of two at the same time on one device the later
/// wins. Only std::bad_alloc may leave.
class TANDOR_API TandorConfig {
public:
    // ---- Present devices: records

    /// Reads the record. `device` stays as it was when that fails; `status` is the device manager's code.
    /// @{
    static bool GetPairDeviceParam(const std::string& deviceName, BluetoothDeviceSummary& device);
    static bool GetPairDeviceParam(const std::string& deviceName, BluetoothDeviceSummary& device, int& status);
    /// @}

    /// Stores the record. What is stored under the name but describes another device is deleted first, with its
    /// attributes: a device must not inherit another's trust by its name. Two records describe different devices when
    /// the first of PeerUuid, MacAddrInt and MacAddr that both know differs. When the list of devices cannot be read,
    /// nothing is written.
    /// @{
    static bool SetPairDeviceParam(const std::string& deviceName, const BluetoothDeviceSummary& device);
    static bool SetPairDeviceParam(const std::string& deviceName, const BluetoothDeviceSummary& device, int& status);
    /// @}

    /// Delete the device, then reset values of the sharing key, when there is that key: numbers to 0, texts to "No".
    /// Both return whether the last of these writes succeeded (false without the key), whatever the deletion gave.
    /// DeletePairDevice resets PCIsAuthorState; DeletePairDeviceParam PCRSAKeyIsPairState, PCRSAPrivateKeyCipher,
    /// PCRSAPublicKeyCipher and PhoneRSAPublicKeyCipher (texts), and PCIsAuthorState.
    /// @{
    static bool DeletePairDevice(const std::string& deviceName);
    static bool DeletePairDeviceParam(const std::string& deviceName);
    /// @}

    /// The record's IsSupportCoreLane; false also when it cannot be read.
    static bool GetPresentDeviceCoreLaneAbility(const std::string& deviceName);

    // ---- Present devices: attributes

    /// The peer's application is too old or too new for this side. A getter whose read fails returns false.
    /// @{
    static void SetApkVersionNotMatch(const std::string& deviceName, bool value);
    static bool IsApkVersionNotMatch(const std::string& deviceName);
    /// @}

    /// Attribute "isConnected".
    static void SetPairDeviceConnect(const std::string& deviceName, bool value);
    /// Attribute "devName"; the log shows the name masked.
    static bool SetPairDevicebluetoothName(const std::string& deviceName, const std::string& bluetoothName);
    /// Whether the device's screen can be mirrored. A getter whose read fails returns false.
    /// @{
    static bool SetIsPhoneMirrorSupported(const std::string& deviceName, bool value);
    static bool GetIsPhoneMirrorSupported(const std::string& deviceName);
    /// @}

    /// Attribute "IsFileSystemSupported": the device shows its files.
    static bool SetIsFileSystemSupported(const std::string& deviceName, bool value);
    /// Attribute "PairedIsAuthorized".
    static bool SetPairedIsAuthorized(const std::string& deviceName, bool value);
    /// These two write: they set "PairedIsAuthorized" and "IsConnected" to false. True only when the device manager,
    /// whose operation takes the value by reference, turned it into true and reported success.
    /// @{
    static bool GetPairedIsAuthorized(const std::string& deviceName);
    static bool GetPairedDevConnectState(const std::string& deviceName);
    /// @}

    /// Times are numbers that are kept as they are given. All three attributes are written, in the order of the
    /// arguments, also when one fails; true when all were.
    static bool SetDevicePairedTimeCycle(const std::string& deviceName, bool trusted,
                                         const unsigned long long& pairedTime, const unsigned long long& timeCycle);
    /// What cannot be read is false or 0; true when all three could.
    static bool GetDevicePairedTimeCycle(const std::string& deviceName, bool& trusted, unsigned long long& pairedTime,
                                         unsigned long long& timeCycle);
    /// Whether the device can be connected to again by itself. A getter whose read fails returns true.
    /// @{
    static bool SetIsReConnectSupported(const std::string& deviceName, bool value);
    static bool GetIsReConnectSupported(const std::string& deviceName);
    /// @}

    /// Whether the user lets the device connect again by itself.
    static void SetReconnectPermission(const std::string& deviceName, bool permit);
    /// False for the text "0" or "false", true for any other and when the read fails.
    static bool GetReconnectPermission(const std::string& deviceName);
    /// Whether a business of the feature uses the device. True always, also when nothing was stored.
    static bool SetBussinessUseState(const std::string& deviceName, bool value);
    /// What SetBussinessUseState stored; false when the read fails.
    static bool GetBussinessUseState(const std::string& deviceName);
    /// A type other than MULTI_DEVICE_SYNC_SWITCH is refused: false and nothing stored, or 0. A getter whose read fails
    /// returns 0.
    /// @{
    static bool SetSyncDeviceState(const std::string& deviceName, Tandor::DeviceStateType type, int value);
    static int GetSyncDeviceState(const std::string& deviceName, Tandor::DeviceStateType type);
    /// @}

    // ---- Album times, in seconds since 1970 (UTC) as decimal text

    /// With `opened` the time of this opening goes to the sharing key's text "OpenAlbumTime", "OpenMusicAlbumTime" or
    /// "OpenVideoTime"; UpdateOpenAlbumTime also writes LastAlbumOpenTime and, the first time, FirstAlbumOpenTime.
    /// Without it (closed) the seconds since that opening are added to the device's OpenAlbumTimespan,
    /// OpenMusicAlbumTimespan or OpenVideoTimespan, and the text is removed; false when nothing was open. A clock that
    /// was set back counts 0 seconds. Of one kind one is open at a time for each user.
    /// @{
    static bool UpdateOpenAlbumTime(const std::string& deviceName, bool opened);
    static bool UpdateOpenMusicAlbumTime(const std::string& deviceName, bool opened);
    static bool UpdateOpenVideoTime(const std::string& deviceName, bool opened);
    /// @}

    /// Whether LastAlbumOpenTime (or, where that cannot be read, FirstAlbumOpenTime) is more than seven days past.
    /// False for a device whose album was never opened.
    static bool IsLongTimeAfterLastAlbumOpen(const std::string& deviceName);

    // ---- Bound media-playback devices

    /// All bound devices; on failure the list stays as it was.
    static bool GetKoPlayDevice(std::vector<BluetoothDeviceSummary>& devices);
    /// One bound device; on failure the record stays as it was.
    static bool GetKoPlayDevice(const std::string& deviceName, BluetoothDeviceSummary& device);
    /// Writes the members from DevType to IsTrusted; those behind them stay what they are in the stored record. A
    /// device that is not there is added.
    static bool SetKoPlayDevice(const std::string& deviceName, const BluetoothDeviceSummary& device);
    /// The record's ExtInfo. False for a device that is not there; `extInfo` is then as it was.
    /// @{
    static bool SetKoPlayDeviceExtInfo(const std::string& deviceName, const std::string& extInfo);
    static bool GetKoPlayDeviceExtInfo(const std::string& deviceName, std::string& extInfo);
    /// @}

    /// Stores both numbers as the record's PairedTime and PairedTimeCycle. False for a device that is not there.
    static bool SetKoPlayDevicePairedTimeCycle(const std::string& deviceName, const unsigned long long& pairedTime,
                                               const unsigned long long& timeCycle);
    /// False also when the record has no such times; the out-parameters are then as they were.
    static bool GetKoPlayDevicePairedTimeCycle(const std::string& deviceName, unsigned long long& pairedTime,
                                               unsigned long long& timeCycle);
    /// Copy the whole record: Backup from the present device to the bound one, Restore back. Attributes are not copied.
    /// @{
    static bool BackupCurrentDataToKoplayDevice(const std::string& deviceName);
    static bool RestoreDataToKoplayDevice(const std::string& deviceName);
    /// @}

    /// Whether the bound device of that name is authorised (IsAuthor). False when the list cannot be read.
    static bool IsKoPlayDeviceAuthed(const std::string& deviceName);
    /// Whether it is authorised (IsAuthor) by its account's SHA-256: IsSha256Auth is set and AuthDigest holds 64
    /// hexadecimal digits. False when the list cannot be read.
    static bool IsKoPlayDeviceSha256Authed(const std::string& deviceName);
    /// How many bound devices the user has shielded (ShieldState is not 0); 0 when the list cannot be read.
    static int GetShieldDevicesNumber();
    /// Deletes a bound device. `summary` is its name. A trusted device goes only with `deleteTrustDevice`.
    static bool DeleteKoPlayDeviceBySummary(const std::string& summary, bool deleteTrustDevice);
    /// The bound record's IsSupportCoreLane; false also when it cannot be read.
    static bool GetBoundDeviceCoreLaneAbility(const std::string& deviceName);
    /// The attribute "hks_keystore". Its content is never logged.
    /// @{
    static bool GetKoPlayKeyStoreData(const std::string& deviceName, std::string& data);
    static bool SetKoPlayKeyStoreData(const std::string& deviceName, const std::string& data);
    /// @}
};

/// What the registry keeps about a media-playback device, in the key of the device's name below the sharing key (in the
/// name '%', '\' and NUL stand as "%25", "%5C" and "%00"). False, with a line in the host log, for a name that is no
/// key's: empty, not UTF-8, or longer than 255 units.
///
/// Reads the numbers DevType, ShareType, ReverseChannel, Wifi5GAbility, IsPaired and PCIsAuthorState (AuthorState) into
/// the record; a value that is missing leaves its member. False when there is no such key.
TANDOR_API bool GetKoPlayDeviceHelper(const std::string& deviceName, BluetoothDeviceSummary& device);
/// Writes PairDeviceAccountInfo (text: AccountInfo, which must be UTF-8), PairedDeviceIsTrusted (IsTrusted as 1 or 0)
/// and PairedDeviceTrusteType (TrustType). True when all three were written.
TANDOR_API bool SetKoPlayDeviceHelper(const std::string& deviceName, const BluetoothDeviceSummary& device);
