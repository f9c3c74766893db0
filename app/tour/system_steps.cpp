#include <fmt/format.h>
#include <windows.h>

#include <algorithm>

#include "app/device_report.h"
#include "app/fetch_errors.h"
#include "app/tour.h"
#include "base/utf.h"
#include "tandor/device_console.h"
#include "tandor/http_download.h"
#include "tandor/rehearsal.h"

namespace tandor::app {

void TourDevices(TourReport& report) {
    using Vxa::Exp::DeviceInventory;
    std::vector<Vxa::Exp::DeviceNode> nodes, found;
    if (const unsigned long error = DeviceInventory::List(nodes); error != 0)
        throw DeviceError("the list of devices", error);
    report.Result("devices present", std::to_string(nodes.size()), nodes.size());
    const auto named = std::ranges::find_if(nodes, [](const auto& node) { return !node.hardware_ids.empty(); });
    if (named != nodes.end()) {
        const std::wstring& identifier = named->hardware_ids.front();
        Expect(DeviceInventory::Find(identifier, found) == 0 && !found.empty(), "finding a device by its hardware id");
        report.Result("found by its hardware id",
                      fmt::format("{}: {}, {}", Utf8FromWideLossy(identifier),
                                  Utf8FromWideLossy(found.front().instance), StateText(found.front())));
    }

    const std::filesystem::path inf = report.Folder() / L"Pad 手机.inf";
    WriteOutput(TextOf(inf),
                "[Version]\r\nSignature=\"$Windows NT$\"\r\nClass=System\r\n"
                "ClassGuid={4d36e97d-e325-11ce-bfc1-08002be10318}\r\n");
    const Rehearsal rehearsal;
    const std::wstring hardware_id = L"Root\\TandorTour";
    const bool installs = Vxa::Exp::DeviceConsole::GetInstance().ExecCommand(L"install", hardware_id, inf.native());
    const unsigned long error = ::GetLastError();
    std::filesystem::remove(inf);
    if (!installs) report.Result("a virtual device", DeviceError("cannot be installed here", error).what());
    Expect(!installs || rehearsal.Calls().size() == 4, "rehearsing the installation of a virtual device");
    for (const std::wstring& call : rehearsal.Calls()) report.Result("would call", Utf8FromWideLossy(call));
    report.Result("needs administrator rights", "install, update, enable, disable, remove, stage: the tour does none");
}

// Port 9 of this PC: nothing listens there, and nothing leaves the PC.
void TourRequest(TourReport& report) {
    std::string headers, answer;
    HttpTransfer transfer;
    const int code =
        HttpDownloadHelper::GetConfigDataFromServer("https://127.0.0.1:9/config", "{}", headers, answer, transfer);
    Expect(code != 0 && code == transfer.code && answer.empty(), "a request to a closed port");
    const Explanation why = Explain(transfer);
    report.Result("result of libcurl", std::to_string(code), code);
    report.Result("in words", why.cause);
    report.Result("what to do", why.remedy);
}

}  // namespace tandor::app
