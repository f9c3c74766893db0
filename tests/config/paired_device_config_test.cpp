#include "tandor/paired_device_config.h"
#include "pelora/device_manager.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;
using Config = TandorConfig;

const std::wstring kShareKey = L"\\SOFTWARE\\Vextro\\Pelora\\KoShare";
const std::string kDevice = "Prüfling 手", kUnknown = "unknown device";
constexpr auto kSwitch = Tandor::DeviceStateType::MULTI_DEVICE_SYNC_SWITCH;

DM::DeviceMgr& Manager() { return DM::DeviceMgr::GetInstance(); }

std::string Stored(const std::string& key) {
    std::string text;
    return Manager().GetPresentDeviceInfoByName(kDevice, key, text) == 0 ? text : "(none)";
}

void Put(const std::string& key, const std::string& text) {
    ASSERT_EQ(Manager().SetPresentDeviceInfoByName(kDevice, key, text), 0);
}

template <class Value>
std::optional<Value> Shared(const wchar_t* name) {
    return ReadValue<Value>(RegistryRoot::kUser, kShareKey, name);
}

std::vector<std::wstring> Logged(const std::wstring& function, std::vector<std::wstring> texts) {
    for (std::wstring& text : texts) text.insert(0, L"3 ");
    return LinesFrom(L"TandorConfig::" + function, std::move(texts));
}

// Stand-ins for two of the services' operations.
constexpr const char* kSetText =
    "_ZN2DE8Registry8SetValueENS_12RegistryRootESt17basic_string_viewIwSt11char_traitsIwEERKNSt7__cxx1112basic_"
    "stringIwS4_SaIwEEESB_";
const wchar_t* unwritable = L"";
bool WriteAllBut(RegistryRoot, std::wstring_view, const std::wstring& name, const std::wstring&) {
    return name != unwritable;
}
constexpr const char* kSetFlag =
    "_ZN2DM9DeviceMgr26SetPresentDeviceInfoByNameERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES8_Rb";
int answer = DM::DEVICE_OK;
int TurnTrue(DM::DeviceMgr*, const std::string&, const std::string&, bool& value) {
    value = true;
    return answer;
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

TEST_F(PairedDeviceConfig, AnotherDeviceOfTheSameNameInheritsNothing) {
    BluetoothDeviceSummary device;
    device.PeerUuid = "one";
    device.MacAddrInt = 1;
    ASSERT_TRUE(Config::SetPairDeviceParam(kDevice, device));
    Put("PairedDeviceIsTrusted", "1");
    device.MacAddrInt = 2;  // a random address: still the same device
    ASSERT_TRUE(Config::SetPairDeviceParam(kDevice, device));
    ASSERT_TRUE(Config::SetPairDeviceParam(kDevice, {}));  // tells nothing that would make it another one
    ASSERT_TRUE(Config::SetPairDeviceParam(kDevice, device));
    EXPECT_EQ(Stored("PairedDeviceIsTrusted"), "1");
    log_.Take();
    device.PeerUuid = "two";
    int status = -1;
    ASSERT_TRUE(Config::SetPairDeviceParam(kDevice, device, status));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(log_.Take().at(0), L"3 device id does not match with device info(TandorConfig::SetPairDeviceParam)");
    EXPECT_EQ(Stored("PairedDeviceIsTrusted"), "(none)");
    BluetoothDeviceSummary read;
    ASSERT_TRUE(Config::GetPairDeviceParam(kDevice, read));
    EXPECT_FALSE(Config::GetPairDeviceParam(kUnknown, read, status));
    EXPECT_EQ(status, DM::DEVICE_NOT_FOUND);
    EXPECT_EQ(read.PeerUuid, "two");
}

TEST_F(PairedDeviceConfig, DeletingResetsTheSharingKeyIfThereIsOne) {
    EXPECT_FALSE(Config::DeletePairDevice(kDevice));
    EXPECT_FALSE(Registry::KeyExists(RegistryRoot::kUser, kShareKey));
    EXPECT_EQ(Stored("DevType"), "(none)");
    Registry::SetValue(RegistryRoot::kUser, kShareKey, L"PCIsAuthorState", std::uint32_t{1});
    EXPECT_TRUE(Config::DeletePairDevice(kUnknown));
    EXPECT_EQ(Shared<std::uint32_t>(L"PCIsAuthorState"), 0u);
    EXPECT_EQ(Shared<std::uint32_t>(L"PCRSAKeyIsPairState"), std::nullopt);
    Registry::SetValue(RegistryRoot::kUser, kShareKey, L"PCIsAuthorState", std::uint32_t{1});
    ASSERT_EQ(Manager().SetPresentDeviceInfo(kDevice, {}), 0);
    EXPECT_TRUE(Config::DeletePairDeviceParam(kDevice));
    EXPECT_EQ(Stored("DevType"), "(none)");
    for (const auto* const name : {L"PCIsAuthorState", L"PCRSAKeyIsPairState"})
        EXPECT_EQ(Shared<std::uint32_t>(name), 0u);
    for (const auto* const name : {L"PCRSAPrivateKeyCipher", L"PCRSAPublicKeyCipher", L"PhoneRSAPublicKeyCipher"})
        EXPECT_EQ(Shared<std::wstring>(name), L"No");
    const ImportPatch registry(L"TandorUtil.dll", kSetText, WriteAllBut);
    for (const auto* const name : {L"PCRSAPrivateKeyCipher", L"PhoneRSAPublicKeyCipher"}) {
        unwritable = name;
        log_.Take();
        EXPECT_TRUE(Config::DeletePairDeviceParam(kDevice));  // the last write counts
        EXPECT_THAT(log_.Take(), Contains(std::wstring(L"4 TandorConfig::DeletePairDeviceParam SetValue No To ") +
                                          name + L",failed(TandorConfig::DeletePairDeviceParam)"));
    }
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

TEST_F(PairedDeviceConfig, BoundDevicesKeepWhatASummaryDoesNotTell) {
    BluetoothDeviceSummary device;
    device.ExtInfo = "not part of a summary";
    std::string text = "before";
    EXPECT_FALSE(Config::SetKoPlayDeviceExtInfo(kDevice, "ext"));
    EXPECT_FALSE(Config::GetKoPlayDeviceExtInfo(kDevice, text));
    EXPECT_EQ(text, "before");
    ASSERT_TRUE(Config::SetKoPlayDevice(kDevice, device));
    ASSERT_TRUE(Config::SetKoPlayDeviceExtInfo(kDevice, "ext"));
    unsigned long long time = 7, cycle = 8;
    EXPECT_FALSE(Config::GetKoPlayDevicePairedTimeCycle(kDevice, time, cycle));
    EXPECT_EQ(time + cycle, 15u);
    ASSERT_TRUE(Config::SetKoPlayDevicePairedTimeCycle(kDevice, 11, 22));
    device.DevName = "second";
    ASSERT_TRUE(Config::SetKoPlayDevice(kDevice, device));
    BluetoothDeviceSummary read;
    ASSERT_TRUE(Config::GetKoPlayDevice(kDevice, read));
    EXPECT_EQ(read.DevName, "second");
    EXPECT_TRUE(Config::GetKoPlayDeviceExtInfo(kDevice, text));
    EXPECT_EQ(text, "ext");
    log_.Take();
    EXPECT_TRUE(Config::GetKoPlayDevicePairedTimeCycle(kDevice, time, cycle));
    EXPECT_EQ(std::pair(time, cycle), std::pair(11ULL, 22ULL));
    EXPECT_FALSE(Config::GetKoPlayDevicePairedTimeCycle(kUnknown, time, cycle));
    EXPECT_EQ(log_.Take(), Logged(L"GetKoPlayDevicePairedTimeCycle",
                                  {L"get pairedTime=11", L"get timeCycle=22", L"summary is empty"}));
    EXPECT_FALSE(Config::GetKoPlayKeyStoreData(kDevice, text));
    EXPECT_TRUE(Config::SetKoPlayKeyStoreData(kDevice, std::string("secret\0key", 10)));
    EXPECT_TRUE(Config::GetKoPlayKeyStoreData(kDevice, text));
    EXPECT_EQ(text, std::string("secret\0key", 10));
    EXPECT_THAT(log_.Take(), Each(Not(HasSubstr(L"secret"))));
}

TEST_F(PairedDeviceConfig, BackupAndRestoreCopyTheWholeRecord) {
    BluetoothDeviceSummary device, read;
    device.DevName = "kept";
    device.ExtInfo = "kept too";
    ASSERT_TRUE(Config::SetPairDeviceParam(kDevice, device));
    ASSERT_TRUE(Config::BackupCurrentDataToKoplayDevice(kDevice));
    ASSERT_TRUE(Config::SetPairDeviceParam(kDevice, {}));
    ASSERT_TRUE(Config::RestoreDataToKoplayDevice(kDevice));
    ASSERT_TRUE(Config::GetPairDeviceParam(kDevice, read));
    EXPECT_EQ(read.DevName + read.ExtInfo, "keptkept too");
    EXPECT_FALSE(Config::BackupCurrentDataToKoplayDevice(kUnknown));
    EXPECT_FALSE(Config::RestoreDataToKoplayDevice(kUnknown));
}

TEST_F(PairedDeviceConfig, TheBoundListIsJudgedByItsRecords) {
    const int shielded = Config::GetShieldDevicesNumber();
    BluetoothDeviceSummary device;
    device.IsSupportCoreLane = 1;
    device.ShieldState = 1;
    const auto bind = [&] { ASSERT_EQ(Manager().SetBoundDeviceInfo(kDevice, device), 0); };
    bind();
    EXPECT_EQ(Config::GetShieldDevicesNumber(), shielded + 1);
    EXPECT_FALSE(Config::IsKoPlayDeviceAuthed(kDevice));
    device.IsAuthor = device.IsTrusted = true;
    device.IsSha256Auth = 1;
    device.AuthDigest = std::string(63, 'a');
    bind();
    EXPECT_TRUE(Config::IsKoPlayDeviceAuthed(kDevice));
    EXPECT_FALSE(Config::IsKoPlayDeviceAuthed(kUnknown));
    EXPECT_FALSE(Config::IsKoPlayDeviceSha256Authed(kDevice));
    device.AuthDigest += '0';
    bind();
    EXPECT_TRUE(Config::IsKoPlayDeviceSha256Authed(kDevice));
    log_.Take();
    EXPECT_TRUE(Config::GetBoundDeviceCoreLaneAbility(kDevice));
    EXPECT_FALSE(Config::GetBoundDeviceCoreLaneAbility(kUnknown));
    EXPECT_EQ(log_.Take(), Logged(L"GetBoundDeviceCoreLaneAbility",
                                  {L"get isSupportCorelane=1", L"GetDeviceInfo failed, result:1"}));
    EXPECT_FALSE(Config::GetPresentDeviceCoreLaneAbility(kDevice));
    EXPECT_FALSE(Config::GetPresentDeviceCoreLaneAbility(kUnknown));
    EXPECT_EQ(log_.Take(), Logged(L"GetPresentDeviceCoreLaneAbility",
                                  {L"get isSupportCorelane=0", L"GetPresentDeviceInfo failed, result:1"}));
    EXPECT_FALSE(Config::DeleteKoPlayDeviceBySummary(kDevice, false));
    EXPECT_TRUE(Config::DeleteKoPlayDeviceBySummary(kDevice, true));
    const std::wstring flag = L"DeleteKoPlayDeviceBySummary, deleteTrustDevice:",
                       deleted = L"delete bound device ,ret:";
    EXPECT_EQ(log_.Take(),
              Logged(L"DeleteKoPlayDeviceBySummary", {flag + L"0", deleted + L"5", flag + L"1", deleted + L"0"}));
}

TEST_F(PairedDeviceConfig, TheRegistryKeepsOneKeyForEachMediaDevice) {
    const std::string name = "a\\b%";
    const std::wstring key = kShareKey + L"\\a%5Cb%25";
    BluetoothDeviceSummary device;
    EXPECT_FALSE(GetKoPlayDeviceHelper(name, device));
    for (const auto& [value, number] : {std::pair{L"DevType", 0xFFFFFFFFu},
                                        {L"ReverseChannel", 0u},
                                        {L"Wifi5GAbility", 2u},
                                        {L"IsPaired", 2u},
                                        {L"PCIsAuthorState", 3u}})
        ASSERT_TRUE(Registry::SetValue(RegistryRoot::kUser, key, value, std::uint32_t{number}));
    device.ShareType = 4;  // there is no such value: it stays
    device.IsPaired = true;
    device.IsWifi5GAbility = false;
    ASSERT_TRUE(GetKoPlayDeviceHelper(name, device));
    EXPECT_EQ(std::tuple(device.DevType, device.ShareType, device.AuthorState), std::tuple(-1, 4, 3));
    EXPECT_FALSE(device.IsReverseChannel);
    EXPECT_TRUE(device.IsWifi5GAbility);
    EXPECT_FALSE(device.IsPaired);

    device.AccountInfo = "手";
    device.IsTrusted = true;
    ASSERT_TRUE(SetKoPlayDeviceHelper(name, device));
    EXPECT_EQ(ReadValue<std::wstring>(RegistryRoot::kUser, key, L"PairDeviceAccountInfo"), L"手");
    EXPECT_EQ(ReadValue<std::uint32_t>(RegistryRoot::kUser, key, L"PairedDeviceIsTrusted"), 1u);
    EXPECT_EQ(ReadValue<std::uint32_t>(RegistryRoot::kUser, key, L"PairedDeviceTrusteType"), 2u);
    for (const std::string& bad : {std::string(), std::string("\xFF"), std::string(256, 'x')}) {
        EXPECT_FALSE(SetKoPlayDeviceHelper(bad, device));
        EXPECT_FALSE(GetKoPlayDeviceHelper(bad, device));
    }
    device.AccountInfo = "\xFF";
    EXPECT_FALSE(SetKoPlayDeviceHelper("a", device));
}

}  // namespace
