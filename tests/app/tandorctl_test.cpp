#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/files.h"
#include "support/run_program.h"

namespace {

using nlohmann::json;
using tandor::test::ProgramRun;
using tandor::test::RunTandorctl;
using testing::HasSubstr;

TEST(Tandorctl, GoodInputAnswersAndEndsWithZero) {
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"text base64 \"Lena 手机\"", "TGVuYSDmiYvmnLo=\n"},
        {L"text base64 --decode TGVuYSDmiYvmnLo=", "Lena 手机\n"},
        {L"text url \"a b&c\"", "a+b%26c\n"},
        {L"text url -d a+b%26c", "a b&c\n"},
        {L"text mask 13812345678", "1*********8\n"},
        {L"text mask 手机号", "手*号\n"},
        {L"text hex 6699", "0000000000001A2B\n"},
        {L"text hex -d 1A2B", "6699\n"},
        {L"text units é\U0001F4F1", "00E9 D83D DCF1\n"},
        {L"version compare 10.0.10 10.0.9", "higher\n"},
        {L"version compare 10.0 10.0.1", "not comparable\n"},
        {L"version pack 10.0.0.100", "0x0A000064\n"},
        {L"classify 照片.JPG", "CLASS  FILE\nimage  照片.JPG\n"},
    };
    for (const auto& [arguments, out] : cases) {
        const ProgramRun run = RunTandorctl(arguments);
        EXPECT_EQ(run.exit_code, 0) << run.error;
        EXPECT_EQ(run.out, out);
        EXPECT_EQ(run.error, "");
    }
    EXPECT_EQ(RunTandorctl(L"text base64 --file -", std::string("a\0b", 3)).out, "YQBi\n");
}

TEST(Tandorctl, BadInputSaysWhatAndEndsWithOneOrTwo) {
    struct Case {
        const wchar_t* arguments;
        int exit_code;
        const char* error;
    };
    const Case cases[] = {
        {L"", 2, "A subcommand is required"},
        {L"bogus", 2, "unknown: bogus"},
        {L"text mask", 2, "see 'tandorctl text mask --help'"},
        {L"log write KoViewTandor text --level 9", 2, "not in range"},
        {L"text base64 -d aGVs!G8=", 1, "error: the Base64 text: it is not whole after 3 decoded bytes"},
        {L"text base64 --file no-such-file", 1, "no-such-file: cannot be read"},
        {L"text hex 12x", 1, "'12x': it is not a decimal number"},
        {L"log show Nope", 1, "there is no such channel"},
        {L"firewall add --name \"\"", 1, "error: the rule's name: it is empty"},
        {L"firewall remove --by-service --dry-run", 2, "--dry-run excludes --by-service"},
        {L"version device 手机-unknown", 1, "device '手机-unknown': its version is not known"},
    };
    for (const Case& c : cases) {
        const ProgramRun run = RunTandorctl(c.arguments);
        EXPECT_EQ(run.exit_code, c.exit_code) << run.error;
        EXPECT_THAT(run.error, HasSubstr(c.error));
        EXPECT_EQ(run.out, "");
    }
}

TEST(Tandorctl, PrintsJsonWhereverTheOptionStands) {
    EXPECT_EQ(json::parse(RunTandorctl(L"--json version compare 1.0 1.0").out)["left_is"], "equal");
    EXPECT_EQ(json::parse(RunTandorctl(L"version pack 1.2 --json").out)["packed"], 0x0102);
    EXPECT_EQ(json::parse(RunTandorctl(L"log list --json").out)["channels"].size(), 3u);
    const tandor::test::TemporaryFolder folder;
    tandor::test::WriteAll(folder.path / L"影片.mkv", "");
    std::filesystem::create_directories(folder.path / L"below");
    tandor::test::WriteAll(folder.path / L"below" / L"a.pdf", "");
    const auto counts =
        json::parse(RunTandorctl(L"classify -r -s --json \"" + folder.path.wstring() + L"\"").out)["counts"];
    EXPECT_EQ(counts, (json{{"video", 1}, {"fixed layout", 1}}));
}

TEST(Tandorctl, WritesAndShowsAChannelAndFollowsTheHostLog) {
    const std::wstring line = L"tandorctl 手机 " + std::to_wstring(::GetCurrentProcessId());
    const ProgramRun write = RunTandorctl(L"--follow log write KoViewTandor \"" + line + L"\"");
    EXPECT_EQ(write.exit_code, 0) << write.error;
    EXPECT_THAT(write.error, HasSubstr("log 3 try to create logger, tryTime:0(`anonymous-namespace'::CreateLogger)"));
    const ProgramRun show = RunTandorctl(L"log show KoViewTandor --lines 1");
    EXPECT_THAT(show.out, HasSubstr("tandorctl 手机 " + std::to_string(::GetCurrentProcessId())));
}

TEST(Tandorctl, TourPassesAndDoctorFindsNothingBroken) {
    const ProgramRun tour = RunTandorctl(L"tour --json");
    EXPECT_EQ(tour.exit_code, 0) << tour.out;
    for (const auto& step : json::parse(tour.out)["steps"]) EXPECT_TRUE(step["passed"].get<bool>()) << step;
    const ProgramRun doctor = RunTandorctl(L"doctor --json");
    EXPECT_EQ(doctor.exit_code, 0) << doctor.out;
    for (const auto& finding : json::parse(doctor.out)) EXPECT_NE(finding["verdict"], "broken") << finding;
}

}  // namespace
