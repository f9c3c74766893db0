#include "pelora/device_manager.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using Record = BluetoothDeviceSummary;

DM::DeviceMgr& Manager() { return DM::DeviceMgr::GetInstance(); }

class DeviceManager : public testing::Test {
protected:
    void SetUp() override {
        TearDown();
        ASSERT_EQ(Manager().SetPresentDeviceInfo(name_, {}), DM::DEVICE_OK);
        ASSERT_EQ(Manager().SetBoundDeviceInfo(name_, {}), DM::DEVICE_OK);
    }
    void TearDown() override {
        [[maybe_unused]] int ignored = Manager().DeletePresentDeviceInfo(name_);
        ignored = Manager().DeleteBoundDeviceInfo(name_, true);
    }
    template <class Value>
    int Set(const std::string& attribute, Value value) {
        return Manager().SetPresentDeviceInfoByName(name_, attribute, value);
    }
    // The code, and the value only when it is DEVICE_OK: a failed read must leave `before`.
    template <class Value>
    Value Get(const std::string& attribute, Value before, int expected = DM::DEVICE_OK) {
        EXPECT_EQ(Manager().GetPresentDeviceInfoByName(name_, attribute, before), expected) << attribute;
        return before;
    }

    const std::string name_ = "Handy 手";
};

TEST_F(DeviceManager, ConvertsBetweenTheTypesOfItsAttributes) {
    ASSERT_EQ(Set("flag", true), 0);
    EXPECT_EQ(Get("flag", 7), 1);
    EXPECT_EQ(Get("flag", std::string()), "1");
    ASSERT_EQ(Set("number", -5), 0);
    EXPECT_EQ(Get("number", false), true);
    EXPECT_EQ(Get("number", std::string()), "-5");
    EXPECT_EQ(Get("number", 9ULL, DM::DEVICE_VALUE_UNSUITABLE), 9u);
    ASSERT_EQ(Set("zero", 0), 0);
    EXPECT_EQ(Get("zero", true), false);
    ASSERT_EQ(Set("large", std::wstring(L"18446744073709551615")), 0);
    EXPECT_EQ(Get("large", 0ULL), 18446744073709551615u);
    EXPECT_EQ(Get("large", false), true);
    EXPECT_EQ(Get("large", 3, DM::DEVICE_VALUE_UNSUITABLE), 3);
    ASSERT_EQ(Set("wide", std::wstring(L"\u624b\U0001F4F1")), 0);
    EXPECT_EQ(Get("wide", std::string()), "\xE6\x89\x8B\xF0\x9F\x93\xB1");
    EXPECT_EQ(Get("wide", false, DM::DEVICE_VALUE_UNSUITABLE), false);
    EXPECT_EQ(Set("wide", std::wstring(L"\xD83D")), DM::DEVICE_VALUE_UNSUITABLE);
    EXPECT_EQ(Get("wide", std::string()), "\xE6\x89\x8B\xF0\x9F\x93\xB1");
    const std::string bytes("\0\xFF\xFEz\0", 5);
    ASSERT_EQ(Set("bytes", bytes), 0);
    EXPECT_EQ(Get("bytes", std::string()), bytes);
    for (const char* const text : {"", "1 ", "+1", "yes", "1e3"}) {
        ASSERT_EQ(Set("text", std::string(text)), 0);
        EXPECT_EQ(Get("text", 7, DM::DEVICE_VALUE_UNSUITABLE), 7) << text;
        EXPECT_EQ(Get("text", true, DM::DEVICE_VALUE_UNSUITABLE), true) << text;
    }
}

TEST_F(DeviceManager, NamesOfAttributesCountByCaseAndBytes) {
    ASSERT_EQ(Set("isConnected", 1), 0);
    EXPECT_EQ(Get("IsConnected", true, DM::DEVICE_NO_ATTRIBUTE), true);
    ASSERT_EQ(Set(std::string("is\0Connected", 12), 3), 0);
    EXPECT_EQ(Get("isConnected", 0), 1);
    EXPECT_EQ(Set("", 1), DM::DEVICE_BAD_NAME);
}

TEST_F(DeviceManager, AnAttributeNamedLikeAMemberIsTheMember) {
    Record record;
    record.DevName = "before";
    record.PairedTime = L"12";
    ASSERT_EQ(Manager().SetPresentDeviceInfo(name_, record), 0);
    EXPECT_EQ(std::tuple(Get("DevName", std::string()), Get("ShareType", 0), Get("PairedTime", 0ULL)),
              std::tuple("before", 1, 12ULL));
    ASSERT_EQ(Set("DevName", std::wstring(L"\u624b")), 0);
    ASSERT_EQ(Set("IsTrusted", std::string("true")), 0);
    ASSERT_EQ(Set("MacAddrInt", std::string("18446744073709551615")), 0);
    EXPECT_EQ(Set("MacAddrInt", -1), DM::DEVICE_VALUE_UNSUITABLE);
    EXPECT_EQ(Set("IsSupportCoreLane", 256), DM::DEVICE_VALUE_UNSUITABLE);
    EXPECT_EQ(Set("DevType", std::string("phone")), DM::DEVICE_VALUE_UNSUITABLE);
    EXPECT_EQ(Set("DeviceId", std::string("x")), DM::DEVICE_BAD_NAME);
    EXPECT_EQ(Get("DeviceId", std::string()), name_);
    EXPECT_EQ(Get("IsTrusted", std::string()), "1");
    ASSERT_EQ(Set("devName", std::string("an attribute of its own")), 0);
    ASSERT_EQ(Manager().GetPresentDeviceInfo(name_, record), 0);
    EXPECT_EQ(std::tuple(record.DevName, record.IsTrusted, record.MacAddrInt, record.DeviceId),
              std::tuple("手", true, ~0ULL, name_));
}

TEST_F(DeviceManager, AnUnknownDeviceGivesItsCodeAndIsNotCreated) {
    std::string text = "before";
    Record record;
    record.DevName = "before";
    const int codes[] = {Manager().SetPresentDeviceInfoByName("unknown", "a", text),
                         Manager().SetBoundDeviceInfoByName("unknown", "DevName", text),
                         Manager().GetPresentDeviceInfoByName("unknown", "DevName", text),
                         Manager().GetPresentDeviceInfo("unknown", record),
                         Manager().DeletePresentDeviceInfo("unknown"),
                         Manager().DeleteBoundDeviceInfo("unknown", true)};
    EXPECT_THAT(codes, Each(DM::DEVICE_NOT_FOUND));
    EXPECT_EQ(Manager().SetPresentDeviceInfo("", {}), DM::DEVICE_BAD_NAME);
    EXPECT_EQ(text, "before");
    EXPECT_EQ(record.DevName, "before");
}

TEST_F(DeviceManager, TheCollectionsAreApartAndATrustedBoundDeviceIsKept) {
    ASSERT_EQ(Set("DevType", 3), 0);
    ASSERT_EQ(Manager().SetBoundDeviceInfoByName(name_, "hks_keystore", "key"), 0);
    EXPECT_EQ(Get("hks_keystore", std::string(), DM::DEVICE_NO_ATTRIBUTE), "");
    Record bound;
    bound.IsTrusted = true;
    ASSERT_EQ(Manager().SetBoundDeviceInfo(name_, bound), 0);
    std::string key;
    EXPECT_EQ(Manager().GetBoundDeviceInfoByName(name_, "hks_keystore", key), 0);
    EXPECT_EQ(key, "key");
    EXPECT_EQ(Manager().DeleteBoundDeviceInfo(name_, false), DM::DEVICE_TRUSTED);
    EXPECT_EQ(Manager().GetBoundDeviceInfo(name_, bound), 0);
    EXPECT_EQ(bound.DevType, 0);
    EXPECT_EQ(Manager().DeleteBoundDeviceInfo(name_, true), 0);
    ASSERT_EQ(Manager().SetBoundDeviceInfo(name_, {}), 0);
    EXPECT_EQ(Manager().GetBoundDeviceInfoByName(name_, "hks_keystore", key), DM::DEVICE_NO_ATTRIBUTE);
    EXPECT_EQ(Get("DevType", 0), 3);
}

}  // namespace
