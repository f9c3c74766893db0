#include "foundation/version.h"
#include "support/testing.h"
#include "tandor/text.h"

namespace {

using namespace tandor::test;

using tandor::VersionOrder;

TEST(Version, Compares) {
    using Pairs = std::vector<std::pair<const char*, const char*>>;
    const auto expect = [](VersionOrder order, const Pairs& pairs) {
        for (const auto& [left, right] : pairs)
            EXPECT_EQ(tandor::CompareVersions(left, right), order) << left << " against " << right;
    };
    expect(VersionOrder::kEqual,
           {{"10.0.1", "10.0.1"}, {"", ""}, {"1.5beta", "1.5"}, {"007", "7"}, {"99999999999999999999", "2147483647"}});
    expect(VersionOrder::kLower, {{"10.0.1", "10.0.2"}, {"a", "b"}, {"", "1"}, {"1..2", "1.0.2"}});
    expect(VersionOrder::kHigher, {{"10.0.10", "10.0.9"}, {"b", "a"}, {"v2", "1"}, {"x.1", "10.1"}});
    expect(VersionOrder::kNotComparable, {{"10.1", "10.0.9"}, {"10.0", "10.0.1"}, {"1.2.3", "1.2.3."}});
    std::string long_one;
    for (int i = 0; i < 1000; ++i) long_one += "7.";
    expect(VersionOrder::kLower, {{(long_one + "1").c_str(), (long_one + "2").c_str()}});
    EXPECT_EQ(TandorUtilClass::CalcVersion(long_one + "1"), 0x07070701u);
}

TEST(Version, SplitsAndKeepsEmptyPieces) {
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(tandor::SplitText("1..2", "."), (Pieces{"1", "", "2"}));
    EXPECT_EQ(tandor::SplitText("", "."), Pieces{""});
    EXPECT_EQ(tandor::SplitText(".", "."), (Pieces{"", ""}));
    EXPECT_EQ(tandor::SplitText("a::b:c", "::"), (Pieces{"a", "b:c"}));
    EXPECT_EQ(tandor::SplitText("a", ""), Pieces{"a"});
}

TEST(Version, Packs) {
    const auto expect = [](unsigned packed, const std::vector<const char*>& texts) {
        for (const char* const text : texts) EXPECT_EQ(TandorUtilClass::CalcVersion(text), packed) << text;
    };
    expect(0x0A000064, {"10.0.0.100"});
    expect(0x02030405, {"1.2.3.4.5"});
    expect(0x01FF, {"1.255"});
    expect(0x0100, {"1.256", "1."});
    expect(0xFF, {"2147483647"});
    expect(12, {"12"});
    expect(7, {"4294967295.7", "99999999999999999999.7"});
    expect(1, {"x.1"});
    expect(0, {"", "2147483648", "-1", "+1", " 1", "5beta"});
}

}  // namespace
