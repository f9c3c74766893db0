#include <numeric>
#include <regex>

#include "base/rotating_file.h"
#include "support/testing.h"
#include "tandor/logging.h"

namespace {

using namespace tandor::test;

using tandor::RotatingFile;
using tandor::SharedTurn;

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

TEST(Logger, EachChannelWritesLevels3To5IntoItsFile) {
    const std::string marker = Marker("level");
    const std::wstring wide(marker.begin(), marker.end());
    for (const auto& [channel, file] :
         {std::pair{"KoViewMirror", L"usr\\KoViewMirror.log"}, {"KoViewTandor", L"admin\\KoViewTandor.log"}}) {
        const Logger logger(channel);
        const Logger second(channel);
        for (int level = -1; level <= 7; ++level) Log(level % 2 == 0 ? second : logger, level, wide + L"手📱\xD83D");
        const auto lines = MarkedLines(kLogs / file, marker);
        ASSERT_EQ(lines.size(), 3u);
        for (std::size_t i = 0; i < 3; ++i) {
            const std::regex form(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d,\d{3}\[\d+\]\[)" + std::string(1, "WEC"[i]) +
                                  R"(\] - )" + marker + "手📱\uFFFD");
            EXPECT_TRUE(std::regex_match(lines[i], form)) << lines[i];
        }
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

// The files of a log, oldest first; a rotation that stopped half way leaves a number out.
std::vector<std::filesystem::path> OldestFirst(const std::filesystem::path& file) {
    std::map<int, std::filesystem::path, std::greater<>> files{{0, file}};
    const std::wregex older(file.stem().wstring() + L"\\.(\\d+)\\.log");
    std::wsmatch number;
    for (const auto& entry : std::filesystem::directory_iterator(file.parent_path())) {
        const std::wstring name = entry.path().filename().wstring();
        if (std::regex_match(name, number, older)) files.emplace(std::stoi(number[1].str()), entry.path());
    }
    std::vector<std::filesystem::path> ordered;
    for (const auto& [age, path] : files) ordered.push_back(path);
    return ordered;
}

// Each writer's numbers in the order in which they stand in the files; lines that are not whole under "broken".
std::map<std::string, std::vector<int>> NumbersOf(const std::vector<std::filesystem::path>& files,
                                                  const std::string& marker, const std::string& form) {
    std::map<std::string, std::vector<int>> numbers;
    const std::regex whole(form);
    std::smatch match;
    for (const auto& file : files) {
        for (const std::string& line : MarkedLines(file, marker)) {
            if (std::regex_match(line, match, whole)) {
                numbers[match[1].str()].push_back(std::stoi(match[2].str()));
            } else {
                numbers["broken: " + line].push_back(0);
            }
        }
    }
    return numbers;
}
const std::string kChannelLine = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d,\d{3}\[\d+\]\[W\] - \w+x(\w+) (\d+) \.{150})";

std::vector<int> UpTo(int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

// 8 x 3,000 lines of about 210 bytes are 5 MB: five files of 1 MiB, and fewer than are kept, however full the first
// was. The writers die right behind their last line.
TEST(Logger, EightProcessesRotateOneChannelAndLoseTearOrDoubleNoLine) {
    const std::string marker = Marker("eight");
    std::vector<std::wstring> commands;
    std::map<std::string, std::vector<int>> expected;
    for (char name = 'a'; name < 'i'; ++name) {
        commands.push_back(L"log-lines KoViewMirror " + std::wstring(marker.begin(), marker.end()) +
                           static_cast<wchar_t>(name) + L" 3000");
        expected[std::string(1, name)] = UpTo(3000);
    }
    RunChildren(commands);
    auto files = OldestFirst(kLogs / L"usr" / L"KoViewMirror.log");
    // Files of an earlier run may be larger: one was held open.
    std::erase_if(files, [&](const auto& file) { return MarkedLines(file, marker).empty(); });
    EXPECT_GE(files.size(), 5u);
    for (const auto& file : files) EXPECT_LE(std::filesystem::file_size(file), 0x100000u) << file;
    EXPECT_EQ(NumbersOf(files, marker, kChannelLine), expected);
}

TEST(Logger, AnAdministratorsChannelHasSmallerFiles) {
    const std::string marker = Marker("small");
    const Logger logger("KoViewTandor");
    for (int i = 0; i < 20; ++i)
        Log(logger, 3, std::wstring(marker.begin(), marker.end()) + std::wstring(40'000, L'.'));
    EXPECT_LE(MarkedLines(kLogs / L"admin" / L"KoViewTandor.log", marker).size(), 13u);  // 512 KiB
}

TEST(Logger, AFileHeldOpenAtRotationLosesNothingAndTheHostLogNamesIt) {
    const auto file = kLogs / L"usr" / L"KoViewMirror.log";
    const std::string marker = Marker("held");
    const std::wstring wide(marker.begin(), marker.end());
    const Logger logger("KoViewMirror");
    Log(logger, 3, wide + L"there before");
    const Child viewer(L"hold-file " + file.wstring() + L" viewer-ready", L"viewer-ready");
    HostLog log;
    const ULONGLONG begin = ::GetTickCount64();
    for (int i = 0; i < 6000; ++i)
        Log(logger, 3, wide + L"line " + std::to_wstring(i) + L" " + std::wstring(150, L'.'));
    EXPECT_THAT(ReadAll(file), HasSubstr(marker + "there before"));
    EXPECT_EQ(NumbersOf({file}, marker + "line", kChannelLine)["line"], UpTo(6000));
    const auto messages = log.Take();
    ASSERT_FALSE(messages.empty());
    EXPECT_LE(messages.size(), (::GetTickCount64() - begin) / 1000 + 1) << "it is tried again once a second";
    EXPECT_THAT(messages.front(), AnyOf(StartsWith(L"3 cannot rename " + file.native() + L": "),
                                        StartsWith(L"4 cannot rename " + file.native() + L": ")));
}

// A system whose disk takes no more after half a line.
std::atomic<int> disk_state{0};  // 0 as it is, 1 takes half a line, 2 takes nothing
BOOL WINAPI WriteToFullDisk(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED place) {
    if (disk_state == 0) return ::WriteFile(file, data, size, written, place);
    if (disk_state.exchange(2) == 1) return ::WriteFile(file, data, size / 2, written, place);
    *written = 0;
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

TEST(Logger, AFullDiskCostsTheLineAndNothingElse) {
    const std::string marker = Marker("full");
    const std::wstring wide(marker.begin(), marker.end());
    const Logger logger("KoViewTandor");
    Log(logger, 3, wide + L"before");
    HostLog log;
    {
        const ImportPatch disk(L"TandorUtil.dll", "WriteFile", &WriteToFullDisk);
        disk_state = 1;
        Log(logger, 3, wide + L"half");
        disk_state = 0;
        Log(logger, 3, wide + L"next");
        disk_state = 2;
        Log(logger, 3, wide + L"lost");
        disk_state = 0;
        Log(logger, 3, wide + L"after " + std::wstring(1 << 20, L'.'));
    }
    EXPECT_THAT(log.Take(), ElementsAre(HasSubstr(L"cannot write "), HasSubstr(L"cannot write ")));
    std::vector<std::string> lines;
    for (const auto& file : OldestFirst(kLogs / L"admin" / L"KoViewTandor.log"))
        std::ranges::move(MarkedLines(file, marker), std::back_inserter(lines));
    ASSERT_EQ(lines.size(), 3u);  // the half line ends before the mark
    EXPECT_THAT(lines[0], EndsWith(marker + "before"));
    const std::string begin = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d,\d{3}\[\d+\]\[W\] - )" + marker;
    EXPECT_TRUE(std::regex_match(lines[1], std::regex(begin + "next"))) << lines[1];
    EXPECT_TRUE(std::regex_match(lines[2].substr(0, 100), std::regex(begin + "after [.]+"))) << lines[2].substr(0, 200);
    EXPECT_THAT(lines[2], EndsWith(std::string(1 << 20, '.')));
}

TEST(RotatingFile, KeepsTheNewestFilesAndDropsTheOldest) {
    const TemporaryFolder folder;
    const auto path = folder.path / L"журнал.log";
    RotatingFile file(path, 100, 2, RotatingFile::Writers::kManyProcesses);
    for (char c = 'a'; c <= 'f'; ++c) ASSERT_TRUE(file.Append(std::string(60, c)).written);
    EXPECT_EQ(ReadAll(path), std::string(60, 'f'));
    EXPECT_EQ(ReadAll(folder.path / L"журнал.1.log"), std::string(60, 'e'));
    EXPECT_EQ(ReadAll(folder.path / L"журнал.2.log"), std::string(60, 'd'));
    EXPECT_FALSE(std::filesystem::exists(folder.path / L"журнал.3.log"));
    // A record larger than the bound gets a file of its own.
    ASSERT_TRUE(file.Append(std::string(500, 'g')).written);
    EXPECT_EQ(ReadAll(path), std::string(500, 'g'));
}

// The rename is tried again and again; none of the tries may cost an older file.
TEST(RotatingFile, AHeldFileCostsNoneOfTheOlderOnes) {
    const TemporaryFolder folder;
    const auto path = folder.path / L"held.log";
    RotatingFile file(path, 100, 3, RotatingFile::Writers::kManyProcesses);
    for (char c = 'a'; c <= 'd'; ++c) ASSERT_EQ(file.Append(std::string(60, c)).trouble, "");
    {
        const Child viewer(L"hold-file \"" + path.wstring() + L"\" viewer-ready", L"viewer-ready");
        for (int refused = 0; refused < 3;) {
            const RotatingFile::Outcome outcome = file.Append("....");
            ASSERT_TRUE(outcome.written);
            if (!outcome.trouble.empty()) ++refused;
        }
        EXPECT_EQ(ReadAll(folder.path / L"held.3.log"), std::string(60, 'a'));  // all names taken: the next to go
    }
    while (std::filesystem::file_size(path) > 60) ASSERT_TRUE(file.Append("....").written);
    EXPECT_THAT(ReadAll(folder.path / L"held.1.log"), StartsWith(std::string(60, 'd') + "...."));
    EXPECT_EQ(ReadAll(folder.path / L"held.2.log"), std::string(60, 'c'));
    EXPECT_EQ(ReadAll(folder.path / L"held.3.log"), std::string(60, 'b'));
}

TEST(RotatingFile, AHolderThatStandsStillDelaysARecordAndCostsNone) {
    const TemporaryFolder folder;
    const auto path = folder.path / L"still.log";
    RotatingFile file(path, 10, 2, RotatingFile::Writers::kManyProcesses);
    ASSERT_TRUE(file.Append("before\r\n").written);
    {
        const Child holder(L"hold-turn \"" + path.native() + L".turn\" holder-ready", L"holder-ready");
        for (const char* const record : {"one\r\n", "two\r\n"}) EXPECT_TRUE(file.Append(record).written);
        EXPECT_EQ(ReadAll(path), "before\r\none\r\ntwo\r\n");  // without the turn nothing is renamed
    }
    EXPECT_TRUE(file.Append("after\r\n").written);
    EXPECT_EQ(ReadAll(path), "after\r\n");
}

// What a program starts may outlive it, and would keep its files from everybody.
TEST(RotatingFile, ItsHandlesAreNotInherited) {
    const TemporaryFolder folder;
    const auto path = folder.path / L"kept.log";
    std::optional<RotatingFile> file(std::in_place, path, 10, 2, RotatingFile::Writers::kManyProcesses);
    STARTUPINFOW startup{};
    startup.dwFlags = STARTF_USESTDHANDLES;  // has handles inherited
    const tandor::KernelHandle ready(::CreateEventW(nullptr, TRUE, FALSE, L"heir-ready"));
    const auto heir = tandor::StartProcess(
        nullptr, L"test_child.exe hold-turn \"" + (folder.path / L"other").native() + L"\" heir-ready", startup);
    EXPECT_EQ(::WaitForSingleObject(ready.Get(), Child::kPatience), WAIT_OBJECT_0);
    file.reset();
    for (const wchar_t* const end : {L"", L".turn"}) {
        const tandor::FileHandle alone(
            ::CreateFileW((path.native() + end).c_str(), DELETE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_TRUE(alone) << end << ::GetLastError();
    }
    ::TerminateProcess(heir.handle.Get(), 0);
    tandor::WaitForExit(heir, Child::kPatience);
}

TEST(RotatingFile, WhatWasWrittenSurvivesWritersThatAreKilled) {
    const TemporaryFolder folder;
    const auto path = folder.path / L"killed.log";
    int lives = 0;
    const auto report = [&](int life) { return folder.path / (L"report-" + std::to_wstring(life)); };
    const auto begin = [&] {
        const int life = lives++;
        return Child(L"file-lines \"" + path.native() + L"\" mark" + std::to_wstring(life) + L" \"" +
                     report(life).native() + L"\"");
    };
    std::vector<Child> writers;
    for (int i = 0; i < 3; ++i) writers.push_back(begin());
    const auto kills = Amount("TANDOR_LOG_KILLS", 20);
    unsigned random = Seed(4711);
    for (unsigned kill = 0; kill < kills; ++kill) {
        random = random * 1664525 + 1013904223;
        ::Sleep(5 + (random >> 16 & 31));
        writers[kill % 3].Kill();
        writers[kill % 3] = begin();
    }
    writers.clear();
    auto numbers = NumbersOf(OldestFirst(path), "mark", R"(mark(\d+) (\d+) \.{32})");
    std::uint32_t sure = 0;
    for (int life = 0; life < lives; ++life) {
        const std::string counted = ReadAll(report(life));
        std::uint32_t written = 0;
        if (counted.size() == sizeof(written)) std::memcpy(&written, counted.data(), sizeof(written));
        const std::vector<int> found = std::exchange(numbers[std::to_string(life)], {});
        EXPECT_EQ(found, UpTo(static_cast<int>(found.size()))) << "life " << life;
        EXPECT_GE(found.size(), written) << "life " << life;
        sure += written;
    }
    std::erase_if(numbers, [](const auto& entry) { return entry.second.empty(); });
    EXPECT_THAT(numbers, IsEmpty());
    EXPECT_GT(sure, 0u);
    RecordProperty("figures", std::to_string(sure) + " lines written for sure, all there, none torn or doubled");
}

TEST(SharedTurn, IsTakenFromTheDeadAtOnceAndFromTheLivingNever) {
    const TemporaryFolder folder;
    const auto path = folder.path / L"file.turn";
    SharedTurn one(path), two(path);
    {
        Child holder(L"hold-turn \"" + path.native() + L"\" holder-ready", L"holder-ready");
        EXPECT_EQ(one.Take(), SharedTurn::Taken::kNo);
        holder.Kill();
    }
    EXPECT_EQ(one.Take(), SharedTurn::Taken::kFromTheDead);
    EXPECT_EQ(two.Take(), SharedTurn::Taken::kNo);
    one.Give();
    EXPECT_EQ(two.Take(), SharedTurn::Taken::kYes);
    two.Give();
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
        counter.OutputOnce(nullptr, false);
        counter.OutputOnce(give, true);  // which counts from the beginning: the call before began nothing anew
        const TickScopeCounter copy(counter);
    }
    ASSERT_EQ(given.size(), 1u);
    ASSERT_EQ(stored.size(), 3u);  // once without a callback of its own, then the copy's and the object's ends
    EXPECT_GE(given[0], 45u);
    EXPECT_LT(stored[2], given[0]);
}

}  // namespace
