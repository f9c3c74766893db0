#include "tandor/paired_device_config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pelora/device_manager.h"
#include "pelora/registry.h"
#include "support/host_log.h"

namespace {

using DE::Registry;
using DE::RegistryRoot;
using tandor::test::HostLog;
using testing::ElementsAre;
using testing::IsEmpty;

using Strings = std::vector<std::wstring>;

const std::wstring kShareKey = L"\\SOFTWARE\\Vextro\\Pelora\\KoShare";
const std::string kDevice =
    "Pr\xC3\xBC"
    "fling \xE6\x89\x8B";
const std::string kUnknown = "unknown device";

DM::DeviceMgr& Manager() { return DM::DeviceMgr::GetInstance(); }

std::string Stored(const std::string& key) {
    std::string text = "(none)";
    return Manager().GetPresentDeviceInfoByName(kDevice, key, text) == 0 ? text : "(none)";
}

void Put(const std::string& key, const std::string& text) {
    ASSERT_EQ(Manager().SetPresentDeviceInfoByName(kDevice, key, text), 0);
}

class PairedDeviceConfig : public testing::Test {
protected:
    void SetUp() override {
        TearDown();
        ASSERT_EQ(Manager().SetPresentDeviceInfo(kDevice, {}), 0);
        log_.Take();
    }
    void TearDown() override {
        [[maybe_unused]] int ignored = Manager().DeletePresentDeviceInfo(kDevice);
        ignored = Manager().DeleteBoundDeviceInfo(kDevice, true);
        Registry::DeleteKey(RegistryRoot::kUser, kShareKey);
    }

    HostLog log_;
};

// Each setter: what it returns for a device and for an unknown one, where the value lands as which text, what is
// logged.
TEST_F(PairedDeviceConfig, SettersWriteTheirAttributeAndSaySo) {
    using Config = TandorConfig;
    struct Case {
        std::function<bool(const std::string&)> set;
        const char* key;
        const char* text;
        std::wstring logged;
        std::wstring function;
        std::wstring before_result = L" ,ret:";
        bool always = false;
    };
    const Case cases[] = {
        {[](auto& d) { return Config::SetPairDevicebluetoothName(d, "abc"); }, "devName", "abc",
         L"save bluetoothName=a*c", L"SetPairDevicebluetoothName"},
        {[](auto& d) { return Config::SetIsPhoneMirrorSupported(d, true); }, "IsPhoneMirrorSupported", "1",
         L"save phoneMirrorSupported=1", L"SetIsPhoneMirrorSupported"},
        {[](auto& d) { return Config::SetIsFileSystemSupported(d, true); }, "IsFileSystemSupported", "1",
         L"save FileSystemSupporte=1", L"SetIsFileSystemSupported"},
        {[](auto& d) { return Config::SetPairedIsAuthorized(d, true); }, "PairedIsAuthorized", "1",
         L"save isAuthorized=1", L"SetPairedIsAuthorized"},
        {[](auto& d) { return Config::SetIsReConnectSupported(d, false); }, "PairedDeviceIsReconnect", "0",
         L"save IsReconnect=0", L"SetIsReConnectSupported"},
        {[](auto& d) { return Config::SetBussinessUseState(d, true); }, "PairedDeviceBussUseState", "1",
         L"save UseState=1", L"SetBussinessUseState", L" ,ret:", true},
        {[](auto& d) { return Config::SetSyncDeviceState(d, Tandor::DeviceStateType::MULTI_DEVICE_SYNC_SWITCH, -3); },
         "MultiDeviceSyncSwitch", "-3", L"SetSyncDeviceState MULTI_DEVICE_SYNC_SWITCH value=-3", L"SetSyncDeviceState"},
    };
    for (const Case& test : cases) {
        EXPECT_TRUE(test.set(kDevice)) << test.key;
        EXPECT_EQ(Stored(test.key), test.text) << test.key;
        EXPECT_EQ(test.set(kUnknown), test.always) << test.key;
        const std::wstring head = L"3 " + test.logged + test.before_result;
        const std::wstring tail = L"(TandorConfig::" + test.function + L")";
        EXPECT_THAT(log_.Take(), ElementsAre(head + L"0" + tail, head + L"1" + tail));
    }
}

TEST_F(PairedDeviceConfig, SettersWithoutAResultLogTheirFailureAlone) {
    TandorConfig::SetApkVersionNotMatch(kDevice, true);
    TandorConfig::SetPairDeviceConnect(kDevice, true);
    EXPECT_THAT(log_.Take(), IsEmpty());
    EXPECT_EQ(Stored("ApkVersionNotMatch"), "1");
    EXPECT_EQ(Stored("isConnected"), "1");
    EXPECT_EQ(Stored("IsConnected"), "(none)");
    TandorConfig::SetApkVersionNotMatch(kUnknown, true);
    TandorConfig::SetPairDeviceConnect(kUnknown, true);
    EXPECT_THAT(
        log_.Take(),
        ElementsAre(L"3 SetApkVersionNotMatch SetPresentDeviceInfoByName failed.(TandorConfig::SetApkVersionNotMatch)",
                    L"3 SetPairDeviceConnect  SetPresentDeviceInfoByName failed.(TandorConfig::SetPairDeviceConnect)"));
}

TEST_F(PairedDeviceConfig, GettersReturnTheirInitialValueWhenNothingCanBeRead) {
    struct Case {
        bool (*get)(const std::string&);
        const char* key;
        bool initial;
        std::wstring logged;
    };
    const Case cases[] = {
        {TandorConfig::IsApkVersionNotMatch, "ApkVersionNotMatch", false, L"get apkVersionNotMatch="},
        {TandorConfig::GetIsPhoneMirrorSupported, "IsPhoneMirrorSupported", false, L"get phoneMirrorSupported="},
        {TandorConfig::GetIsReConnectSupported, "PairedDeviceIsReconnect", true, L"get IsReconnect="},
        {TandorConfig::GetBussinessUseState, "PairedDeviceBussUseState", false, L"get UseState="},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(test.get(kUnknown), test.initial) << test.key;
        EXPECT_EQ(test.get(kDevice), test.initial) << test.key;
        for (const bool value : {true, false}) {
            Put(test.key, value ? "1" : "0");
            log_.Take();
            EXPECT_EQ(test.get(kDevice), value) << test.key;
            const auto lines = log_.Take();
            ASSERT_EQ(lines.size(), 1u);
            EXPECT_TRUE(lines[0].starts_with(L"3 " + test.logged + (value ? L"1(" : L"0("))) << test.key;
        }
        Put(test.key, "not a number");
        EXPECT_EQ(test.get(kDevice), test.initial) << test.key;
    }
    constexpr auto kSwitch = Tandor::DeviceStateType::MULTI_DEVICE_SYNC_SWITCH;
    EXPECT_EQ(TandorConfig::GetSyncDeviceState(kDevice, kSwitch), 0);
    EXPECT_TRUE(TandorConfig::SetSyncDeviceState(kDevice, kSwitch, 7));
    EXPECT_EQ(TandorConfig::GetSyncDeviceState(kDevice, kSwitch), 7);
    EXPECT_FALSE(TandorConfig::SetSyncDeviceState(kDevice, Tandor::DeviceStateType{9}, 8));
    EXPECT_EQ(TandorConfig::GetSyncDeviceState(kDevice, Tandor::DeviceStateType{9}), 0);
    EXPECT_EQ(Stored("MultiDeviceSyncSwitch"), "7");
}

TEST_F(PairedDeviceConfig, TwoGettersWriteFalse) {
    Put("PairedIsAuthorized", "1");
    Put("IsConnected", "1");
    log_.Take();
    EXPECT_FALSE(TandorConfig::GetPairedIsAuthorized(kDevice));
    EXPECT_FALSE(TandorConfig::GetPairedDevConnectState(kDevice));
    EXPECT_FALSE(TandorConfig::GetPairedIsAuthorized(kUnknown));
    EXPECT_EQ(Stored("PairedIsAuthorized"), "0");
    EXPECT_EQ(Stored("IsConnected"), "0");
    EXPECT_THAT(log_.Take(), ElementsAre(L"3 get isAuthorized=0 ,ret:0(TandorConfig::GetPairedIsAuthorized)",
                                         L"3 get isAuthorized=0 ,ret:0(TandorConfig::GetPairedDevConnectState)",
                                         L"3 get isAuthorized=0 ,ret:1(TandorConfig::GetPairedIsAuthorized)"));
}

TEST_F(PairedDeviceConfig, ReconnectPermissionIsWrittenAsBoolAndReadAsText) {
    EXPECT_TRUE(TandorConfig::GetReconnectPermission(kUnknown));
    TandorConfig::SetReconnectPermission(kUnknown, false);
    TandorConfig::SetReconnectPermission(kDevice, false);
    EXPECT_FALSE(TandorConfig::GetReconnectPermission(kDevice));
    EXPECT_THAT(
        log_.Take(),
        ElementsAre(L"3 read reconnect_permit failed, use default value:1(TandorConfig::GetReconnectPermission)",
                    L"3 SetValue of reconnect_permit failed(TandorConfig::SetReconnectPermission)",
                    L"3 save reconnect_permit=0(TandorConfig::SetReconnectPermission)",
                    L"3 get reconnect_permit=0(TandorConfig::GetReconnectPermission)"));
    const std::pair<const char*, bool> texts[] = {{"1", true}, {"false", false}, {"", true}, {"other", true}};
    for (const auto& [text, permitted] : texts) {
        Put("pairedDeviceReconnectPermit", text);
        EXPECT_EQ(TandorConfig::GetReconnectPermission(kDevice), permitted) << text;
    }
}

TEST_F(PairedDeviceConfig, TrustAndItsTimesAreThreeAttributes) {
    bool trusted = true;
    unsigned long long time = 1, cycle = 2;
    EXPECT_FALSE(TandorConfig::GetDevicePairedTimeCycle(kDevice, trusted, time, cycle));
    EXPECT_FALSE(trusted);
    EXPECT_EQ(time + cycle, 0u);
    log_.Take();
    EXPECT_TRUE(TandorConfig::SetDevicePairedTimeCycle(kDevice, true, 18446744073709551615u, 30));
    EXPECT_FALSE(TandorConfig::SetDevicePairedTimeCycle(kUnknown, false, 1, 2));
    const std::wstring tail = L"(TandorConfig::SetDevicePairedTimeCycle)";
    EXPECT_THAT(
        log_.Take(),
        ElementsAre(L"3 save trustedValue=1, ret: 0" + tail, L"3 save pairedTime= 18446744073709551615, ret: 0" + tail,
                    L"3 save timeCycle= 30, ret: 0" + tail, L"3 save trustedValue=0, ret: 1" + tail,
                    L"3 save pairedTime= 1, ret: 1" + tail, L"3 save timeCycle= 2, ret: 1" + tail));
    EXPECT_EQ(Stored("PairedDeviceIsTrusted"), "1");
    EXPECT_TRUE(TandorConfig::GetDevicePairedTimeCycle(kDevice, trusted, time, cycle));
    EXPECT_TRUE(trusted);
    EXPECT_EQ(time, 18446744073709551615u);
    EXPECT_EQ(cycle, 30u);
    EXPECT_THAT(log_.Take(), ElementsAre(L"3 get trustedValue=1(TandorConfig::GetDevicePairedTimeCycle)"));
}

TEST_F(PairedDeviceConfig, AnotherDeviceOfTheSameNameInheritsNothing) {
    BluetoothDeviceSummary device;
    device.PeerUuid = "one";
    device.MacAddrInt = 1;
    ASSERT_TRUE(TandorConfig::SetPairDeviceParam(kDevice, device));
    Put("PairedDeviceIsTrusted", "1");
    device.MacAddrInt = 2;  // a random address: still the same device
    ASSERT_TRUE(TandorConfig::SetPairDeviceParam(kDevice, device));
    EXPECT_EQ(Stored("PairedDeviceIsTrusted"), "1");
    log_.Take();
    device.PeerUuid = "two";
    int status = -1;
    ASSERT_TRUE(TandorConfig::SetPairDeviceParam(kDevice, device, status));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(log_.Take().at(0), L"3 device id does not match with device info(TandorConfig::SetPairDeviceParam)");
    EXPECT_EQ(Stored("PairedDeviceIsTrusted"), "(none)");
    BluetoothDeviceSummary read;
    ASSERT_TRUE(TandorConfig::GetPairDeviceParam(kDevice, read));
    EXPECT_EQ(read.PeerUuid, "two");
    EXPECT_FALSE(TandorConfig::GetPairDeviceParam(kUnknown, read, status));
    EXPECT_EQ(status, DM::DEVICE_NOT_FOUND);
    EXPECT_EQ(read.PeerUuid, "two");
}

TEST_F(PairedDeviceConfig, DeletingResetsTheSharingKeyIfThereIsOne) {
    EXPECT_FALSE(TandorConfig::DeletePairDevice(kDevice));
    EXPECT_FALSE(Registry::KeyExists(RegistryRoot::kUser, kShareKey));
    EXPECT_EQ(Stored("DevType"), "(none)");
    const auto number = [](const wchar_t* name) {
        std::uint32_t value = 99;
        Registry::GetValue(RegistryRoot::kUser, kShareKey, name, value);
        return value;
    };
    const auto text = [](const wchar_t* name) {
        std::wstring value;
        Registry::GetValue(RegistryRoot::kUser, kShareKey, name, value);
        return value;
    };
    Registry::SetValue(RegistryRoot::kUser, kShareKey, L"PCIsAuthorState", std::uint32_t{1});
    EXPECT_TRUE(TandorConfig::DeletePairDevice(kUnknown));
    EXPECT_EQ(number(L"PCIsAuthorState"), 0u);
    EXPECT_EQ(number(L"PCRSAKeyIsPairState"), 99u);
    Registry::SetValue(RegistryRoot::kUser, kShareKey, L"PCIsAuthorState", std::uint32_t{1});
    ASSERT_EQ(Manager().SetPresentDeviceInfo(kDevice, {}), 0);
    EXPECT_TRUE(TandorConfig::DeletePairDeviceParam(kDevice));
    EXPECT_EQ(Stored("DevType"), "(none)");
    EXPECT_EQ(number(L"PCIsAuthorState") + number(L"PCRSAKeyIsPairState"), 0u);
    for (const wchar_t* const name : {L"PCRSAPrivateKeyCipher", L"PCRSAPublicKeyCipher", L"PhoneRSAPublicKeyCipher"}) {
        EXPECT_EQ(text(name), L"No");
    }
}

TEST_F(PairedDeviceConfig, AlbumTimesAddUpFromOpeningToClosing) {
    EXPECT_FALSE(TandorConfig::IsLongTimeAfterLastAlbumOpen(kDevice));
    EXPECT_FALSE(TandorConfig::UpdateOpenAlbumTime(kDevice, false));
    EXPECT_FALSE(TandorConfig::UpdateOpenAlbumTime(kUnknown, true));
    Put("FirstAlbumOpenTime", "1000");
    EXPECT_TRUE(TandorConfig::IsLongTimeAfterLastAlbumOpen(kDevice));
    EXPECT_TRUE(TandorConfig::UpdateOpenAlbumTime(kDevice, true));
    EXPECT_EQ(Stored("FirstAlbumOpenTime"), "1000");
    EXPECT_FALSE(TandorConfig::IsLongTimeAfterLastAlbumOpen(kDevice));
    const auto now = std::stoull(Stored("LastAlbumOpenTime"));
    Put("LastAlbumOpenTime", std::to_string(now - 8 * 86400));
    EXPECT_TRUE(TandorConfig::IsLongTimeAfterLastAlbumOpen(kDevice));
    Put("LastAlbumOpenTime", std::to_string(now - 6 * 86400));
    EXPECT_FALSE(TandorConfig::IsLongTimeAfterLastAlbumOpen(kDevice));
    Put("LastAlbumOpenTime", "18446744073709551615");
    EXPECT_FALSE(TandorConfig::IsLongTimeAfterLastAlbumOpen(kDevice));

    struct Case {
        bool (*update)(const std::string&, bool);
        const wchar_t* open_time;
        const char* timespan;
    };
    for (const Case& test :
         {Case{TandorConfig::UpdateOpenAlbumTime, L"OpenAlbumTime", "OpenAlbumTimespan"},
          Case{TandorConfig::UpdateOpenMusicAlbumTime, L"OpenMusicAlbumTime", "OpenMusicAlbumTimespan"},
          Case{TandorConfig::UpdateOpenVideoTime, L"OpenVideoTime", "OpenVideoTimespan"}}) {
        const auto open_since = [&](unsigned long long time) {
            return Registry::SetValue(RegistryRoot::kUser, kShareKey, test.open_time, std::to_wstring(time));
        };
        ASSERT_TRUE(test.update(kDevice, true));
        std::wstring since;
        ASSERT_TRUE(Registry::GetValue(RegistryRoot::kUser, kShareKey, test.open_time, since));
        EXPECT_GE(std::stoull(since), now);
        ASSERT_TRUE(open_since(now - 1000));
        ASSERT_TRUE(test.update(kDevice, false));
        EXPECT_FALSE(Registry::GetValue(RegistryRoot::kUser, kShareKey, test.open_time, since));
        const auto first = std::stoull(Stored(test.timespan));
        EXPECT_GE(first, 1000u);
        EXPECT_LE(first, 1060u);
        ASSERT_TRUE(open_since(now + 100'000));  // the clock was set back meanwhile
        ASSERT_TRUE(test.update(kDevice, false));
        EXPECT_EQ(Stored(test.timespan), std::to_string(first));
    }
}

TEST_F(PairedDeviceConfig, BoundDevicesKeepWhatASummaryDoesNotTell) {
    BluetoothDeviceSummary device;
    device.DevName = "first";
    device.ExtInfo = "not part of a summary";
    std::string text = "before";
    EXPECT_FALSE(TandorConfig::SetKoPlayDeviceExtInfo(kDevice, "ext"));
    EXPECT_FALSE(TandorConfig::GetKoPlayDeviceExtInfo(kDevice, text));
    EXPECT_EQ(text, "before");
    ASSERT_TRUE(TandorConfig::SetKoPlayDevice(kDevice, device));
    ASSERT_TRUE(TandorConfig::SetKoPlayDeviceExtInfo(kDevice, "ext"));
    unsigned long long time = 7, cycle = 8;
    EXPECT_FALSE(TandorConfig::GetKoPlayDevicePairedTimeCycle(kDevice, time, cycle));
    EXPECT_EQ(time + cycle, 15u);
    ASSERT_TRUE(TandorConfig::SetKoPlayDevicePairedTimeCycle(kDevice, 11, 22));
    device.DevName = "second";
    ASSERT_TRUE(TandorConfig::SetKoPlayDevice(kDevice, device));
    BluetoothDeviceSummary read;
    ASSERT_TRUE(TandorConfig::GetKoPlayDevice(kDevice, read));
    EXPECT_EQ(read.DevName, "second");
    EXPECT_TRUE(TandorConfig::GetKoPlayDeviceExtInfo(kDevice, text));
    EXPECT_EQ(text, "ext");
    log_.Take();
    EXPECT_TRUE(TandorConfig::GetKoPlayDevicePairedTimeCycle(kDevice, time, cycle));
    EXPECT_EQ(time, 11u);
    EXPECT_EQ(cycle, 22u);
    EXPECT_FALSE(TandorConfig::GetKoPlayDevicePairedTimeCycle(kUnknown, time, cycle));
    const std::wstring tail = L"(TandorConfig::GetKoPlayDevicePairedTimeCycle)";
    EXPECT_THAT(log_.Take(),
                ElementsAre(L"3 get pairedTime=11" + tail, L"3 get timeCycle=22" + tail, L"3 summary is empty" + tail));
    EXPECT_FALSE(TandorConfig::GetKoPlayKeyStoreData(kDevice, text));
    EXPECT_TRUE(TandorConfig::SetKoPlayKeyStoreData(kDevice, std::string("secret\0key", 10)));
    EXPECT_TRUE(TandorConfig::GetKoPlayKeyStoreData(kDevice, text));
    EXPECT_EQ(text, std::string("secret\0key", 10));
    for (const std::wstring& line : log_.Take()) EXPECT_EQ(line.find(L"secret"), std::wstring::npos);
}

TEST_F(PairedDeviceConfig, BackupAndRestoreCopyTheWholeRecord) {
    BluetoothDeviceSummary device;
    device.DevName = "kept";
    device.ExtInfo = "kept too";
    ASSERT_TRUE(TandorConfig::SetPairDeviceParam(kDevice, device));
    ASSERT_TRUE(TandorConfig::BackupCurrentDataToKoplayDevice(kDevice));
    ASSERT_TRUE(TandorConfig::SetPairDeviceParam(kDevice, {}));
    ASSERT_TRUE(TandorConfig::RestoreDataToKoplayDevice(kDevice));
    BluetoothDeviceSummary read;
    ASSERT_TRUE(TandorConfig::GetPairDeviceParam(kDevice, read));
    EXPECT_EQ(read.DevName, "kept");
    EXPECT_EQ(read.ExtInfo, "kept too");
    EXPECT_FALSE(TandorConfig::BackupCurrentDataToKoplayDevice(kUnknown));
    EXPECT_FALSE(TandorConfig::RestoreDataToKoplayDevice(kUnknown));
}

TEST_F(PairedDeviceConfig, TheBoundListIsJudgedByItsRecords) {
    const int shielded = TandorConfig::GetShieldDevicesNumber();
    BluetoothDeviceSummary device;
    device.IsSupportCoreLane = 1;
    device.ShieldState = 1;
    ASSERT_EQ(Manager().SetBoundDeviceInfo(kDevice, device), 0);
    EXPECT_EQ(TandorConfig::GetShieldDevicesNumber(), shielded + 1);
    EXPECT_FALSE(TandorConfig::IsKoPlayDeviceAuthed(kDevice));
    device.IsAuthor = true;
    device.IsTrusted = true;
    device.IsSha256Auth = 1;
    device.AuthDigest = std::string(63, 'a');
    ASSERT_EQ(Manager().SetBoundDeviceInfo(kDevice, device), 0);
    EXPECT_TRUE(TandorConfig::IsKoPlayDeviceAuthed(kDevice));
    EXPECT_FALSE(TandorConfig::IsKoPlayDeviceAuthed(kUnknown));
    EXPECT_FALSE(TandorConfig::IsKoPlayDeviceSha256Authed(kDevice));
    device.AuthDigest += '0';
    ASSERT_EQ(Manager().SetBoundDeviceInfo(kDevice, device), 0);
    EXPECT_TRUE(TandorConfig::IsKoPlayDeviceSha256Authed(kDevice));
    log_.Take();
    EXPECT_TRUE(TandorConfig::GetBoundDeviceCoreLaneAbility(kDevice));
    EXPECT_FALSE(TandorConfig::GetPresentDeviceCoreLaneAbility(kDevice));
    EXPECT_FALSE(TandorConfig::GetBoundDeviceCoreLaneAbility(kUnknown));
    EXPECT_FALSE(TandorConfig::GetPresentDeviceCoreLaneAbility(kUnknown));
    EXPECT_FALSE(TandorConfig::DeleteKoPlayDeviceBySummary(kDevice, false));
    EXPECT_TRUE(TandorConfig::DeleteKoPlayDeviceBySummary(kDevice, true));
    EXPECT_THAT(log_.Take(),
                ElementsAre(L"3 get isSupportCorelane=1(TandorConfig::GetBoundDeviceCoreLaneAbility)",
                            L"3 get isSupportCorelane=0(TandorConfig::GetPresentDeviceCoreLaneAbility)",
                            L"3 GetDeviceInfo failed, result:1(TandorConfig::GetBoundDeviceCoreLaneAbility)",
                            L"3 GetPresentDeviceInfo failed, result:1(TandorConfig::GetPresentDeviceCoreLaneAbility)",
                            L"3 DeleteKoPlayDeviceBySummary, deleteTrustDevice:0 ,ret:5"
                            L"(TandorConfig::DeleteKoPlayDeviceBySummary)",
                            L"3 DeleteKoPlayDeviceBySummary, deleteTrustDevice:1 ,ret:0"
                            L"(TandorConfig::DeleteKoPlayDeviceBySummary)"));
}

TEST_F(PairedDeviceConfig, TheRegistryKeepsOneKeyForEachMediaDevice) {
    BluetoothDeviceSummary device;
    EXPECT_FALSE(GetKoPlayDeviceHelper("a\\b%", device));
    const std::wstring key = kShareKey + L"\\a%5Cb%25";
    const std::pair<const wchar_t*, std::uint32_t> values[] = {{L"DevType", 0xFFFFFFFF},
                                                               {L"ReverseChannel", 0},
                                                               {L"Wifi5GAbility", 2},
                                                               {L"IsPaired", 2},
                                                               {L"PCIsAuthorState", 3}};
    for (const auto& [name, value] : values) ASSERT_TRUE(Registry::SetValue(RegistryRoot::kUser, key, name, value));
    device.ShareType = 4;  // there is no such value: it stays
    device.IsPaired = true;
    device.IsWifi5GAbility = false;
    ASSERT_TRUE(GetKoPlayDeviceHelper("a\\b%", device));
    EXPECT_EQ(device.DevType, -1);
    EXPECT_EQ(device.ShareType, 4);
    EXPECT_FALSE(device.IsReverseChannel);
    EXPECT_TRUE(device.IsWifi5GAbility);
    EXPECT_FALSE(device.IsPaired);
    EXPECT_EQ(device.AuthorState, 3);

    device.AccountInfo = "\xE6\x89\x8B";
    device.IsTrusted = true;
    ASSERT_TRUE(SetKoPlayDeviceHelper("a\\b%", device));
    std::wstring account;
    std::uint32_t trusted = 0, type = 0;
    EXPECT_TRUE(Registry::GetValue(RegistryRoot::kUser, key, L"PairDeviceAccountInfo", account));
    EXPECT_TRUE(Registry::GetValue(RegistryRoot::kUser, key, L"PairedDeviceIsTrusted", trusted));
    EXPECT_TRUE(Registry::GetValue(RegistryRoot::kUser, key, L"PairedDeviceTrusteType", type));
    EXPECT_EQ(account, L"\u624b");
    EXPECT_EQ(trusted, 1u);
    EXPECT_EQ(type, 2u);
    for (const std::string& name : {std::string(), std::string("\xFF"), std::string(256, 'x')}) {
        EXPECT_FALSE(SetKoPlayDeviceHelper(name, device));
        EXPECT_FALSE(GetKoPlayDeviceHelper(name, device));
    }
    device.AccountInfo = "\xFF";
    EXPECT_FALSE(SetKoPlayDeviceHelper("a", device));
}

}  // namespace
