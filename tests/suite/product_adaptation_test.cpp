#include <gtest/gtest.h>

#include "pelora/device_info.h"
#include "pelora/ie_proxy_helper.h"
#include "pelora/registry.h"
#include "support/https_world.h"
#include "support/machine_value.h"

namespace {

using tandor::test::HttpsWorld;
using tandor::test::MachineValue;

TEST(IEProxyHelper, FindsTheProxyForHttpsInAList) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"proxy.example:8080", L"proxy.example:8080"},
        {L"http=a:1;https=b:2;ftp=c:3", L"b:2"},
        {L"  HTTPS=https://b:2 http=a:1", L"b:2"},
        {L"general:9;https=b:2", L"b:2"},
        {L"socks=s:1; general:9", L"general:9"},
        {L"http=a:1;socks=s:1", L""},
        {L"http://a:1/", L"a:1/"},
        {L"https=", L""},
        {L";;  ;", L""},
        {L"", L""},
    };
    for (const auto& [list, proxy] : cases) EXPECT_EQ(IEProxyHelper::HttpsProxyFrom(list), proxy) << list;
}

TEST(IEProxyHelper, ReadsTheUsersSettingsAnew) {
    const HttpsWorld world;
    IEProxyHelper& helper = *IEProxyHelper::GetInstance();
    EXPECT_FALSE(helper.GetDefaultIEProxy());
    HttpsWorld::SetSystemProxy("https=10.0.0.1:3128");
    ASSERT_TRUE(helper.GetDefaultIEProxy());
    EXPECT_EQ(helper.GetProxy(), "10.0.0.1:3128");
    HttpsWorld::SetSystemProxy("other:1", false);  // named, but switched off
    EXPECT_FALSE(helper.GetDefaultIEProxy());
    EXPECT_EQ(helper.GetProxy(), "10.0.0.1:3128");
}

TEST(DeviceInfo, ComesFromTheMachine) {
    std::wstring machine;
    DE::Registry::GetValue(DE::RegistryRoot::kLocalMachine, L"SOFTWARE\\Microsoft\\Cryptography", L"MachineGuid",
                           machine);
    {
        const MachineValue none(L"SOFTWARE\\Vextro\\Pelora", L"DeviceId", L" ");
        EXPECT_EQ(DeviceInfo::GetDeviceId(), std::string(machine.begin(), machine.end()));
        EXPECT_GE(machine.size(), 32U);
    }
    const MachineValue own(L"SOFTWARE\\Vextro\\Pelora", L"DeviceId", L" 设备-7 ");
    EXPECT_EQ(DeviceInfo::GetDeviceId(), "设备-7");
}

TEST(DeviceType, HasANameOrSaysSo) {
    constexpr const wchar_t* kBios = L"HARDWARE\\DESCRIPTION\\System\\BIOS";
    std::string name = "before";
    const MachineValue product(kBios, L"SystemProductName", L"Default string"), board(kBios, L"BaseBoardProduct", L"");
    {
        const MachineValue none(L"SOFTWARE\\Vextro\\Pelora", L"DeviceType", L"");
        EXPECT_NE(DeviceType::GetInstance().GetProductName(name), 0);
        EXPECT_EQ(name, "before");
    }
    const MachineValue own(L"SOFTWARE\\Vextro\\Pelora", L"DeviceType", L"Modell Ü");
    EXPECT_EQ(DeviceType::GetInstance().GetProductName(name), 0);
    EXPECT_EQ(name, "Modell Ü");
}

}  // namespace
