#include "support/testing.h"
// Their header wants what comes before it.
#include <objidl.h>
using std::max, std::min;
#include <gdiplus.h>

#include "pelora/device_manager.h"
#include "tandor/text.h"

namespace {

using namespace tandor::test;

constexpr const wchar_t* kShareKey = L"\\SOFTWARE\\Vextro\\Pelora\\KoShare";

TEST(PeerVersion, IsReadFromTheStoreJudgedAndLogged) {
    auto& devices = DM::DeviceMgr::GetInstance();
    const std::string device = "版本 phone";
    ASSERT_EQ(devices.SetPresentDeviceInfo(device, {}), 0);
    const std::pair<std::string, bool> versions[] = {
        {"10.0.0.100", true}, {"10.0.0.99", false}, {"11", false}, {"11.0.0.0", true}};
    for (const auto& [version, modern] : versions) {
        ASSERT_EQ(devices.SetPresentDeviceInfoByName(device, "peerDeviceVersion", version), 0);
        HostLog log;
        EXPECT_EQ(TandorUtilClass::GetPeerDeviceVersion(device), TandorUtilClass::CalcVersion(version));
        EXPECT_EQ(TandorUtilClass::IsDeviceVersionMoreThanKOSM10(device), modern) << version;
        const std::wstring wide(version.begin(), version.end());
        EXPECT_THAT(log.Take(),
                    ElementsAre(L"3  DeviceVersion : " + wide + L"(TandorUtilClass::GetPeerDeviceVersion)",
                                L"3  DeviceVersion : " + wide + L"(TandorUtilClass::IsDeviceVersionMoreThanKOSM10)"));
    }
    ASSERT_EQ(devices.DeletePresentDeviceInfo(device), 0);
    HostLog log;
    EXPECT_EQ(TandorUtilClass::GetPeerDeviceVersion(device), 0u);
    EXPECT_FALSE(TandorUtilClass::IsDeviceVersionMoreThanKOSM10(device));
    EXPECT_THAT(log.Take(), ElementsAre(L"3  DeviceVersion : (TandorUtilClass::GetPeerDeviceVersion)",
                                        L"3 Get DeviceVersion fail(TandorUtilClass::GetPeerDeviceVersion)",
                                        L"3  DeviceVersion : (TandorUtilClass::IsDeviceVersionMoreThanKOSM10)",
                                        L"3 Get DeviceVersion fail(TandorUtilClass::IsDeviceVersionMoreThanKOSM10)"));
}

TEST(PeerVersion, OfThePairedDeviceComesFromTheRegistry) {
    const auto root = RegistryRoot::kUser;
    Registry::DeleteValue(root, kShareKey, L"PairDeviceVersion");
    EXPECT_EQ(TandorUtilClass::GetKoShareRegistValue(L"PairDeviceVersion", 77), 77u);
    EXPECT_FALSE(TandorUtilClass::IsDeviceVersionMoreThanKOSM10());
    ASSERT_TRUE(Registry::SetValue(root, kShareKey, L"PairDeviceVersion", std::wstring(L"10.0.0.100")));
    EXPECT_EQ(TandorUtilClass::GetKoShareRegistValue(L"PairDeviceVersion", 77), 77u);  // text is not a number
    for (const auto& [packed, modern] : {std::pair{0x0A000063u, false}, {0x0A000064u, true}, {0xFFFFFFFFu, true}}) {
        ASSERT_TRUE(Registry::SetValue(root, kShareKey, L"PairDeviceVersion", std::uint32_t{packed}));
        EXPECT_EQ(TandorUtilClass::GetKoShareRegistValue(L"PairDeviceVersion", 77), packed);
        EXPECT_EQ(TandorUtilClass::IsDeviceVersionMoreThanKOSM10(), modern);
    }
    Registry::DeleteValue(root, kShareKey, L"PairDeviceVersion");
}

class Thumbnail : public testing::Test {
protected:
    void SetUp() override {
        const Gdiplus::GdiplusStartupInput input;
        ASSERT_EQ(Gdiplus::GdiplusStartup(&token_, &input, nullptr), Gdiplus::Ok);
    }
    void TearDown() override { Gdiplus::GdiplusShutdown(token_); }

private:
    ULONG_PTR token_ = 0;
};

// Every pixel tells where it came from, so that the cut shows in the result's first pixel.
TEST_F(Thumbnail, IsCutAroundTheCentre) {
    struct Case {
        unsigned width, height, target_width, target_height, cut_width, cut_height, x, y;
    };
    const Case cases[] = {
        {100, 40, 1, 1, 40, 40, 30, 0},  // too wide: needH = 100 > 40
        {40, 100, 1, 1, 40, 40, 0, 30},  // too high: needW = 100 > 40
        {60, 40, 3, 2, 60, 40, 0, 0},    // fits
        {101, 40, 1, 1, 40, 40, 30, 0},  // the odd column falls on the right
        {100, 40, 16, 9, 71, 40, 14, 0},
    };
    for (const Case& c : cases) {
        Gdiplus::Bitmap bitmap(static_cast<INT>(c.width), static_cast<INT>(c.height), PixelFormat24bppRGB);
        for (unsigned y = 0; y < c.height; ++y) {
            for (unsigned x = 0; x < c.width; ++x) {
                bitmap.SetPixel(static_cast<INT>(x), static_cast<INT>(y),
                                Gdiplus::Color(static_cast<BYTE>(x), static_cast<BYTE>(y), 7));
            }
        }
        const std::unique_ptr<Gdiplus::Bitmap> cut(
            TandorUtilClass::CorrectThumbWH(c.target_width, c.target_height, &bitmap));
        ASSERT_NE(cut, nullptr);
        EXPECT_EQ(cut->GetWidth(), c.cut_width);
        EXPECT_EQ(cut->GetHeight(), c.cut_height);
        EXPECT_EQ(cut->GetPixelFormat(), PixelFormat24bppRGB);
        Gdiplus::Color first;
        cut->GetPixel(0, 0, &first);
        EXPECT_EQ(first.GetRed(), c.x);
        EXPECT_EQ(first.GetGreen(), c.y);
    }
}

TEST_F(Thumbnail, NothingComesOfNothing) {
    EXPECT_EQ(TandorUtilClass::CorrectThumbWH(1, 1, nullptr), nullptr);
    Gdiplus::Bitmap missing(L"C:\\there\\is\\no\\such.png");
    EXPECT_EQ(TandorUtilClass::CorrectThumbWH(1, 1, &missing), nullptr);
    Gdiplus::Bitmap thin(1, 100, PixelFormat24bppRGB);
    EXPECT_EQ(TandorUtilClass::CorrectThumbWH(1000, 1, &thin), nullptr);  // nothing of its height would be left
    EXPECT_NE(thin.GetLastStatus(), Gdiplus::Ok);
}

TEST(Hints, ScaleWithTheDisplay) {
    EXPECT_EQ(TandorUtilClass::GetHintThumbSize(), 110);  // the test display has 96 DPI
    EXPECT_EQ(TandorUtilClass::GetHintQRSize(), 300);
}

}  // namespace
