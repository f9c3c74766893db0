#include "base/win_apartment.h"
#include "support/apartments.h"
#include "support/edid_sample.h"
#include "support/management_double.h"
#include "support/testing.h"
#include "tandor/edid.h"

namespace {

using namespace tandor::test;

constexpr const wchar_t* kDevice = L"DISPLAY\\VXT0042\\4&2f5c1e7&0&Test-手机";

// A panel of the maker's in the registry, gone at the end.
class PanelQuery : public testing::Test {
protected:
    void Put(const tandor::Gamut& gamut) {
        ASSERT_TRUE(Registry::SetValue(RegistryRoot::kLocalMachine, Key(), L"EDID", SampleEdid(gamut)));
    }
    void TearDown() override {
        EXPECT_TRUE(
            Registry::DeleteKey(RegistryRoot::kLocalMachine, L"SYSTEM\\CurrentControlSet\\Enum\\DISPLAY\\VXT0042"));
        EXPECT_EQ(ManagementDouble::Live(), 0);
    }
    static std::wstring Key() {
        return std::wstring(L"SYSTEM\\CurrentControlSet\\Enum\\") + kDevice + L"\\Device Parameters";
    }

    HostLog log_;
};

TEST_F(PanelQuery, FindsThePanelAmongTheMonitors) {
    ManagementDouble service({Row{{L"PNPDeviceID", std::nullopt}}, Row{}, Row{{L"PNPDeviceID", kDevice}},
                              Row{{L"PNPDeviceID", L"A\\B\\C"}}});
    EXPECT_EQ(GetEdidData::GetPnpDeviceID(), kDevice);
    EXPECT_THAT(service->asked,
                ElementsAre(L"ROOT\\CIMV2|WQL|SELECT PNPDeviceID, MonitorManufacturer FROM Win32_DesktopMonitor "
                            L"WHERE         MonitorManufacturer LIKE 'Vextro Device%'"));
    EXPECT_EQ(service->blankets, 1);
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(PanelQuery, CutsTheInstanceOutAndSaysWhatIsMissing) {
    for (const auto& [id, missing] : {std::pair{L"", L"PNPDeviceID"},
                                      {L"DISPLAY", L"deviceId's firstIndex"},
                                      {L"DISPLAY\\VXT0042", L"deviceId's secondIndex"}}) {
        const ManagementDouble service({Row{{L"PNPDeviceID", id}}});
        EXPECT_EQ(GetEdidData::GetPnpDeviceID(), L"");
        EXPECT_THAT(log_.Take(),
                    ElementsAre(L"4  " + std::wstring(missing) + L" is NULL.(GetEdidData::GetPnpDeviceID)"));
    }
    const ManagementDouble service({Row{{L"PNPDeviceID", L"DISPLAY\\VXT0042\\4&1\\tail\\more"}}});
    EXPECT_EQ(GetEdidData::GetPnpDeviceID(), L"DISPLAY\\VXT0042\\4&1");
}

TEST_F(PanelQuery, AServiceThatFailsIsNamed) {
    constexpr HRESULT kDenied = static_cast<HRESULT>(WBEM_E_ACCESS_DENIED);
    const auto lines = ElementsAre(L"4 : management query fail: 0x80041003(GetEdidData::GetPnpDeviceID)",
                                   L"4  PNPDeviceID is NULL.(GetEdidData::GetPnpDeviceID)");
    for (HRESULT ManagementDouble::Script::*const step :
         {&ManagementDouble::Script::connect, &ManagementDouble::Script::query, &ManagementDouble::Script::next}) {
        ManagementDouble service({Row{{L"PNPDeviceID", kDevice}}});
        (*service).*step = kDenied;
        EXPECT_EQ(GetEdidData::GetPnpDeviceID(), L"");
        EXPECT_THAT(log_.Take(), lines);
    }
}

TEST_F(PanelQuery, AFailureIsToldByEveryLink) {
    const auto failed = [this] {
        std::vector<double> coordinates{1};
        EXPECT_FALSE(GetEdidData::GetColorCoordinate(coordinates));
        EXPECT_THAT(coordinates, IsEmpty());
        auto lines = log_.Take();
        std::erase_if(lines, [](const std::wstring& line) { return line.find(L"management query") != line.npos; });
        EXPECT_THAT(lines, ElementsAre(L"4  PNPDeviceID is NULL.(GetEdidData::GetPnpDeviceID)",
                                       L"4 : EdidRegistryPath is NULL!(GetEdidData::GetEdidDataPath)",
                                       L"4 : EdidDataPath invalid!(GetEdidData::GetLcdEdidData)",
                                       L"4 : Get colorCoordinate failed!(GetEdidData::GetColorCoordinate)"));
    };
    {
        const ManagementDouble empty({});
        failed();
    }
    {
        ManagementDouble other({Row{{L"PNPDeviceID", kDevice}}});
        other->number_instead = true;  // the column is no text
        failed();
    }
    failed();  // without a double the service's class is not registered
}

TEST_F(PanelQuery, WorksInEveryApartmentAndLeavesItAsItWas) {
    ManagementDouble service({Row{{L"Caption", L"Bildschirm 手机"}, {L"PNPDeviceID", kDevice}}});
    InEachApartment([] {
        EXPECT_EQ(GetEdidData::GetLCDNameByWMI(), L"Bildschirm 手机");
        EXPECT_EQ(GetEdidData::GetPnpDeviceID(), kDevice);
    });
    EXPECT_EQ(service->asked.front(), L"ROOT\\CIMV2|WQL|SELECT Caption FROM Win32_DesktopMonitor");
}

// A value that another thread makes shorter, longer, empty and gone while it is read is one of those at each look.
TEST_F(PanelQuery, AValueThatChangesIsReadAsItWasOnce) {
    std::vector<Bytes> values{{}, Bytes(128, 1), Bytes(384, 2), Bytes(32768, 3)};
    const std::wstring path = GetEdidData::GetEdidDataPath(kDevice);
    ASSERT_TRUE(Registry::SetValue(RegistryRoot::kLocalMachine, Key(), L"EDID", values[1]));
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (std::size_t i = 0; !done; ++i) {
            if (i % 5 == 4) {
                Registry::DeleteValue(RegistryRoot::kLocalMachine, Key(), L"EDID");
            } else {
                Registry::SetValue(RegistryRoot::kLocalMachine, Key(), L"EDID", values[i % 5]);
            }
        }
    });
    for (int i = 0; i < 2000; ++i) {
        const Bytes read = GetEdidData::GetLcdEdidData(path);
        if (std::ranges::find(values, read) == values.end()) ADD_FAILURE() << read.size();
    }
    done = true;
    writer.join();
    log_.Take();
}

TEST_F(PanelQuery, ReadsTheRegistry) {
    Put(tandor::kP3);
    const std::wstring path = GetEdidData::GetEdidDataPath(kDevice);
    EXPECT_EQ(path, Key() + L"\\");
    EXPECT_EQ(GetEdidData::GetLcdEdidData(path), SampleEdid(tandor::kP3));
    EXPECT_TRUE(log_.Take().empty());
    EXPECT_TRUE(GetEdidData::GetEdidDataPath(L"").empty());
    for (const auto* const none : {L"", L"SYSTEM\\CurrentControlSet\\Enum\\DISPLAY\\none\\"})
        EXPECT_TRUE(GetEdidData::GetLcdEdidData(none).empty());
    ASSERT_TRUE(Registry::SetValue(RegistryRoot::kLocalMachine, Key(), L"EDID", std::wstring(L"text")));
    EXPECT_TRUE(GetEdidData::GetLcdEdidData(path).empty());
    EXPECT_THAT(log_.Take(), ElementsAre(L"4 : EdidRegistryPath is NULL!(GetEdidData::GetEdidDataPath)",
                                         L"4 : EdidDataPath invalid!(GetEdidData::GetLcdEdidData)",
                                         L"4 : RegOpenKeyEx failed!(GetEdidData::GetLcdEdidData)",
                                         L"4 : RegQueryValueEx failed!(GetEdidData::GetLcdEdidData)"));
}

TEST_F(PanelQuery, JudgesThePanel) {
    const ManagementDouble service({Row{{L"PNPDeviceID", kDevice}}});
    const std::pair<tandor::Gamut, bool> panels[] = {
        {tandor::kP3, true}, {tandor::kAdobeRgb, true}, {tandor::kBt2020, true}, {tandor::kSrgb, false}, {{}, false}};
    for (const auto& [gamut, wide] : panels) {
        Put(gamut);
        EXPECT_EQ(GetEdidData::IsSupportWideGamut(), wide);
        const auto* const line = L"3 : Current device not supports WideColorGamut!(GetEdidData::IsSupportWideGamut)";
        EXPECT_EQ(log_.Take(), std::vector<std::wstring>(wide ? 0 : 1, line));
        std::vector<double> coordinates;
        ASSERT_TRUE(GetEdidData::GetColorCoordinate(coordinates));
        ASSERT_EQ(coordinates.size(), 8u);
        EXPECT_NEAR(coordinates[3], gamut[1].second, 0.0005);
    }
    ASSERT_TRUE(Registry::SetValue(RegistryRoot::kLocalMachine, Key(), L"EDID", std::vector<unsigned char>(11, 0xFF)));
    EXPECT_FALSE(GetEdidData::IsSupportWideGamut());
    EXPECT_THAT(log_.Take(), ElementsAre(L"4 : Get colorCoordinate failed!(GetEdidData::GetColorCoordinate)"));
}

TEST_F(PanelQuery, RefusesListsOfTheWrongSize) {
    const auto edid = SampleEdid(tandor::kAdobeRgb);
    std::vector<double> coordinates;
    const auto parses = [&](const unsigned char* data, unsigned length, std::size_t size) {
        coordinates.assign(size, 9);
        return GetEdidData::ParseCoordinateFromEdid(data, length, coordinates);
    };
    for (const std::size_t size : {0u, 7u, 9u}) EXPECT_FALSE(parses(edid.data(), 128, size)) << size;
    EXPECT_FALSE(parses(nullptr, 128, 8));
    for (const unsigned length : {0u, 11u, 34u}) EXPECT_FALSE(parses(edid.data(), length, 8)) << length;
    EXPECT_THAT(coordinates, Each(9));
    for (const unsigned length : {35u, 129u, 32768u}) {
        Bytes odd(length + 1);  // at an odd address
        std::copy_n(edid.begin(), std::min<std::size_t>(length, edid.size()), odd.begin() + 1);
        EXPECT_TRUE(parses(odd.data() + 1, length, 8)) << length;
        EXPECT_EQ(coordinates[3], 727 / 1024.0);
    }
    EXPECT_EQ(GetEdidData::CoordinateConversion({edid.begin() + 25, edid.begin() + 35}), coordinates);
    EXPECT_TRUE(GetEdidData::CoordinateConversion(std::vector<unsigned char>(9)).empty());
    EXPECT_EQ(GetEdidData::BinaryToDecimal(0xF3FF), 0.9990234375);  // ten bits count

    const GetEdidData::Points adobe(tandor::kAdobeRgb.begin(), tandor::kAdobeRgb.end());
    const GetEdidData::Points three(adobe.begin(), adobe.begin() + 3);
    std::pair<double, double> coverage{7, 7};
    GetEdidData::GamutCoverage(adobe, three, coverage);
    EXPECT_EQ(coverage, std::make_pair(0.0, 0.0));
    EXPECT_FALSE(GetEdidData::IsSupportP3Gamut(three));
    EXPECT_EQ(GetEdidData::GamutProcess(three, adobe).size(), 3u);
    EXPECT_TRUE(GetEdidData::GamutProcess(three, {}).empty());
    const std::wstring invalid = L"4 : The input parameter for the ";
    const std::wstring coverage_line = invalid + L"gamutCoverage is invalid!(GetEdidData::GamutCoverage)";
    EXPECT_THAT(log_.Take(),
                ElementsAre(invalid + L"conversion is invalid!(GetEdidData::CoordinateConversion)", coverage_line,
                            coverage_line, invalid + L"gamutProcess is invalid!(GetEdidData::GamutProcess)"));
    GetEdidData::GamutCoverage(adobe, adobe, coverage);
    EXPECT_NEAR(coverage.second, 1, 1e-12);
    EXPECT_TRUE(GetEdidData::IsSupportAdobeRGBGamut(adobe));
    EXPECT_FALSE(GetEdidData::IsSupportP3Gamut(adobe) || GetEdidData::IsSupportBT2020Gamut(adobe));
    EXPECT_TRUE(GetEdidData::GetPointInsideTriangle(adobe, {.3, .3}));
    EXPECT_FALSE(GetEdidData::GetPointInsideTriangle({}, {.3, .3}));
}

}  // namespace
