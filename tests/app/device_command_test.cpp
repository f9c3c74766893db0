#include <nlohmann/json.hpp>

#include "pelora/device_manager.h"
#include "support/testing.h"
#include "tandor/device_summary.h"

namespace {

using namespace tandor::test;
using nlohmann::json;

class DeviceCommand : public testing::Test {
protected:
    void SetUp() override { TearDown(); }
    void TearDown() override {
        for (const char* const name : {"Lena's 手机", "手机二", "one"}) {
            [[maybe_unused]] int ignored = DM::DeviceMgr::GetInstance().DeletePresentDeviceInfo(name);
            ignored = DM::DeviceMgr::GetInstance().DeleteBoundDeviceInfo(name, true);
        }
    }
    static std::string Good(const std::wstring& arguments) {
        const ProgramRun run = RunTandorctl(L"device " + arguments);
        EXPECT_EQ(run.exit_code, 0) << run.error;
        EXPECT_EQ(run.error, "");
        return run.out;
    }
    static void Bad(const std::wstring& arguments, const std::string& error, int exit_code = 1) {
        const ProgramRun run = RunTandorctl(L"device " + arguments);
        EXPECT_EQ(run.exit_code, exit_code) << run.out;
        EXPECT_THAT(run.error, HasSubstr(error));
    }

    TemporaryFolder folder_;
};

TEST_F(DeviceCommand, SetsReadsListsAndDeletesDevices) {
    Bad(L"set \"Lena's 手机\" a 1", "present device 'Lena's 手机': there is no such device; tandorctl device list");
    Good(L"set --new \"Lena's 手机\" IsTrusted true");
    Good(L"set \"Lena's 手机\" peerDeviceVersion 10.0.0.100");
    EXPECT_EQ(Good(L"get \"Lena's 手机\" IsTrusted"), "1\n");
    EXPECT_EQ(Good(L"get \"Lena's 手机\" DevName"), "Lena's 手机\n");
    EXPECT_EQ(RunTandorctl(L"version device \"Lena's 手机\"").out, "0x0A000064 (at least 10.0.0.100)\n");
    Bad(L"set \"Lena's 手机\" DevType phone",
        "attribute 'DevType': the value is none of its type; numbers are decimal");
    Bad(L"set \"Lena's 手机\" DeviceId x", "DeviceId is only read");
    Bad(L"get \"Lena's 手机\" nothing", "attribute 'nothing': there is no such attribute");
    Bad(L"show nobody", "there is no such device");
    Bad(L"get one", "see 'tandorctl device get --help'", 2);
    EXPECT_THAT(Good(L"list"), HasSubstr("Lena's 手机"));
    const json shown = json::parse(Good(L"show \"Lena's 手机\" --json"));
    EXPECT_EQ(shown["record"]["IsTrusted"], "1");
    EXPECT_EQ(shown["record"]["DevSubType"], "-1");
    EXPECT_EQ(shown["attributes"]["peerDeviceVersion"], "10.0.0.100");
    Good(L"set --new --bound \"Lena's 手机\" IsTrusted 1");
    Bad(L"delete --bound \"Lena's 手机\"", "bound device 'Lena's 手机': it is trusted; delete it with --even-trusted");
    Good(L"delete --bound --even-trusted \"Lena's 手机\"");
    Good(L"delete \"Lena's 手机\"");
    Bad(L"delete \"Lena's 手机\"", "there is no such device");
}

TEST_F(DeviceCommand, WhatIsExportedCanBeImported) {
    Good(L"set --new 手机二 MacAddrInt 18446744073709551615");
    Good(L"set 手机二 DevicePairedTime 77");
    const std::wstring file = L"\"" + (folder_.path / L"geräte.json").wstring() + L"\"";
    EXPECT_THAT(Good(L"export --output " + file), HasSubstr("devices written to"));
    EXPECT_EQ(ReadAll(folder_.path / L"geräte.json") + "\n", Good(L"export"));
    const json simple = json::parse(Good(L"export --simple"));
    const auto ours = std::find_if(simple.begin(), simple.end(),
                                   [](const json& element) { return element["DevName"] == "E6898BE69CBAE4BA8C"; });
    ASSERT_NE(ours, simple.end());
    EXPECT_EQ((*ours)["PairedTime"], 77);
    Good(L"delete 手机二");
    Good(L"import " + file);
    EXPECT_EQ(Good(L"get 手机二 MacAddrInt"), "18446744073709551615\n");
    Bad(L"export --output \"" + (folder_.path / L"none" / L"x.json").wstring() + L"\"", "cannot be written");
}

TEST_F(DeviceCommand, ABadFileIsRefusedAsAWhole) {
    BluetoothDeviceSummary one;
    one.DevName = "one";
    const std::string good = BluetoothDeviceSummarySerialize::ToString({one, one});
    const auto with = [&](const char* key, const json& value) {
        json document = json::parse(good);
        document[1]["DevName"] = "74776F";
        document[1][key] = value;
        return document.dump();
    };
    json lacking = json::parse(good);
    lacking[1].erase("PeerUuid");
    const std::pair<std::string, const char*> cases[] = {
        {"[{", "bad.json: it is not JSON, byte 3; a list in the full form"},
        {"{}", "it is no list"},
        {"[7]", "element 1: it is no object"},
        {good, "element 2, key DevName: an element before has the same"},
        {lacking.dump(), "element 2, key PeerUuid: it is missing"},
        {with("DevName", ""), "element 2, key DevName: it is empty"},
        {with("UserName", "4x"), "element 2, key UserName: its text is not hexadecimal"},
        {with("UserName", "414"), "element 2, key UserName: its text is not hexadecimal"},
        {with("Summary", 1), "element 2, key Summary: it must be text"},
        {with("IsPaired", "1"), "element 2, key IsPaired: it must be true or false"},
        {with("DevType", 1.5), "element 2, key DevType: it must be a whole number"},
        {with("DevType", 2147483648), "element 2, key DevType: it must fit in 32 bits"},
        {with("DevType", 18446744073709551615u), "element 2, key DevType: it must fit in 32 bits"},
        {with("DevType", -2147483649), "element 2, key DevType: it must fit in 32 bits"},
        {with("MacAddrInt", -1), "element 2, key MacAddrInt: it must not be negative"},
    };
    const std::filesystem::path file = folder_.path / L"bad.json";
    for (const auto& [text, error] : cases) {
        WriteAll(file, text);
        Bad(L"import \"" + file.wstring() + L"\"", error);
    }
    Bad(L"import \"" + (folder_.path / L"none.json").wstring() + L"\"", "none.json: cannot be read");
    Bad(L"get one DevName", "there is no such device");
}

}  // namespace
