#include "config/paired_device.h"

namespace {

using namespace tandor::test;

// Stands in for an operation of the registry.
constexpr const char* kSetText =
    "_ZN2DE8Registry8SetValueENS_12RegistryRootESt17basic_string_viewIwSt11char_traitsIwEERKNSt7__cxx1112basic_"
    "stringIwS4_SaIwEEESB_";
const wchar_t* unwritable = L"";
bool WriteAllBut(RegistryRoot, std::wstring_view, const std::wstring& name, const std::wstring&) {
    return name != unwritable;
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
