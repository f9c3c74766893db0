#include <regex>

#include "base/rotating_file.h"
#include "support/testing.h"
#include "tandor/logging.h"

namespace {

using namespace tandor::test;

using tandor::RotatingFile;

const std::filesystem::path kLogs = L"C:\\ProgramData\\Comms\\Pelora\\log";

void Log(const Logger& logger, int level, const std::wstring& text) {
    std::wstringstream stream;
    stream << text;
    logger.Log(static_cast<LOG_MESSAGE_LEVEL>(level), stream);
}

TEST(Logger, AnUnknownChannelSaysSoEachTimeAndWritesNothing) {
    for (int i = 0; i < 2; ++i) {
        HostLog log;
        const Logger logger("Unknown");
        Log(logger, 4, L"lost");
        EXPECT_THAT(log.Take(),
                    ElementsAre(L"3 no find logger,start to create(`anonymous-namespace'::GetInnerLogger)",
                                L"3 not find config, create failed(`anonymous-namespace'::GetInnerLogger)"));
    }
}

// The lines of `file` that hold `marker`, in order.
std::vector<std::string> MarkedLines(const std::filesystem::path& file, const std::string& marker) {
    std::vector<std::string> lines = LinesIn(ReadAll(file));
    std::erase_if(lines, [&](const std::string& line) { return line.find(marker) == std::string::npos; });
    return lines;
}

// Unlike any other test's lines, and an earlier run's.
std::string Marker(const std::string& name) {
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    return name + std::to_string(now.dwHighDateTime) + std::to_string(now.dwLowDateTime) + "x";
}

TEST(Logger, EachChannelWritesItsFileFromTheDefaultLevelUp) {
    const std::string marker = Marker("level");
    const std::wstring wide(marker.begin(), marker.end());
    for (const auto& [channel, file] :
         {std::pair{"KoViewMirror", L"usr\\KoViewMirror.log"}, {"KoViewTandor", L"admin\\KoViewTandor.log"}}) {
        {
            const Logger logger(channel);
            const Logger second(channel);
            Log(logger, 1, wide + L"hidden");
            Log(logger, 3, wide + L"first \u624b\U0001F4F1");
            Log(second, 4, wide + L"second \xD83D");
            Log(second, 7, wide + L"no level");
            Log(second, -1, wide + L"no level");
        }
        const auto lines = MarkedLines(kLogs / file, marker);
        ASSERT_EQ(lines.size(), 2u);
        const std::string head = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d,\d{3}\[\d+\])";
        EXPECT_TRUE(std::regex_match(lines[0], std::regex(head + R"(\[W\] - )" + marker + "first 手📱"))) << lines[0];
        EXPECT_TRUE(std::regex_match(lines[1], std::regex(head + R"(\[E\] - )" + marker + "second \uFFFD")))
            << lines[1];
    }
}

// A folder where the file belongs stands for everything that keeps it from being opened.
TEST(Logger, AFileThatCannotBeOpenedIsTriedFiveTimesAndThenNeverAgain) {
    std::filesystem::remove(kLogs / L"admin" / L"KoViewAccountCred.log");
    std::filesystem::create_directories(kLogs / L"admin" / L"KoViewAccountCred.log");
    HostLog log;
    {
        const Logger logger("KoViewAccountCred");
        Log(logger, 4, L"lost");
    }
    std::vector<std::wstring> expected = LinesFrom(L"`anonymous-namespace'::GetInnerLogger",
                                                   {L"3 no find logger,start to create", L"3 create logger failed"});
    for (int i = 5; i-- > 0;)
        expected.insert(expected.begin() + 1, L"3 try to create logger, tryTime:" + std::to_wstring(i) +
                                                  L"(`anonymous-namespace'::CreateLogger)");
    EXPECT_EQ(log.Take(), expected);
    std::filesystem::remove(kLogs / L"admin" / L"KoViewAccountCred.log");
    const Logger again("KoViewAccountCred");
    EXPECT_TRUE(log.Take().empty());
}

// How many whole lines each writer left, and how many that are not whole.
std::map<std::string, int> CountWriters(const std::vector<std::filesystem::path>& files, const std::string& marker) {
    std::map<std::string, int> lines;
    const std::regex form(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d,\d{3}\[\d+\]\[W\] - \w+x(\w+) (\d+) \.{150})");
    std::smatch match;
    for (const auto& file : files)
        for (const std::string& line : MarkedLines(file, marker))
            ++lines[std::regex_match(line, match, form) ? match[1].str() : "broken"];
    return lines;
}

std::vector<std::filesystem::path> ChannelFiles(const std::filesystem::path& folder, const std::wstring& stem) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().filename().wstring().starts_with(stem)) files.push_back(entry.path());
    return files;
}

// 3 x 3,000 lines of 220 bytes are 2 MB: four files of 512 KiB, and fewer than are kept, however full the first one
// was.
TEST(Logger, SeveralProcessesRotateOneChannelAndLoseNoLine) {
    const std::string marker = Marker("several");
    const std::wstring wide(marker.begin(), marker.end());
    const std::wstring command = L"log-lines KoViewTandor " + wide;
    RunChildren({command + L"one 3000", command + L"two 3000", command + L"three 3000"});
    const auto files = ChannelFiles(kLogs / L"admin", L"KoViewTandor");
    EXPECT_GE(files.size(), 4u);
    for (const auto& file : files) EXPECT_LE(std::filesystem::file_size(file), 0x80000u) << file;
    EXPECT_EQ(CountWriters(files, marker), (std::map<std::string, int>{{"one", 3000}, {"two", 3000}, {"three", 3000}}));
}

TEST(Logger, AFileHeldOpenAtRotationLosesNothingAndTheHostLogNamesIt) {
    const auto file = kLogs / L"usr" / L"KoViewMirror.log";
    const std::string marker = Marker("held");
    const std::wstring wide(marker.begin(), marker.end());
    Log(Logger("KoViewMirror"), 3, wide + L"there before");
    const Child viewer(L"hold-file " + file.wstring() + L" viewer-ready", L"viewer-ready");
    HostLog log;
    {
        const Logger logger("KoViewMirror");
        for (int i = 0; i < 6000; ++i)
            Log(logger, 3, wide + L"line " + std::to_wstring(i) + L" " + std::wstring(150, L'.'));
    }
    EXPECT_THAT(ReadAll(file), HasSubstr(marker + "there before"));
    EXPECT_EQ(CountWriters({file}, marker)["line"], 6000);
    const auto messages = log.Take();
    ASSERT_FALSE(messages.empty());
    EXPECT_THAT(messages.front(), AnyOf(StartsWith(L"3 cannot rename " + file.native() + L": "),
                                        StartsWith(L"4 cannot rename " + file.native() + L": ")));
}

TEST(RotatingFile, KeepsTheNewestFilesAndDropsTheOldest) {
    const TemporaryFolder folder;
    const auto path = folder.path / L"журнал.log";
    RotatingFile file(path, 100, 2, RotatingFile::Writers::kManyProcesses);
    for (char c = 'a'; c <= 'f'; ++c) ASSERT_EQ(file.Append(std::string(60, c)), "");
    EXPECT_EQ(ReadAll(path), std::string(60, 'f'));
    EXPECT_EQ(ReadAll(folder.path / L"журнал.1.log"), std::string(60, 'e'));
    EXPECT_EQ(ReadAll(folder.path / L"журнал.2.log"), std::string(60, 'd'));
    EXPECT_FALSE(std::filesystem::exists(folder.path / L"журнал.3.log"));
    // A record larger than the bound gets a file of its own.
    ASSERT_EQ(file.Append(std::string(500, 'g')), "");
    EXPECT_EQ(file.Size(), 500u);
}

TEST(TickScopeCounter, ReportsToWhomeverItIsTold) {
    using Reports = std::vector<unsigned long long>;
    Reports stored, given;
    const auto store = [&](unsigned long long ms) { stored.push_back(ms); };
    const auto give = [&](unsigned long long ms) { given.push_back(ms); };
    {
        TickScopeCounter silent(nullptr);
        silent.OutputOnce(nullptr, false);
        TickScopeCounter counter(store);
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        counter.OutputOnce(give, true);
        counter.OutputOnce(nullptr, false);
        const TickScopeCounter copy(counter);
    }
    ASSERT_EQ(given.size(), 1u);
    ASSERT_EQ(stored.size(), 3u);  // once without a callback of its own, then the copy's and the object's ends
    EXPECT_GE(given[0], 45u);
    EXPECT_LT(stored[2], given[0]);
}

}  // namespace
