#include <nlohmann/json.hpp>

#include "app/verb_table.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;
using nlohmann::json;

TEST(Tandorctl, GoodInputAnswersAndEndsWithZero) {
    TryAll({
        {L"", 0, "Usage: tandorctl [OPTIONS] COMMAND"},
        {L"text base64 --decode TGVuYSDmiYvmnLo=", 0, "Lena 手机\n"},
        {L"text base64 \"\"", 0, "\n"},
        {L"text base64 --file -", 0, "YQBi\n", std::string("a\0b", 3)},
        {L"text url \"a b&c\"", 0, "a+b%26c\n"},
        {L"text url -d a+b%26c", 0, "a b&c\n"},
        {L"text mask 手机号", 0, "手*号\n"},
        {L"text hex -d 1A2B", 0, "6699\n"},
        {L"text utf16 é\U0001F4F1", 0, "00E9 D83D DCF1\n"},
        {L"version compare --file -", 0, "higher\nequal\n", "10.0.10 10.0.9\r\n1\t1"},
        {L"version pack --file -", 0, "0x00000102\n0x00000000\n",
         "\xEF\xBB\xBF"
         "1.2\n\n"},
        {L"classify --file -", 0, "video  影片.mkv\n", "照片.JPG\n影片.mkv\n"},
        {L"--json log write KoViewTandor --file -", 0, "{\n  \"done\": true\n}\n", "eins\nzwei\n"},
        {L"log show KoViewTandor -n 2", 0, "- eins\n"},
        {L"log follow KoViewTandor -n 1 --for 0.01 --json", 0, "- zwei\"}\n"},
        {L"report -- ReportTandorReport80PhonePairId 1 2 3 model 1.0 4 5 6 -trace", 0, "event 606008000, record "},
        {L"report ReportTandorReport90HandoffTransPerformId 1 2 3 4 5 2.5", 0, ": 0=1, 1=2, 2=3, 3=4, 4=5, 5=2.5\n"},
        {L"report ReportTandorReport80MyalbumSetPathInSettingId E:\\手机", 0, ": 0=E:\\手机\n"},
        {L"report DecordFailDataReport hung", 0, "event 606013000, record "},
        {L"report -- ReportBusinessDuration 1 2 list", 0, ": deviceType=1, mode=2, duration=list\n"},
        {L"report fault 992614499 --key mode=2 --key reason=x=y", 0, ": mode=2, reason=x=y\n"},
        {L"report time begin 77", 0, ""},
        {L"report time end 77", 0, "event 606000077, record "},
        {L"watch state --help", 0, "\n  --follow                    Go on until Ctrl-C"},
        {L"report send --help", 0, "Options of the commands above:\n  --json"},
        {L"text base64 --json -- --json", 0, "\"LS1qc29u\""},
    });
}

TEST(Tandorctl, BadInputSaysWhatAndEndsWithOneOrTwo) {
    TryAll({
        {L"devcie", 2, "perhaps 'device' is meant"},
        {L"outbox list --cuont 3", 2, "'--cuont': there is no such option; perhaps '--count' is meant"},
        {L"report send 1 -x", 2, "begins with - goes behind --"},
        {L"log", 2, "'tandorctl log' needs one of list, write, show, follow; see 'tandorctl log --help'"},
        {L"text mask", 2, "TEXT or --file is required; see 'tandorctl text mask --help'"},
        {L"version compare 1.0", 2, "LEFT RIGHT or --file is required"},
        {L"version compare --file -", 1, "'1.0': it is not two versions; write two a line", "1.0\n"},
        {L"log follow --host 99999999", 1, "process 99999999: it has no host log; the files in "},
        {L"text mask --file -", 1, "the text: it is not valid UTF-8", "\xE6\x89"},
        {L"log write KoViewTandor text --level 2", 2, "not in range 3 to 5"},
        {L"log show KoViewTandor --count -1", 2, "'-1' is not a number of at least 0"},
        {L"classify \"\"", 2, "it is empty"},
        {L"version device 手机-unknown", 1, "device '手机-unknown': its version is not known"},
        {L"report NoSuchFunction", 2, "'NoSuchFunction': there is no such report function"},
        {L"report ReportTandorReport100KocastOpenOrCloseDataId 2", 2, "'2' is not 0 or 1"},
        {L"report timed NoSuchFunction --tags 0", 1, "it is neither a 32-bit number nor the report function of one"},
        {L"report time end 76", 1, "the time of 76: it was not begun"},
        {L"report assistant 1 " + std::wstring(1021, L'x'), 1, "value 1: its 1021 bytes are too long for a message"},
        {L"report timed 9101 --tags 3 --record 0 3", 2, "there is no step 3 among 3, numbered from 0"},
        {L"report timed 9101 --tags 3", 1, "none of them is recorded"},
        {L"report fault 1 --key =x", 1, "it is not KEY=VALUE"},
        {L"outbox drop", 2, "a RECORD, --older-than or --all is required"},
        {L"outbox drop 5 --all", 2, "not more of them"},
        {L"outbox drop --older-than 2026-02-30", 2, "'2026-02-30' is neither a number of days or hours"},
        {L"outbox limit", 2, "--records, --bytes or --flush is required"},
        {L"outbox show 99999999999999999999999", 1, "the outbox has no such record"},
        {L"outbox --file none.db status", 1, "none.db: there is no such file"},
        {L"queue demo f --newest 99999999999", 2, "--newest: '99999999999' is not a number, or one that is too large"},
        {L"watch state a b --until-gone", 2, "--until-gone requires --follow"},
        {L"files 99999999", 1, "process 99999999: there is none with this number"},
        {L"files no-such-program", 1, "process 'no-such-program': no program of this name is running"},
        {L"windows list --of 0x99999999", 1, "there is none with this number"},
        {L"firewall add --name \"\"", 1, "error: the rule's name: it is empty"},
        {L"firewall disable --by-service --dry-run", 2, "--dry-run excludes --by-service"},
        {L"firewall disable --by-service --yes", 1, "it does not take requests; start the suite's assistant"},
        {L"firewall enable", 2, "nobody can be asked here; --yes does it all the same"},
    });
}

// Where the firewall cannot be asked each verb says so, and a rehearsal notes nothing.
TEST(Tandorctl, FirewallVerbsTellWhatTheFirewallRefuses) {
    const RegistryText note(RegistryRoot::kLocalMachine, L"SOFTWARE\\Pelora\\VXLoginGuide", L"Fireware");
    TryAll({{L"firewall status", 0, "noted as enabled by the feature    no\n"}});
    if (RunTandorctl(L"firewall list").exit_code == 0) GTEST_SKIP() << "it can";
    TryAll({
        {L"firewall list", 1, "the firewall's rules: "},
        {L"firewall enable --dry-run", 1, "rule PVAMessageCenter: AddFirewallRules fail: "},
        {L"firewall disable --dry-run", 1, "rule PVAMessageCenter: DeleteExistFirewallRules fail: "},
        {L"firewall clean-dhcp --dry-run", 1, "rule of DHCP or sharing: "},
    });
    EXPECT_FALSE(ReadValue<std::wstring>(RegistryRoot::kLocalMachine, L"SOFTWARE\\Pelora\\VXLoginGuide", L"Fireware"));
}

TEST(Tandorctl, PrintsJsonWhereverTheOptionStandsAndOfErrorsToo) {
    EXPECT_EQ(json::parse(RunTandorctl(L"version pack 1.2 --json").out)["versions"][0]["packed"], 0x0102);
    TryAll({
        {L"--json log lits", 2,
         R"({"error":{"thing":"'lits'","cause":"there is no such command; perhaps 'list' is meant",)"},
        {L"text mask -- --json x", 2, "error: 'x': that is one argument too many"},
    });
    const tandor::test::TemporaryFolder folder;
    std::filesystem::create_directories(folder.path / L"below");
    for (const auto* const name : {L"影片.mkv", L"below\\a.pdf"}) tandor::test::WriteAll(folder.path / name, "");
    const auto run = RunTandorctl(L"classify -r -s --json \"" + folder.path.wstring() + L"\"");
    EXPECT_EQ(json::parse(run.out)["counts"], (json{{"video", 1}, {"fixed layout", 1}}));
}

TEST(Tandorctl, TheHelpFitsOneScreenAndHasEachCommandInItsGroup) {
    const std::string help = RunTandorctl(L"--help").out;
    EXPECT_THAT(help, HasSubstr("\n  Start     tour       See everything at work\n"));
    EXPECT_THAT(help, HasSubstr("\n            doctor     "));
    EXPECT_THAT(help, HasSubstr("\n  Text      log        "));
    const std::vector<std::string> lines = LinesIn(help);
    EXPECT_LE(lines.size(), 42u);
    for (const std::string& line : lines) EXPECT_LT(line.size(), 80u) << line;  // a terminal wraps after the 80th
}

// The outbox sets aside what is damaged; a file that never was one must stay as it is.
TEST(Tandorctl, AFileThatIsNoOutboxStaysAsItIs) {
    const tandor::test::TemporaryFolder folder;
    const auto file = folder.path / L"Brief 手机.txt";
    for (const std::string& content : {std::string(), std::string(5000, 'x')}) {
        tandor::test::WriteAll(file, content);
        TryAll({{L"outbox --file \"" + file.native() + L"\" status", 1, "it is no outbox"}});
        EXPECT_EQ(ReadAll(file), content);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 1);
    }
}

// The commands as the completion scripts list them: each has help, and in it an example of itself.
TEST(Tandorctl, EveryCommandHelpsWithAnExample) {
    std::istringstream script(RunTandorctl(L"completion bash").out);
    std::size_t commands = 0;
    for (std::string line; std::getline(script, line) && line != "_tandorctl_set() {";) {
        const std::size_t end = line.find("')");
        if (!line.starts_with("    ' ") || end == std::string::npos) continue;
        const std::string path = line.substr(6, end - 6);
        const ProgramRun help = RunTandorctl(std::wstring(path.begin(), path.end()) + L" --help");
        EXPECT_EQ(help.exit_code, 0) << path;
        EXPECT_THAT(help.out, HasSubstr("\n  tandorctl " + path)) << path;
        ++commands;
    }
    EXPECT_GT(commands, 50u);
}

}  // namespace
