#include "pelora/registry.h"

#include <gtest/gtest.h>

#include "support/host_log.h"

namespace {

using DE::Registry;
using DE::RegistryRoot;

constexpr const wchar_t* kKey = L"\\SOFTWARE\\Vextro\\Pelora\\Prüfung 手机";

class RegistryTest : public testing::TestWithParam<RegistryRoot> {
protected:
    void SetUp() override { Registry::DeleteKey(GetParam(), kKey); }
    void TearDown() override { EXPECT_TRUE(Registry::DeleteKey(GetParam(), kKey)); }
};

TEST_P(RegistryTest, KeepsEveryTypeOfValue) {
    const RegistryRoot root = GetParam();
    EXPECT_FALSE(Registry::KeyExists(root, kKey));
    for (const std::wstring& text : {std::wstring(), std::wstring(L"one"), std::wstring(5000, L'\u4e2d')}) {
        ASSERT_TRUE(Registry::SetValue(root, kKey, L"text", text));
        std::wstring read = L"before";
        ASSERT_TRUE(Registry::GetValue(root, kKey, L"text", read));
        EXPECT_EQ(read, text);
    }
    EXPECT_TRUE(Registry::KeyExists(root, kKey));
    ASSERT_TRUE(Registry::SetValue(root, kKey, L"number", std::uint32_t{0xFFFFFFFF}));
    std::uint32_t number = 0;
    ASSERT_TRUE(Registry::GetValue(root, kKey, L"number", number));
    EXPECT_EQ(number, 0xFFFFFFFF);
    const std::vector<unsigned char> bytes{0, 255, 0, 1};
    ASSERT_TRUE(Registry::SetValue(root, kKey, L"bytes", bytes));
    std::vector<unsigned char> read_bytes{9};
    ASSERT_TRUE(Registry::GetValue(root, kKey, L"bytes", read_bytes));
    EXPECT_EQ(read_bytes, bytes);
}

TEST_P(RegistryTest, AFailedReadLeavesTheValue) {
    const RegistryRoot root = GetParam();
    std::wstring text = L"before";
    std::uint32_t number = 7;
    EXPECT_FALSE(Registry::GetValue(root, kKey, L"missing", text));
    ASSERT_TRUE(Registry::SetValue(root, kKey, L"text", std::wstring(L"12")));
    EXPECT_FALSE(Registry::GetValue(root, kKey, L"text", number));
    EXPECT_FALSE(Registry::GetValue(root, kKey, L"missing", number));
    EXPECT_EQ(text, L"before");
    EXPECT_EQ(number, 7u);
    EXPECT_TRUE(Registry::DeleteValue(root, kKey, L"text"));
    EXPECT_TRUE(Registry::DeleteValue(root, kKey, L"text"));
    EXPECT_FALSE(Registry::GetValue(root, kKey, L"text", text));
}

INSTANTIATE_TEST_SUITE_P(Roots, RegistryTest,
                         testing::Values(RegistryRoot::kLocalMachine, RegistryRoot::kCurrentUser, RegistryRoot::kUser));

TEST(Registry, TheUsersHiveIsTheCurrentUsers) {
    ASSERT_TRUE(Registry::SetValue(RegistryRoot::kUser, kKey, L"same", std::uint32_t{5}));
    std::uint32_t number = 0;
    EXPECT_TRUE(Registry::GetValue(RegistryRoot::kCurrentUser, kKey, L"same", number));
    EXPECT_EQ(number, 5u);
    EXPECT_TRUE(Registry::DeleteKey(RegistryRoot::kUser, kKey));
}

TEST(Registry, AFailedWriteSaysSo) {
    tandor::test::HostLog log;
    // A key name longer than 255 characters cannot be made.
    EXPECT_FALSE(Registry::SetValue(RegistryRoot::kCurrentUser, std::wstring(300, L'k'), L"value", std::uint32_t{1}));
    EXPECT_EQ(log.Take(), std::vector<std::wstring>{L"4 DE::Registry::SetValue : Fail"});
}

}  // namespace
