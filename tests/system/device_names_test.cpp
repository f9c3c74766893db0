// Hardware identifiers and the names of the driver store's folders.
#include "support/testing.h"
#include "system/driver_store.h"
#include "system/hardware_id.h"

namespace {

using namespace tandor::test;

using namespace std::string_view_literals;

TEST(HardwareId, FillsAListUpToTheSystemsLimit) {
    tandor::IdentifierList list;
    const std::wstring longest(200, L'x');
    list.fill(L'#');
    ASSERT_TRUE(tandor::PutIdentifier(longest, list));
    EXPECT_EQ(std::wstring_view(list.data(), list.size()), longest + std::wstring(2, L'\0'));
    list.fill(L'#');
    ASSERT_TRUE(tandor::PutIdentifier(L"Root\\Pad", list));
    EXPECT_EQ(std::wstring_view(list.data(), list.size()), L"Root\\Pad" + std::wstring(194, L'\0'));
    for (const std::wstring& bad : {std::wstring(), longest + L"x", std::wstring(L"a\0b"sv)}) {
        EXPECT_FALSE(tandor::PutIdentifier(bad, list));
        EXPECT_EQ(list[0], L'R');
    }
}

TEST(HardwareId, ReadsListsHoweverTheyEnd) {
    EXPECT_THAT(tandor::IdentifiersOf(L"a\0bc\0\0d\0"sv), ElementsAre(L"a", L"bc"));
    EXPECT_THAT(tandor::IdentifiersOf(L"a\0bc"sv), ElementsAre(L"a", L"bc"));
    EXPECT_THAT(tandor::IdentifiersOf(L"a\0"sv), ElementsAre(L"a"));
    EXPECT_THAT(tandor::IdentifiersOf(L"\0a\0\0"sv), IsEmpty());
    EXPECT_THAT(tandor::IdentifiersOf({}), IsEmpty());
}

TEST(HardwareId, MatchesAWholeIdentifierInEitherCase) {
    const auto list = L"ROOT\\Pad&Rev_2\0Root\\PAD\0*PNP0A[3\0\0Root\\Later\0"sv;
    for (const auto* const present : {L"root\\pad&rev_2", L"Root\\Pad", L"*pnp0a[3"})
        EXPECT_TRUE(tandor::HasIdentifier(list, present));
    // Half of one, two at once, a bracket that is no brace in the other case, nothing, behind the end
    for (const auto absent :
         {L"Root\\Pa"sv, L"Root\\Pad2"sv, L"Root\\PAD\0*PNP0A[3"sv, L"*PNP0A{3"sv, L""sv, L"Root\\Later"sv})
        EXPECT_FALSE(tandor::HasIdentifier(list, absent));
}

TEST(DriverStore, FoldersBelongToAnInfByNameProcessorAndDigest) {
    for (const auto* const folder : {L"pad.inf_amd64_5f3c1e0d9a7b8c42", L"pad.inf_x86_0"})
        EXPECT_TRUE(tandor::IsStoreFolderOf(folder, L"pad.inf")) << folder;
    for (const auto* const folder :
         {L"pad.inf", L"pad.inf_amd64", L"pad.inf_amd64_", L"pad.inf__5f", L"pad.inf_am-d_5f", L"pad.inf_amd64_5g",
          L"pad.infx_amd64_5f", L"mypad.inf_amd64_5f", L"pad.inf_5f", L""})
        EXPECT_FALSE(tandor::IsStoreFolderOf(folder, L"pad.inf")) << folder;
    EXPECT_TRUE(tandor::IsStoreFolderOf(L"my_pad.inf_amd64_1", L"my_pad.inf"));
    EXPECT_FALSE(tandor::IsStoreFolderOf(L"_amd64_1", L""));
}

}  // namespace
