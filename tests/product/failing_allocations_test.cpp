// One call of each family with its n-th allocation failing, for n = 1, 2 and so on until the call no longer gets that
// far: it ends with a result or with std::bad_alloc, and afterwards the same call does its work and nothing is left.
#include <new>

#include "pelora/device_manager.h"
#include "pelora/log_service.h"
#include "support/edid_sample.h"
#include "support/failing_memory.h"
#include "support/testing.h"
#include "tandor/crypto.h"
#include "tandor/data_report.h"
#include "tandor/device_console.h"
#include "tandor/device_summary.h"
#include "tandor/edid.h"
#include "tandor/event_reporter.h"
#include "tandor/file_classifier.h"
#include "tandor/firewall.h"
#include "tandor/http_download.h"
#include "tandor/logging.h"
#include "tandor/operation_queue.h"
#include "tandor/sealing.h"
#include "tandor/state_watch.h"
#include "tandor/text.h"
#include "tandor/thread_pool.h"

namespace {

using namespace tandor::test;

struct Call {
    const char* name;
    std::function<bool()> works;  // does its work, and says whether it did
};

// Whether the allocation that was to fail came at all.
bool CallWithFailure(const Call& call, long number) {
    try {
        const FailingMemory failing(number);
        (void)call.works();
    } catch (const std::bad_alloc&) {
    } catch (const std::exception& error) {
        ADD_FAILURE() << call.name << ", allocation " << number << ": " << error.what();
    }
    return FailingMemory::HasFailed();
}

std::vector<BluetoothDeviceSummary> OneDevice() {
    BluetoothDeviceSummary device;
    device.DevName = std::string(40, 'd');
    device.UserName = std::string(40, 'u');
    return {device};
}

bool LogWorks() {
    const Logger channel("KoViewTandor");
    std::wstringstream message;
    message << L"an allocation may fail " << std::wstring(600, L'x');
    channel.Log(LOG_MESSAGE_INFO, message);
    VxLogger::GetInstance().Log(LOG_MESSAGE_INFO, message);
    return true;
}

bool TextWorks() {
    const std::wstring wide(300, L'\u4e2d');
    return TandorUtilClass::ConvertFromBytes(TandorUtilClass::ConvertFromWideBytes(wide)) == wide &&
           TandorUtilClass::UrlDecode(TandorUtilClass::UrlEncode(std::string(100, '&'))) == std::string(100, '&') &&
           ZellFileClassifier::IsImage(std::string(40, 'p') + ".JPG");
}

bool SummariesWork() {
    const auto read =
        BluetoothDeviceSummarySerialize::FromString(BluetoothDeviceSummarySerialize::ToString(OneDevice()));
    return read.size() == 1 && read[0].DevName == std::string(40, 'd');
}

bool StoreWorks() {
    auto& store = DM::DeviceMgr::GetInstance();
    const std::string device(40, 'd'), text(50, '1');
    std::string value;
    return store.SetPresentDeviceInfo(device, OneDevice()[0]) == 0 &&
           store.SetPresentDeviceInfoByName(device, "Note", text) == 0 &&
           store.GetPresentDeviceInfoByName(device, "Note", value) == 0 && value == text &&
           store.DeletePresentDeviceInfo(device) == 0;
}

bool PanelWorks() {
    std::vector<double> coordinates(8);
    const auto edid = SampleEdid({{{0.64, 0.33}, {0.3, 0.6}, {0.15, 0.06}, {0.3127, 0.329}}});
    return GetEdidData::ParseCoordinateFromEdid(edid.data(), static_cast<unsigned>(edid.size()), coordinates);
}

bool SealWorks() {
    SecurityEncryptUtil sealer;
    sealer.SetSessionKey(std::string(64, 'A'));
    std::string sealed, opened;
    return sealer.AesGcmEncrypt(std::string(128, 'B'), sealed) == 96 && sealer.AesGcmDecrypt(sealed, opened) == 64 &&
           opened == std::string(128, 'B');
}

bool DigestWorks() {
    CTandorSecTools tools;
    std::string digest;
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    DE::CryptSHA256 hash;
    return tools.GetSha256HashStrFromFile(program, digest) && hash.Create() && hash.Update("a", 1);
}

bool ReportWorks() {
    Tandor::Reporter reporter(79, 3);
    reporter.RecordTimeStamp(1);
    reporter.SetTraceID(std::string(40, 't'));
    reporter.Commit();
    Tandor::KoEventReporter fault(907000001);
    fault.KoEventPutString(std::string(40, 'k'), std::string(40, 'v'));
    fault.KoEventReport();
    return true;
}

bool PoolWorks() {
    std::atomic<int> done{0};
    {
        TandorUtil::ThreadPool pool(2);
        pool.Start();
        for (int i = 0; i < 3; ++i) pool.Submit([&done, filling = std::string(100, 'x')] { ++done; });
    }
    return done == 3;
}

// A push that found no memory for its worker leaves that to the next one.
bool QueueWorks() {
    const std::unique_ptr<IOperationQueue> queue(OperationQueueFactory::Create());
    if (queue == nullptr) return false;
    std::atomic<bool> done{false};
    queue->Start();
    for (int pushes = 0; pushes < 2000 && !done; ++pushes) {
        queue->Push([&done, filling = std::string(100, 'x')] { done = true; });
        ::Sleep(done ? 0 : 1);
    }
    queue->Stop();
    return done;
}

bool WatchingWorks() {
    TdProcessStatePresenter presenter(std::wstring(40, L'a'), std::wstring(40, L'b'));
    const std::unique_ptr<TdProcessDetectorInterface> detector(TdProcessDetectorFactory::Create());
    std::wstring command_line;
    if (detector == nullptr || detector->GetProcessCmdline(::GetCurrentProcessId(), command_line) != 1) return false;
    int files = 0;
    detector->EnumFile(::GetCurrentProcessId(), [&](bool, const std::wstring&) { ++files; });
    return presenter.Init() && presenter.Start() && !command_line.empty();
}

bool SystemWorks() {
    std::string headers, answer;
    (void)HttpDownloadHelper::GetConfigDataFromServer("https://127.0.0.1:1/", "{}", headers, answer);
    Vxa::Exp::DeviceConsole::GetInstance().ExecCommand(L"nothing", L"ROOT\\NOTHING", L"C:\\nothing.inf");
    std::vector<Vxa::Exp::DeviceNode> nodes;
    return Vxa::Exp::DeviceInventory::List(nodes) == 0;
}

TEST(FailingAllocations, EndEachFamiliesCallWithAResultOrBadAlloc) {
    const Call calls[] = {{"log", LogWorks},     {"text", TextWorks},         {"summaries", SummariesWork},
                          {"panel", PanelWorks}, {"seal", SealWorks},         {"digest", DigestWorks},
                          {"store", StoreWorks}, {"report", ReportWorks},     {"pool", PoolWorks},
                          {"queue", QueueWorks}, {"watching", WatchingWorks}, {"system", SystemWorks}};
    for (const Call& call : calls) {
        SCOPED_TRACE(call.name);
        ASSERT_TRUE(call.works());  // what stays for good is made
        const std::size_t before = HeapBytesOfThisProcess();
        long number = 1;
        while (CallWithFailure(call, number) && number < 5000) ++number;
        EXPECT_GT(number, 1);
        EXPECT_LT(number, 5000);
        EXPECT_TRUE(call.works());
        EXPECT_LT(HeapBytesOfThisProcess(), before + 64 * 1024);
    }
}

}  // namespace
