#include "support/testing.h"

namespace {

using namespace tandor::test;

constexpr const wchar_t* kKey = L"\\SOFTWARE\\Vextro\\Pelora\\Prüfung 手机";

class RegistryTest : public testing::TestWithParam<RegistryRoot> {
protected:
    void SetUp() override { Registry::DeleteKey(GetParam(), kKey); }
    void TearDown() override { EXPECT_TRUE(Registry::DeleteKey(GetParam(), kKey)); }

    template <class Value>
    void ExpectKept(const Value& value) {
        EXPECT_TRUE(Registry::SetValue(GetParam(), kKey, L"value", value));
        EXPECT_EQ(ReadValue<Value>(GetParam(), kKey, L"value"), value);
    }
};

TEST_P(RegistryTest, KeepsEveryTypeOfValue) {
    EXPECT_FALSE(Registry::KeyExists(GetParam(), kKey));
    for (const std::wstring& text : {std::wstring(), std::wstring(L"one"), std::wstring(5000, L'中')}) ExpectKept(text);
    ExpectKept(std::uint32_t{0xFFFFFFFF});
    ExpectKept(std::vector<unsigned char>{0, 255, 0, 1});
    EXPECT_TRUE(Registry::KeyExists(GetParam(), kKey));
}

TEST_P(RegistryTest, AFailedReadLeavesTheValue) {
    const RegistryRoot root = GetParam();
    std::wstring text = L"before";
    std::uint32_t number = 7;
    ASSERT_TRUE(Registry::SetValue(root, kKey, L"text", std::wstring(L"12")));
    for (const auto* const name : {L"text", L"missing"}) EXPECT_FALSE(Registry::GetValue(root, kKey, name, number));
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(Registry::DeleteValue(root, kKey, L"text"));
    EXPECT_FALSE(Registry::GetValue(root, kKey, L"text", text));
    EXPECT_EQ(text + std::to_wstring(number), L"before7");
}

INSTANTIATE_TEST_SUITE_P(Roots, RegistryTest,
                         testing::Values(RegistryRoot::kLocalMachine, RegistryRoot::kCurrentUser, RegistryRoot::kUser));

TEST(Registry, TheUsersHiveIsTheCurrentUsers) {
    ASSERT_TRUE(Registry::SetValue(RegistryRoot::kUser, kKey, L"same", std::uint32_t{5}));
    EXPECT_EQ(ReadValue<std::uint32_t>(RegistryRoot::kCurrentUser, kKey, L"same"), 5u);
    EXPECT_TRUE(Registry::DeleteKey(RegistryRoot::kUser, kKey));
}

TEST(Registry, AServiceSetsForTheUserAtTheConsoleOrForItself) {
    RunChildren({L"service-setting user"});
    RunChildren({L"service-setting nobody"});
}

TEST(Registry, AFailedWriteSaysSo) {
    HostLog log;
    // A key name longer than 255 characters cannot be made.
    EXPECT_FALSE(Registry::SetValue(RegistryRoot::kCurrentUser, std::wstring(300, L'k'), L"value", std::uint32_t{1}));
    EXPECT_THAT(log.Take(), ElementsAre(L"4 DE::Registry::SetValue : Fail"));
}

}  // namespace
