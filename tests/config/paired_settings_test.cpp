#include "config/paired_device.h"

namespace {

using namespace tandor::test;

constexpr auto kSwitch = Tandor::DeviceStateType::MULTI_DEVICE_SYNC_SWITCH;

// Stands in for an operation of the device manager.
constexpr const char* kSetFlag =
    "_ZN2DM9DeviceMgr26SetPresentDeviceInfoByNameERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES8_Rb";
int answer = DM::DEVICE_OK;
int TurnTrue(DM::DeviceMgr*, const std::string&, const std::string&, bool& value) {
    value = true;
    return answer;
}

// A member: the attribute that it is stored as, its name in the log, its setter, its getter and its initial value.
struct Member {
    const char* key;
    std::wstring logged;
    std::wstring set_name;
    bool (*set)(const std::string&, bool);
    bool (*get)(const std::string&) = nullptr;
    bool initial = false;
    bool always_set = false;  // what the setter says for an unknown device
};

const Member kMembers[] = {
    {"IsPhoneMirrorSupported", L"phoneMirrorSupported", L"SetIsPhoneMirrorSupported", Config::SetIsPhoneMirrorSupported,
     Config::GetIsPhoneMirrorSupported},
    {"IsFileSystemSupported", L"FileSystemSupporte", L"SetIsFileSystemSupported", Config::SetIsFileSystemSupported},
    {"PairedIsAuthorized", L"isAuthorized", L"SetPairedIsAuthorized", Config::SetPairedIsAuthorized},
    {"PairedDeviceIsReconnect", L"IsReconnect", L"SetIsReConnectSupported", Config::SetIsReConnectSupported,
     Config::GetIsReConnectSupported, true},
    {"PairedDeviceBussUseState", L"UseState", L"SetBussinessUseState", Config::SetBussinessUseState,
     Config::GetBussinessUseState, false, true},
    {"ApkVersionNotMatch", L"apkVersionNotMatch", L"", nullptr, Config::IsApkVersionNotMatch},
};

TEST_F(PairedDeviceConfig, MembersAreStoredUnderTheirKeysAndReadBack) {
    for (const Member& member : kMembers) {
        SCOPED_TRACE(member.key);
        if (member.get != nullptr) {
            EXPECT_EQ(member.get(kUnknown), member.initial);
            EXPECT_EQ(member.get(kDevice), member.initial);
            Put(member.key, "not a number");
            EXPECT_EQ(member.get(kDevice), member.initial);
        }
        for (const bool value : {true, false}) {
            const std::wstring text = member.logged + (value ? L"=1" : L"=0");
            Put(member.key, value ? "1" : "0");
            if (member.set != nullptr) {
                Put(member.key, "before");
                log_.Take();
                EXPECT_TRUE(member.set(kDevice, value));
                EXPECT_EQ(Stored(member.key), value ? "1" : "0");
                EXPECT_EQ(member.set(kUnknown, value), member.always_set);
                const std::wstring saved = L"save " + text + L" ,ret:";
                EXPECT_EQ(log_.Take(), Logged(member.set_name, {saved + L"0", saved + L"1"}));
            }
            log_.Take();
            if (member.get == nullptr) continue;
            EXPECT_EQ(member.get(kDevice), value);
            EXPECT_THAT(log_.Take(), ElementsAre(StartsWith(L"3 get " + text + L"(")));
        }
    }
}

TEST_F(PairedDeviceConfig, OtherSettersSayWhatTheySave) {
    EXPECT_TRUE(Config::SetPairDevicebluetoothName(kDevice, "abc"));
    EXPECT_FALSE(Config::SetPairDevicebluetoothName(kUnknown, "abc"));
    EXPECT_EQ(log_.Take(), Logged(L"SetPairDevicebluetoothName",
                                  {L"save bluetoothName=a*c ,ret:0", L"save bluetoothName=a*c ,ret:1"}));
    EXPECT_EQ(Stored("devName"), "abc");
    EXPECT_EQ(Config::GetSyncDeviceState(kDevice, kSwitch), 0);
    log_.Take();
    EXPECT_TRUE(Config::SetSyncDeviceState(kDevice, kSwitch, -3));
    EXPECT_FALSE(Config::SetSyncDeviceState(kUnknown, kSwitch, -3));
    const std::wstring state = L"SetSyncDeviceState MULTI_DEVICE_SYNC_SWITCH value=-3 ,ret:";
    EXPECT_EQ(log_.Take(), Logged(L"SetSyncDeviceState", {state + L"0", state + L"1"}));
    EXPECT_FALSE(Config::SetSyncDeviceState(kDevice, Tandor::DeviceStateType{9}, 8));
    EXPECT_EQ(Config::GetSyncDeviceState(kDevice, Tandor::DeviceStateType{9}), 0);
    EXPECT_EQ(Config::GetSyncDeviceState(kDevice, kSwitch), -3);
    EXPECT_EQ(Stored("MultiDeviceSyncSwitch"), "-3");
    log_.Take();
    // These two return nothing and log their failure alone.
    for (const std::string& device : {kDevice, kUnknown}) {
        EXPECT_THAT(log_.Take(), IsEmpty());
        Config::SetApkVersionNotMatch(device, true);
        Config::SetPairDeviceConnect(device, true);
    }
    EXPECT_THAT(
        log_.Take(),
        ElementsAre(L"3 SetApkVersionNotMatch SetPresentDeviceInfoByName failed.(TandorConfig::SetApkVersionNotMatch)",
                    L"3 SetPairDeviceConnect  SetPresentDeviceInfoByName failed.(TandorConfig::SetPairDeviceConnect)"));
    EXPECT_EQ(Stored("ApkVersionNotMatch") + Stored("isConnected") + Stored("IsConnected"), "11(none)");
}

TEST_F(PairedDeviceConfig, TwoGettersWriteFalse) {
    Put("PairedIsAuthorized", "1");
    Put("IsConnected", "1");
    log_.Take();
    EXPECT_FALSE(Config::GetPairedIsAuthorized(kDevice));
    EXPECT_FALSE(Config::GetPairedDevConnectState(kDevice));
    EXPECT_FALSE(Config::GetPairedIsAuthorized(kUnknown));
    EXPECT_EQ(Stored("PairedIsAuthorized") + Stored("IsConnected"), "00");
    EXPECT_THAT(log_.Take(), ElementsAre(L"3 get isAuthorized=0 ,ret:0(TandorConfig::GetPairedIsAuthorized)",
                                         L"3 get isAuthorized=0 ,ret:0(TandorConfig::GetPairedDevConnectState)",
                                         L"3 get isAuthorized=0 ,ret:1(TandorConfig::GetPairedIsAuthorized)"));
    const ImportPatch manager(L"TandorUtil.dll", kSetFlag, TurnTrue);
    for (const int code : {DM::DEVICE_OK, DM::DEVICE_STORE_BUSY}) {
        answer = code;
        EXPECT_EQ(Config::GetPairedIsAuthorized(kDevice), code == DM::DEVICE_OK);
        EXPECT_EQ(Config::GetPairedDevConnectState(kDevice), code == DM::DEVICE_OK);
    }
}

TEST_F(PairedDeviceConfig, ReconnectPermissionIsWrittenAsBoolAndReadAsText) {
    EXPECT_TRUE(Config::GetReconnectPermission(kUnknown));
    Config::SetReconnectPermission(kUnknown, false);
    Config::SetReconnectPermission(kDevice, false);
    EXPECT_FALSE(Config::GetReconnectPermission(kDevice));
    EXPECT_THAT(
        log_.Take(),
        ElementsAre(L"3 read reconnect_permit failed, use default value:1(TandorConfig::GetReconnectPermission)",
                    L"3 SetValue of reconnect_permit failed(TandorConfig::SetReconnectPermission)",
                    L"3 save reconnect_permit=0(TandorConfig::SetReconnectPermission)",
                    L"3 get reconnect_permit=0(TandorConfig::GetReconnectPermission)"));
    for (const auto& [text, permitted] : {std::pair{"1", true}, {"false", false}, {"", true}, {"other", true}}) {
        Put("pairedDeviceReconnectPermit", text);
        EXPECT_EQ(Config::GetReconnectPermission(kDevice), permitted) << text;
    }
}

TEST_F(PairedDeviceConfig, TrustAndItsTimesAreThreeAttributes) {
    bool trusted = true;
    unsigned long long time = 1, cycle = 2;
    EXPECT_FALSE(Config::GetDevicePairedTimeCycle(kDevice, trusted, time, cycle));
    EXPECT_FALSE(trusted);
    EXPECT_EQ(time + cycle, 0u);
    log_.Take();
    EXPECT_TRUE(Config::SetDevicePairedTimeCycle(kDevice, true, 18446744073709551615u, 30));
    EXPECT_FALSE(Config::SetDevicePairedTimeCycle(kUnknown, false, 1, 2));
    EXPECT_EQ(log_.Take(), Logged(L"SetDevicePairedTimeCycle",
                                  {L"save trustedValue=1, ret: 0", L"save pairedTime= 18446744073709551615, ret: 0",
                                   L"save timeCycle= 30, ret: 0", L"save trustedValue=0, ret: 1",
                                   L"save pairedTime= 1, ret: 1", L"save timeCycle= 2, ret: 1"}));
    EXPECT_EQ(Stored("PairedDeviceIsTrusted"), "1");
    EXPECT_TRUE(Config::GetDevicePairedTimeCycle(kDevice, trusted, time, cycle));
    EXPECT_EQ(std::tuple(trusted, time, cycle), std::tuple(true, 18446744073709551615u, 30u));
    EXPECT_EQ(log_.Take(), Logged(L"GetDevicePairedTimeCycle", {L"get trustedValue=1"}));
}

TEST_F(PairedDeviceConfig, AlbumTimesAddUpFromOpeningToClosing) {
    const auto long_ago = [] { return Config::IsLongTimeAfterLastAlbumOpen(kDevice); };
    EXPECT_FALSE(long_ago());
    EXPECT_FALSE(Config::UpdateOpenAlbumTime(kDevice, false));
    EXPECT_FALSE(Config::UpdateOpenAlbumTime(kUnknown, true));
    Put("FirstAlbumOpenTime", "1000");
    EXPECT_TRUE(long_ago());
    EXPECT_TRUE(Config::UpdateOpenAlbumTime(kDevice, true));
    EXPECT_EQ(Stored("FirstAlbumOpenTime"), "1000");
    EXPECT_FALSE(long_ago());
    const auto now = std::stoull(Stored("LastAlbumOpenTime"));
    for (const auto& [time, is_long] : {std::pair{now - 8 * 86400, true}, {now - 6 * 86400, false}, {~0ULL, false}}) {
        Put("LastAlbumOpenTime", std::to_string(time));
        EXPECT_EQ(long_ago(), is_long) << time;
    }

    struct Case {
        bool (*update)(const std::string&, bool);
        const wchar_t* open_time;
        const char* timespan;
    };
    for (const Case& c : {Case{Config::UpdateOpenAlbumTime, L"OpenAlbumTime", "OpenAlbumTimespan"},
                          Case{Config::UpdateOpenMusicAlbumTime, L"OpenMusicAlbumTime", "OpenMusicAlbumTimespan"},
                          Case{Config::UpdateOpenVideoTime, L"OpenVideoTime", "OpenVideoTimespan"}}) {
        SCOPED_TRACE(c.timespan);
        const auto close_after_opening_at = [&](unsigned long long time) {
            Registry::SetValue(RegistryRoot::kUser, kShareKey, c.open_time, std::to_wstring(time));
            EXPECT_TRUE(c.update(kDevice, false));
            return std::stoull(Stored(c.timespan));
        };
        ASSERT_TRUE(c.update(kDevice, true));
        EXPECT_GE(std::stoull(Shared<std::wstring>(c.open_time).value_or(L"0")), now);
        const auto span = close_after_opening_at(now - 1000);
        EXPECT_EQ(Shared<std::wstring>(c.open_time), std::nullopt);
        EXPECT_THAT(span, AllOf(testing::Ge(1000u), testing::Le(1060u)));
        EXPECT_EQ(close_after_opening_at(now + 100'000), span);  // the clock was set back meanwhile
    }
}

}  // namespace
