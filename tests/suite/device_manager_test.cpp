#include "pelora/device_manager.h"

#include <gtest/gtest.h>

#include "tandor/text.h"

namespace {

DM::DeviceMgr& Manager() { return DM::DeviceMgr::GetInstance(); }

TEST(DeviceManager, ConvertsBetweenTheTypesOfItsAttributes) {
    const std::string device = "Handy \xE6\x89\x8B";
    ASSERT_EQ(Manager().SetPresentDeviceInfo(device, {}), DM::DEVICE_OK);
    bool flag = true;
    int number = 0;
    ASSERT_EQ(Manager().SetPresentDeviceInfoByName(device, "a", flag), DM::DEVICE_OK);
    EXPECT_EQ(Manager().GetPresentDeviceInfoByName(device, "a", number), DM::DEVICE_OK);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(Manager().DeletePresentDeviceInfo(device), DM::DEVICE_OK);
}

TEST(DeviceManager, TellsTheVersionOfAPeer) {
    const std::string device = "phone with version";
    ASSERT_EQ(Manager().SetPresentDeviceInfo(device, {}), DM::DEVICE_OK);
    EXPECT_EQ(TandorUtilClass::GetPeerDeviceVersion(device), 0u);
    ASSERT_EQ(Manager().SetPresentDeviceInfoByName(device, "peerDeviceVersion", std::string("10.0.0.100")),
              DM::DEVICE_OK);
    EXPECT_EQ(TandorUtilClass::GetPeerDeviceVersion(device), 0x0A000064u);
    EXPECT_TRUE(TandorUtilClass::IsDeviceVersionMoreThanKOSM10(device));
    EXPECT_EQ(Manager().DeletePresentDeviceInfo(device), DM::DEVICE_OK);
}

}  // namespace
