#include "app/log_follow.h"

#include "base/rotating_file.h"
#include "support/testing.h"

namespace {

using tandor::app::LogFollower;

// Lines of 10 bytes into files of 10 lines: what came between two looks lies in several files by then.
TEST(LogFollow, EachLineComesOnceAndInOrderThroughRenames) {
    const tandor::test::TemporaryFolder folder;
    LogFollower follower(folder.path / L"手机.log");
    EXPECT_TRUE(follower.NewLines().empty());  // there is no file yet
    tandor::RotatingFile log(folder.path / L"手机.log", 100, 5, tandor::RotatingFile::Writers::kManyProcesses);
    const auto line = [](int number) { return "line " + std::to_string(1000 + number).substr(1); };
    int written = 0, read = 0;
    for (const int lines : {1, 0, 9, 1, 25, 40, 3}) {
        for (int i = 0; i < lines; ++i) ASSERT_TRUE(log.Append(line(++written) + "\r\n").written);
        for (const std::string& came : follower.NewLines()) EXPECT_EQ(came, line(++read));
        EXPECT_EQ(read, written);
    }
}

TEST(LogFollow, ALineIsToldWhenItIsWholeOrItsFileIsGivenUp) {
    const tandor::test::TemporaryFolder folder;
    const auto file = folder.path / L"a.log";
    tandor::test::WriteAll(file, "begun");
    LogFollower follower(file);
    EXPECT_TRUE(follower.NewLines().empty());
    std::filesystem::rename(file, folder.path / L"a.1.log");  // the follower holds it open
    tandor::test::WriteAll(file, "next\n");
    EXPECT_THAT(follower.NewLines(), tandor::test::ElementsAre("begun", "next"));
}

}  // namespace
