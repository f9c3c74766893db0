#include "foundation/version.h"
#include "support/testing.h"
#include "tandor/text.h"

namespace {

using namespace tandor::test;

using tandor::VersionOrder;

TEST(Version, Compares) {
    struct Case {
        const char* left;
        const char* right;
        VersionOrder order;
    };
    const Case cases[] = {
        {"10.0.1", "10.0.1", VersionOrder::kEqual},
        {"10.0.1", "10.0.2", VersionOrder::kLower},
        {"10.1", "10.0.9", VersionOrder::kNotComparable},
        {"10.0", "10.0.1", VersionOrder::kNotComparable},
        {"10.0.10", "10.0.9", VersionOrder::kHigher},
        {"a", "b", VersionOrder::kLower},
        {"b", "a", VersionOrder::kHigher},
        {"", "", VersionOrder::kEqual},
        {"", "1", VersionOrder::kLower},
        {"1.5beta", "1.5", VersionOrder::kEqual},
        {"v2", "1", VersionOrder::kHigher},
        {"1..2", "1.0.2", VersionOrder::kLower},
        {"x.1", "10.1", VersionOrder::kHigher},
        {"1.2.3", "1.2.3.", VersionOrder::kNotComparable},
        {"99999999999999999999", "2147483647", VersionOrder::kEqual},
        {"007", "7", VersionOrder::kEqual},
    };
    for (const Case& c : cases)
        EXPECT_EQ(tandor::CompareVersions(c.left, c.right), c.order) << c.left << " against " << c.right;
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
    const std::pair<const char*, unsigned> cases[] = {{"10.0.0.100", 0x0A000064},
                                                      {"", 0},
                                                      {"x.1", 1},
                                                      {"1.256", 0x0100},
                                                      {"1.255", 0x01FF},
                                                      {"1.2.3.4.5", 0x02030405},
                                                      {"1.", 0x0100},
                                                      {"2147483647", 0xFF},
                                                      {"2147483648", 0},
                                                      {"4294967295.7", 7},
                                                      {"99999999999999999999.7", 7},
                                                      {"-1", 0},
                                                      {"+1", 0},
                                                      {" 1", 0},
                                                      {"5beta", 0},
                                                      {"12", 12}};
    for (const auto& [text, packed] : cases) EXPECT_EQ(TandorUtilClass::CalcVersion(text), packed) << text;
}

}  // namespace
