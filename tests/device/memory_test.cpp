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

struct Memory {
    std::size_t peak;
    std::size_t result;
};

// What `work` takes at most, and what its result holds.
template <class Work>
Memory MemoryOf(Work work) {
    static const int hooked = __sanitizer_install_malloc_and_free_hooks(OnAllocation, OnRelease);
    EXPECT_NE(hooked, 0);
    held = peak = 0;
    counting = true;
    const auto result = work();
    counting = false;
    EXPECT_FALSE(result.empty());
    return {peak, held};
}

using Serialize = BluetoothDeviceSummarySerialize;

double Ratio(const Memory& memory) { return static_cast<double>(memory.peak) / static_cast<double>(memory.result); }

TEST(DeviceSummary, TakesLittleMemoryBesideTheResult) {
    for (const std::size_t count : {std::size_t{1}, std::size_t{100}, std::size_t{10'000}}) {
        std::vector<BluetoothDeviceSummary> devices(count);
        for (auto& device : devices) device.DevName = device.PeerUuid = "a text that lies on the heap";
        const std::string text = Serialize::ToString(devices);
        EXPECT_LE(Ratio(MemoryOf([&] { return Serialize::ToString(devices); })), 1.2) << count;
        const Memory reading = MemoryOf([&] { return Serialize::FromString(text); });
        EXPECT_LE(Ratio(reading), 3) << count;
        RecordProperty("reading_" + std::to_string(count), std::to_string(Ratio(reading)));
    }
}

TEST(EdidData, CoordinatesAndCoverageNeedNoMemory) {
    const std::vector<unsigned char> edid = SampleEdid(tandor::kAdobeRgb);
    std::vector<double> coordinates(8);
    const GetEdidData::Points p3(tandor::kP3.begin(), tandor::kP3.end());
    const GetEdidData::Points sliver{{0, 0}, {1, 1e-17}, {.5, 0}, {0, 0}};  // which plain arithmetic cannot judge
    std::pair<double, double> coverage, narrow;
    const Memory memory = MemoryOf([&] {
        const bool read = GetEdidData::ParseCoordinateFromEdid(edid.data(), 128, coordinates);
        GetEdidData::GamutCoverage(p3, p3, coverage);
        GetEdidData::GamutCoverage(sliver, p3, narrow);
        return std::string_view(read && GetEdidData::IsSupportP3Gamut(p3) && coverage.second > 0.99 ? "done" : "");
    });
    EXPECT_EQ(memory.peak, 0u);
}

}  // namespace
