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

TEST_F(DeviceCommand, SetsReadsListsAndForgetsDevices) {
    Bad(L"attr set \"Lena's 手机\" a 1",
        "present device 'Lena's 手机': there is no such device; tandorctl device list");
    Good(L"set --new \"Lena's 手机\" IsTrusted true");
    Good(L"attr set \"Lena's 手机\" peerDeviceVersion 10.0.0.100");
    Bad(L"set \"Lena's 手机\" peerDeviceVersion 1", "no such member; tandorctl device show");
    EXPECT_EQ(Good(L"attr get \"Lena's 手机\" IsTrusted"), "1\n");
    EXPECT_EQ(Good(L"attr get \"Lena's 手机\" DevName"), "Lena's 手机\n");
    EXPECT_EQ(RunTandorctl(L"version device \"Lena's 手机\"").out, "0x0A000064 (at least 10.0.0.100)\n");
    Bad(L"set \"Lena's 手机\" DevType phone",
        "attribute 'DevType': the value is none of its type; numbers are decimal");
    Bad(L"attr set \"Lena's 手机\" DeviceId x", "DeviceId is only read");
    Bad(L"attr get \"Lena's 手机\" nothing", "attribute 'nothing': there is no such attribute");
    Bad(L"show nobody", "there is no such device");
    Bad(L"attr get one", "see 'tandorctl device attr get --help'", 2);
    EXPECT_THAT(Good(L"list"), HasSubstr("Lena's 手机"));
    const json shown = json::parse(Good(L"show \"Lena's 手机\" --json"));
    EXPECT_EQ(shown["record"]["IsTrusted"], "1");
    EXPECT_EQ(shown["record"]["DevSubType"], "-1");
    EXPECT_EQ(shown["attributes"]["peerDeviceVersion"], "10.0.0.100");
    Good(L"set --new --bound \"Lena's 手机\" IsTrusted 1");
    Bad(L"forget --bound \"Lena's 手机\"", "bound device 'Lena's 手机': it is trusted; forget it with --even-trusted");
    Good(L"forget --bound --even-trusted \"Lena's 手机\"");
    Good(L"forget \"Lena's 手机\"");
    Bad(L"forget \"Lena's 手机\"", "there is no such device");
}

TEST_F(DeviceCommand, WhatIsExportedCanBeImported) {
    Good(L"set --new 手机二 MacAddrInt 18446744073709551615");
    Good(L"attr set 手机二 DevicePairedTime 77");
    Good(L"set 手机二 ExtInfo kept");
    const std::wstring file = L"\"" + (folder_.path / L"geräte.json").wstring() + L"\"";
    EXPECT_THAT(Good(L"export --output " + file), HasSubstr("devices written to"));
    EXPECT_EQ(ReadAll(folder_.path / L"geräte.json") + "\n", Good(L"export"));
    EXPECT_GE(json::parse(Good(L"--json export --output " + file))["written"], 1);
    const json simple = json::parse(Good(L"export --simple"));
    const auto ours = std::find_if(simple.begin(), simple.end(),
                                   [](const json& element) { return element["DevName"] == "E6898BE69CBAE4BA8C"; });
    ASSERT_NE(ours, simple.end());
    EXPECT_EQ((*ours)["PairedTime"], 77);
    // What the file does not tell stays, and a dry run changes nothing.
    const auto planned = [&] {
        const json plan = json::parse(Good(L"--json import --dry-run " + file))["changes"];
        return std::find_if(plan.begin(), plan.end(), [](const json& one) { return one["device"] == "手机二"; })
            ->dump();
    };
    EXPECT_EQ(planned(), R"({"change":"unchanged","device":"手机二","members":[]})");
    Good(L"set 手机二 MacAddrInt 5");
    Good(L"set 手机二 UserName Lena");
    EXPECT_EQ(planned(), R"({"change":"changed","device":"手机二","members":["UserName","MacAddrInt"]})");
    EXPECT_THAT(Good(L"import --dry-run " + file), HasSubstr("手机二: changed in UserName, MacAddrInt\n"));
    EXPECT_EQ(Good(L"attr get 手机二 MacAddrInt"), "5\n");
    Good(L"import " + file);
    EXPECT_EQ(Good(L"attr get 手机二 ExtInfo") + Good(L"attr get 手机二 MacAddrInt"), "kept\n18446744073709551615\n");
    Good(L"forget 手机二");
    EXPECT_THAT(Good(L"import --dry-run " + file), HasSubstr("手机二: new\n"));
    Good(L"import " + file);
    EXPECT_EQ(Good(L"attr get 手机二 MacAddrInt"), "18446744073709551615\n");
    Bad(L"export --output \"" + (folder_.path / L"none" / L"x.json").wstring() + L"\"", "cannot be written");
}

TEST_F(DeviceCommand, BindingAgainKeepsWhatOnlyTheBoundDeviceHas) {
    Bad(L"bind one", "present device 'one': there is no such device");
    Good(L"set --new one UserName Lena");
    Good(L"set one ExtInfo present");
    Good(L"bind one");
    EXPECT_EQ(Good(L"attr get --bound one ExtInfo"), "present\n");
    Good(L"set --bound one ExtInfo bound");
    Good(L"set one UserName Max");
    Good(L"bind one");
    EXPECT_EQ(Good(L"attr get --bound one UserName") + Good(L"attr get --bound one ExtInfo"), "Max\nbound\n");
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
        {with("DevType", -2147483649), "element 2, key DevType: it must fit in 32 bits"},
        {with("MacAddrInt", -1), "element 2, key MacAddrInt: it must not be negative"},
    };
    const std::filesystem::path file = folder_.path / L"bad.json";
    for (const auto& [text, error] : cases) {
        WriteAll(file, text);
        Bad(L"import \"" + file.wstring() + L"\"", error);
    }
    Bad(L"import \"" + (folder_.path / L"none.json").wstring() + L"\"", "none.json: cannot be read");
    Bad(L"attr get one DevName", "there is no such device");
}

}  // namespace
