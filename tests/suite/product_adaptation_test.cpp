#include "pelora/device_info.h"
#include "pelora/ie_proxy_helper.h"
#include "support/https_world.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

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
    Registry::GetValue(RegistryRoot::kLocalMachine, L"SOFTWARE\\Microsoft\\Cryptography", L"MachineGuid", machine);
    {
        const MachineText none(kSuiteKey, L"DeviceId", L" ");
        EXPECT_EQ(DeviceInfo::GetDeviceId(), std::string(machine.begin(), machine.end()));
        EXPECT_GE(machine.size(), 32U);
    }
    const MachineText own(kSuiteKey, L"DeviceId", L" 设备-7 ");
    EXPECT_EQ(DeviceInfo::GetDeviceId(), "设备-7");
}

}  // namespace
