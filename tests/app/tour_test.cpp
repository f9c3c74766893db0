// The tour and the doctor: what they say, and what they leave.

#include <nlohmann/json.hpp>

#include <future>

#include "app/program_copy.h"
#include "pelora/device_manager.h"
#include "pelora/file_info.h"
#include "pelora/outbox.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;
using nlohmann::json;
namespace fs = std::filesystem;

unsigned long long RecordsInOutbox() {
    pelora::OutboxStatus status;
    EXPECT_EQ(pelora::Outbox::GetInstance().Status(status), "");
    return status.records;
}

TEST(Tour, TwoAtOncePassAndTakeBackWhatTheyWrote) {
    const TemporaryFolder folder;
    const auto before = RecordsInOutbox();
    const auto run = [&](const wchar_t* name) {
        return RunTandorctl(L"tour --json --output \"" + (folder.path / name).generic_wstring() + L"\"");
    };
    auto other = std::async(std::launch::async, run, L"eins 手机");
    const ProgramRun first = run(L"zwei"), second = other.get();
    for (const ProgramRun* const tour : {&first, &second}) {
        EXPECT_EQ(tour->exit_code, 0) << tour->out << tour->error;
        const json shown = json::parse(tour->out);
        for (const auto& step : shown["steps"]) EXPECT_TRUE(step["passed"].get<bool>()) << step;
    }
    EXPECT_EQ(RecordsInOutbox(), before);
    std::vector<BluetoothDeviceSummary> devices;
    ASSERT_EQ(DM::DeviceMgr::GetInstance().GetPresentDeviceInfoList(devices), DM::DEVICE_OK);
    for (const auto& device : devices) EXPECT_THAT(device.DevName, testing::Not(HasSubstr("(tour ")));
    EXPECT_THAT(ReadAll(folder.path / L"eins 手机" / L"panel.svg"), testing::EndsWith("</svg>\n"));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path / L"zwei"), {}), 2);  // the picture and the devices
}

TEST(Tour, AStepThatFailsIsNamedAndTheOthersGoOn) {
    const tandor::test::ProgramCopy program;
    const ProgramRun tour = program.Run(L"tour");  // without the samples and the configuration
    EXPECT_EQ(tour.exit_code, 1);
    EXPECT_THAT(tour.out, HasSubstr("wide-panel.edid: cannot be read"));
    const std::size_t end = tour.out.find("19 of 21 steps passed");
    ASSERT_NE(end, std::string::npos);
    EXPECT_THAT(tour.out.substr(end), HasSubstr("failed: 7 Judge a panel's colours: "));
    const ProgramRun nowhere = RunTandorctl(L"tour --output tandorctl.exe");
    EXPECT_EQ(nowhere.exit_code, 1);
    EXPECT_THAT(nowhere.error, HasSubstr("the folder cannot be made; name another one with --output"));
}

// Names and sizes below the common directory, but for the logs, which every process has.
std::vector<std::string> Stores() {
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(FileInfo::GetPeloraCommDir())) {
        const std::string path = entry.path().string();
        if (!entry.is_directory() && path.find("\\log\\") == std::string::npos)
            found.push_back(path + " " + std::to_string(entry.file_size()));
    }
    return found;
}

TEST(Doctor, FindsNothingBrokenAndChangesNothing) {
    RecordsInOutbox();  // both stores are there
    std::vector<BluetoothDeviceSummary> devices;
    ASSERT_EQ(DM::DeviceMgr::GetInstance().GetPresentDeviceInfoList(devices), DM::DEVICE_OK);
    const auto before = Stores();
    const ProgramRun doctor = RunTandorctl(L"doctor --json");
    EXPECT_EQ(doctor.exit_code, 0) << doctor.out;
    EXPECT_EQ(Stores(), before);
    const json looked_at = json::parse(doctor.out);
    for (const auto& finding : looked_at["findings"]) {
        EXPECT_NE(finding["verdict"], "broken") << finding;
        EXPECT_TRUE(finding["verdict"] == "works" || finding["remedy"] != "") << finding;
    }
}

TEST(Doctor, NamesWhatIsMissing) {
    const tandor::test::ProgramCopy program;
    tandor::test::WriteAll(program.Folder() / L"config" / L"VxExScreen" / L"VxExScreenConfig.xml", "<R>");
    const ProgramRun doctor = program.Run(L"doctor");
    EXPECT_THAT(doctor.out, HasSubstr("not well-formed"));
    EXPECT_THAT(doctor.out, HasSubstr("PadResolutionConfig.xml: the file does not exist"));
    EXPECT_THAT(doctor.out, HasSubstr("cacert.pem is missing or has no certificate"));
    tandor::test::WriteAll(program.Folder() / L"config" / L"cacert.pem", "-----BEGIN CERTIFICATE-----\nAAAA\n");
    EXPECT_THAT(program.Run(L"doctor").out, HasSubstr("cacert.pem is damaged behind 0 certificates"));
}

}  // namespace
