// One call of each exported header: what is missing from a library, or from the package, shows when this is linked or
// started.
#include <pelora/digest.h>
#include <pelora/log_service.h>
#include <tandor/crypto.h>
#include <tandor/data_report.h>
#include <tandor/device_console.h>
#include <tandor/device_summary.h>
#include <tandor/edid.h>
#include <tandor/event_reporter.h>
#include <tandor/file_classifier.h>
#include <tandor/firewall.h>
#include <tandor/http_download.h>
#include <tandor/logging.h>
#include <tandor/operation_queue.h>
#include <tandor/paired_device_config.h>
#include <tandor/screen_config.h>
#include <tandor/sealing.h>
#include <tandor/state_watch.h>
#include <tandor/text.h>
#include <tandor/thread_pool.h>

#include <iostream>
#include <vector>

namespace {

int failures = 0;

void Check(const char* header, bool works) {
    if (works) return;
    ++failures;
    std::cout << header << " gives a wrong answer" << std::endl;
}

void CheckTextAndLogs() {
    std::wstringstream message;
    message << L"the consumer runs";
    Logger("KoViewTandor").Log(LOG_MESSAGE_INFO, message);
    const bool modern = TandorUtilClass::CalcVersion("10.0.0.100") >= 0x0A000064;
    Check("text.h", modern);
    Check("file_classifier.h", ZellFileClassifier::IsImage(std::string("a.JPG")));
}

void CheckDevices() {
    BluetoothDeviceSummary phone;
    phone.DevName = "a consumer's phone";
    Check("device_summary.h",
          BluetoothDeviceSummarySerialize::FromString(BluetoothDeviceSummarySerialize::ToString({phone}))[0].DevName ==
              phone.DevName);
    Check("paired_device_config.h", !TandorConfig::GetPairDeviceParam("no such phone", phone));
    Check("screen_config.h", ExScreen::ConfigMgr::GetInstance().GetFollowPCWidth() > 0);
    Check("edid.h", GetEdidData::BinaryToDecimal(0x200) == 0.5);
    Check("device_console.h", !Vxa::Exp::DeviceConsole::GetInstance().ExecCommand(L"no such command", L"", L""));
}

void CheckSecurity() {
    unsigned char digest[32] = {};
    DE::CryptSHA256 hash;
    Check("crypto.h", hash.Create() && hash.Update("abc", 3) && hash.Finish(digest) && digest[0] == 0xBA);
    Check("digest.h", DE::GetStringSha256("abc").size() == 64);
    std::string drawn;
    Check("sealing.h", SecurityEncryptUtil::GetInstance()->GenerateRandom(drawn, 16) && drawn.size() == 32);
}

void CheckTelemetryAndSystem() {
    Check("data_report.h", TandorDataReportClass::GetCurrentMilliSecond() > 0);
    Check("event_reporter.h", Tandor::ReporterFactory::GetInstance().CreateReporter(9101, 2) != nullptr);
    Check("firewall.h", Firewall().IsRuleGroupEnabled() <= 1);
    Check("http_download.h", !HttpDownloadHelper::GetCaPath().empty());
    Check("state_watch.h", TdProcessStateWatcher(L"consumer-a", L"consumer-b").QueryProcessState() == 0);
    TandorUtil::ThreadPool pool(1);
    Check("thread_pool.h", pool.Start() == 0);
    Check("operation_queue.h", OperationQueueBase().GetMaxSize() > 0);
}

}  // namespace

int main() {
    CheckTextAndLogs();
    CheckDevices();
    CheckSecurity();
    CheckTelemetryAndSystem();
    if (failures == 0) std::cout << "consumer works" << std::endl;
    return failures;
}
