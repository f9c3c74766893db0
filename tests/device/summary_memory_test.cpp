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

TEST(DeviceSummary, WritingNeedsNoMemoryBesideTheText) {
    ASSERT_NE(__sanitizer_install_malloc_and_free_hooks(OnAllocation, OnRelease), 0);
    std::vector<BluetoothDeviceSummary> devices(10'000);
    for (auto& device : devices) device.DevName = "device";
    devices[5].Summary = std::string(100'000, 's');
    counting = true;
    const std::string text = BluetoothDeviceSummarySerialize::ToString(devices);
    counting = false;
    EXPECT_GE(peak, text.size());
    EXPECT_LE(static_cast<double>(peak), 1.2 * static_cast<double>(text.size()));
}

}  // namespace
