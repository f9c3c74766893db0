#include <nlohmann/json.hpp>

#include "app/verb_table.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;
using nlohmann::json;

constexpr const char* kAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

class SecurityCommands : public testing::Test {
protected:
    [[nodiscard]] std::wstring Path(const wchar_t* name) const { return (folder_.path / name).native(); }
    [[nodiscard]] std::wstring Quoted(const wchar_t* name) const { return L"\"" + Path(name) + L"\""; }

private:
    tandor::test::TemporaryFolder folder_;
};

TEST_F(SecurityCommands, HashWritesListsThatItChecks) {
    WriteAll(Path(L"手机.txt"), "abc");
    const ProgramRun hashed = RunTandorctl(L"hash file " + Quoted(L"手机.txt") + L" " + Quoted(L"absent"));
    EXPECT_EQ(hashed.exit_code, 1);  // one of the two is not there, the other is hashed all the same
    EXPECT_TRUE(hashed.out.starts_with(std::string("\\") + kAbc + "  "));  // the name's backslashes are escaped
    EXPECT_THAT(hashed.error, HasSubstr("absent: "));
    EXPECT_EQ(RunTandorctl(L"hash file -", "abc").out, std::string(kAbc) + "  -\n");
    EXPECT_EQ(RunTandorctl(L"hash text abc -", "abc").out, std::string(kAbc) + "\n" + kAbc + "\n");
    EXPECT_EQ(json::parse(RunTandorctl(L"hash text --json abc").out)["texts"][0]["sha256"], kAbc);
    EXPECT_EQ(json::parse(RunTandorctl(L"hash file --json " + Quoted(L"手机.txt")).out)["files"][0]["sha256"], kAbc);

    WriteAll(Path(L"list"), "\xEF\xBB\xBF# a comment\r\n" + hashed.out);
    const ProgramRun good = RunTandorctl(L"hash file --check " + Quoted(L"list"));
    EXPECT_EQ(good.exit_code, 0) << good.error;
    EXPECT_THAT(good.out, testing::EndsWith("手机.txt: OK\n"));
    std::string changed = hashed.out;
    changed[1] = 'c';
    WriteAll(Path(L"list"), "not a line\n" + changed + kAbc + " *no-such-file\n");
    const json bad = json::parse(RunTandorctl(L"hash file --check --json " + Quoted(L"list")).out);
    EXPECT_EQ(bad["failed"], 1);
    EXPECT_EQ(bad["unreadable"], 1);
    EXPECT_EQ(bad["malformed"], 1);
    WriteAll(Path(L"list"), std::string(kAbc) + " *no-such-file\n");
    EXPECT_EQ(RunTandorctl(L"hash file --check " + Quoted(L"list")).exit_code, 1);
    const ProgramRun none = RunTandorctl(L"hash file --check " + Quoted(L"手机.txt"));
    EXPECT_EQ(none.exit_code, 1);
    EXPECT_THAT(none.error, HasSubstr("no line with a digest"));
}

TEST_F(SecurityCommands, WhatIsSealedOpensAndWhatIsChangedDoesNot) {
    ASSERT_EQ(RunTandorctl(L"key new -o " + Quoted(L"key")).exit_code, 0);
    const std::string key = ReadAll(Path(L"key"));
    ASSERT_EQ(key.size(), 64u);
    EXPECT_NE(RunTandorctl(L"key new").out, key + "\n");
    const std::wstring with_key = L" --key " + Quoted(L"key");
    const std::string message("line\r\n手机\x1A\0end", 17);
    const ProgramRun sealed = RunTandorctl(L"seal" + with_key, message);
    ASSERT_EQ(sealed.exit_code, 0) << sealed.error;
    EXPECT_EQ(sealed.out.size(), 2 * (message.size() + 32) + 1);
    EXPECT_EQ(RunTandorctl(L"open" + with_key, sealed.out).out, message);
    WriteAll(Path(L"sealed"), sealed.out);
    EXPECT_EQ(RunTandorctl(L"open --key - " + Quoted(L"sealed"), key + "\n").out, message);
    EXPECT_EQ(json::parse(RunTandorctl(L"open --json" + with_key, sealed.out).out)["bytes"], message.size());
    EXPECT_EQ(RunTandorctl(L"open --hex" + with_key, RunTandorctl(L"seal --hex" + with_key, "00fF\n").out).out,
              "00FF\n");

    std::string changed = sealed.out;
    changed[40] = changed[40] == '0' ? '1' : '0';
    tandor::test::TryAll({
        {L"open" + with_key, 1, "does not open under this key", changed},
        {L"open" + with_key, 1, "does not open under this key", sealed.out.substr(0, 60)},
        {L"open" + with_key, 1, "standard input: a sealed message is pairs", "zz"},
        {L"seal" + with_key, 1, "it has 169 bytes; a sealed message holds at most 168", std::string(169, 'x')},
        {L"seal --hex" + with_key, 1, "not pairs of hexadecimal digits", "0"},
        {L"seal --key " + Quoted(L"sealed"), 1, "a key has 64 hexadecimal digits", "x"},
        {L"seal --key " + Quoted(L"absent"), 1, "cannot be read", "x"},
        {L"seal --key -", 2, "not both", "x"},
        {L"seal", 2, "--key is required", "x"},
        {L"key new -o " + Quoted(L"key"), 1, "a key is not written over another"},
        {L"random hex 0", 2, "not in range"},
        {L"random sequence --count 2", 2, "--seed is required"},
        {L"random sequence --seed 42 --count 2", 0, "0.72756368\n0.05466521\n"},
    });
}

}  // namespace
