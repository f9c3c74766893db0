// How much memory the JSON forms and the geometry take, told by the sanitizers' allocator.
#include <sanitizer/allocator_interface.h>

#include "support/edid_sample.h"
#include "support/testing.h"
#include "tandor/device_summary.h"
#include "tandor/edid.h"

namespace {

using namespace tandor::test;

std::atomic<bool> counting{false};
std::atomic<std::size_t> held{0};
std::atomic<std::size_t> peak{0};

void OnAllocation(const volatile void*, std::size_t size) {
    if (!counting) return;
    const std::size_t now = held += size;
    if (now > peak) peak = now;
}

void OnRelease(const volatile void* block) {
    if (counting && block != nullptr) held -= __sanitizer_get_allocated_size(block);
}

void Count() {
    static const int installed = __sanitizer_install_malloc_and_free_hooks(OnAllocation, OnRelease);
    ASSERT_NE(installed, 0);
    held = peak = 0;
    counting = true;
}

TEST(DeviceSummary, WritingNeedsNoMemoryBesideTheText) {
    std::vector<BluetoothDeviceSummary> devices(10'000);
    for (auto& device : devices) device.DevName = "device";
    devices[5].Summary = std::string(100'000, 's');
    Count();
    const std::string text = BluetoothDeviceSummarySerialize::ToString(devices);
    counting = false;
    EXPECT_GE(peak, text.size());
    EXPECT_LE(static_cast<double>(peak), 1.2 * static_cast<double>(text.size()));
}

TEST(EdidData, CoordinatesAndCoverageNeedNoMemory) {
    const std::vector<unsigned char> edid = SampleEdid(tandor::kAdobeRgb);
    std::vector<double> coordinates(8);
    const GetEdidData::Points p3(tandor::kP3.begin(), tandor::kP3.end());
    const GetEdidData::Points sliver{{0, 0}, {1, 1e-17}, {.5, 0}, {0, 0}};  // which plain arithmetic cannot judge
    std::pair<double, double> coverage, narrow;
    Count();
    const bool read = GetEdidData::ParseCoordinateFromEdid(edid.data(), 128, coordinates);
    GetEdidData::GamutCoverage(p3, p3, coverage);
    GetEdidData::GamutCoverage(sliver, p3, narrow);
    const bool supported = GetEdidData::IsSupportP3Gamut(p3);
    counting = false;
    EXPECT_EQ(peak, 0u);
    EXPECT_TRUE(read && supported && coverage.second > 0.99);
}

}  // namespace
