// For tests in which each step of an operation fails once, one at a time.
#pragma once

#include <gtest/gtest.h>

namespace tandor::test {

// Does `call`, which says whether it went well, again and again with the next step failing, until none is left to fail;
// tells `expect` the result. While a `Failing` lives, the step whose number it was given fails.
template <class Failing, class Call, class Expect>
void FailEachStep(const char* what, const Call& call, const Expect& expect) {
    SCOPED_TRACE(what);
    int refused = 0;
    bool good = false;
    for (int step = 1, failed = 1; failed != 0; ++step) {
        ASSERT_LT(step, 1000) << "it has no end";
        {
            const Failing failing(step);
            good = call();
            failed = failing.HasFailed() ? 1 : 0;
        }
        expect(good);
        refused += good ? 0 : 1;
    }
    EXPECT_TRUE(good);  // also after all those failures
    EXPECT_GT(refused, 0);
}

}  // namespace tandor::test
