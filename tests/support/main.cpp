#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "support/tally.h"
#include "support/time_limit.h"

namespace {

using tandor::test::TimeLimit;

// One test takes minutes at most.
class TestLimit : public testing::EmptyTestEventListener {
public:
    void OnTestStart(const testing::TestInfo& test) override {
        name_ = std::string(test.test_suite_name()) + "." + test.name() + " (TANDOR_TEST_MINUTES gives more time)";
        limit_.emplace(name_.c_str(), minutes_);
    }
    void OnTestEnd(const testing::TestInfo&) override { limit_.reset(); }

private:
    const std::chrono::minutes minutes_{tandor::test::Amount("TANDOR_TEST_MINUTES", 5)};
    std::string name_;
    std::optional<TimeLimit> limit_;
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new TestLimit);
    TimeLimit::Watch();
    return RUN_ALL_TESTS();
}
