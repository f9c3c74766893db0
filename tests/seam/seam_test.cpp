#include "support/testing.h"
#include "tandor/text.h"
#include "tests/seam/recording_log.h"

namespace {

using namespace tandor::test;

// The other tests here would pass over the embedded services as well.
TEST(Seam, TheLibraryLogsToTheServiceThatTookTheEmbeddedOnesPlace) {
    EXPECT_EQ(::GetModuleHandleW(L"PeloraSuite.dll"), nullptr);
    ASSERT_NE(::GetModuleHandleW(L"TandorUtil.dll"), nullptr);
    const std::string device = "a device that nobody knows";
    EXPECT_EQ(TandorUtilClass::GetPeerDeviceVersion(device), 0u);
    EXPECT_THAT(RecordedMessages(), Contains(L"3 Get DeviceVersion fail(TandorUtilClass::GetPeerDeviceVersion)"));
}

}  // namespace
