#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <thread>

#include "support/tally.h"

namespace {

// Ends the program when one test takes minutes: a wait that never ends would hold up the whole run without a word.
class TimeLimit : public testing::EmptyTestEventListener {
public:
    TimeLimit() : limit_(tandor::test::Amount("TANDOR_TEST_MINUTES", 5) * 60'000) {
        std::thread([this] {
            for (;; ::Sleep(500)) {
                const ULONGLONG start = start_;
                if (start == 0 || ::GetTickCount64() - start < limit_) continue;
                const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
                std::fprintf(stderr, "[  HANGS   ] %s.%s (TANDOR_TEST_MINUTES gives more time)\n",
                             test->test_suite_name(), test->name());
                ::TerminateProcess(::GetCurrentProcess(), 3);
            }
        }).detach();
    }
    void OnTestStart(const testing::TestInfo&) override { start_ = ::GetTickCount64(); }
    void OnTestEnd(const testing::TestInfo&) override { start_ = 0; }

private:
    const ULONGLONG limit_;
    std::atomic<ULONGLONG> start_{0};
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new TimeLimit);
    return RUN_ALL_TESTS();
}
