// How much memory the JSON forms take, told by the sanitizers' allocator.
#include <sanitizer/allocator_interface.h>

#include "support/testing.h"
#include "tandor/device_summary.h"

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

}  // namespace
