// A table of calls of tandorctl: arguments, exit code, what it says.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/run_program.h"

namespace tandor::test {

struct VerbCase {
    std::wstring arguments;
    int exit_code;
    std::string text;  // in the output; of a call that fails in what it says of the error, without any output
    std::string input = {};
};

inline void TryAll(const std::vector<VerbCase>& cases) {
    for (const VerbCase& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.arguments));
        const ProgramRun run = RunTandorctl(c.arguments, c.input);
        EXPECT_EQ(run.exit_code, c.exit_code) << run.out << run.error;
        EXPECT_THAT(c.exit_code == 0 ? run.out : run.error, testing::HasSubstr(c.text));
        EXPECT_EQ(c.exit_code == 0 ? run.error : run.out, "");
    }
}

}  // namespace tandor::test
