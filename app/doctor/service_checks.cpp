// The services that the library calls, the suite's own and the system's.
#include <windows.h>

#include <wbemidl.h>

#include <fmt/format.h>

#include "app/command.h"
#include "app/device_report.h"
#include "app/doctor/doctor.h"
#include "app/firewall_view.h"
#include "app/places.h"
#include "app/store_look.h"
#include "base/win_apartment.h"
#include "base/win_com_ptr.h"
#include "base/win_error.h"
#include "base/win_handle.h"
#include "base/win_system_entry.h"
#include "tandor/firewall.h"
#include "tandor/rehearsal.h"
#include "tandor/text.h"

namespace tandor::app {
namespace {

Finding LookAt(const char* thing, const std::filesystem::path& file, const char* table, const char* rows) {
    const StoreLook look = LookAtStore(file, table);
    const std::string name = TextOf(file);
    switch (look.state) {
        case StoreLook::State::kAbsent:
            return {thing, Verdict::kWorks, "none yet, will be made when it is needed", ""};
        case StoreLook::State::kWhole:
            return {thing, Verdict::kWorks, fmt::format("{}: {}, {} bytes, whole", rows, look.rows, look.bytes), ""};
        case StoreLook::State::kForeign:
        case StoreLook::State::kDamaged:
            return {thing, Verdict::kBroken, name + ": " + look.trouble,
                    "keep a copy if it matters; the next use sets it aside and begins a new one"};
        case StoreLook::State::kUnreadable:
            break;
    }
    return {thing, Verdict::kBroken, name + ": " + look.trouble,
            "give your user the right to it, or end what holds it"};
}

// Why the management service does not answer; empty when it does.
std::string ManagementTrouble() {
    const Apartment apartment;
    ComPtr<IWbemLocator> locator;
    ComPtr<IWbemServices> services;
    HRESULT status = apartment.Status();
    if (SUCCEEDED(status)) status = locator.Create(__uuidof(WbemLocator));
    if (SUCCEEDED(status)) {
        status = locator->ConnectServer(ComText(L"ROOT\\CIMV2").Get(), nullptr, nullptr, nullptr,
                                        WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr, services.Receive());
    }
    return SUCCEEDED(status) ? "" : WindowsErrorText(static_cast<DWORD>(status));
}

Finding LookAtInstallation() {
    const char* const thing = "device installation";
    for (const char* const entry : {"UpdateDriverForPlugAndPlayDevicesW", "DiUninstallDriverW"}) {
        if (SystemEntry<void()>(L"newdev.dll", entry) == nullptr) {
            return {thing, Verdict::kLimited, std::string("the system's newdev.dll has no ") + entry,
                    "needs Windows 10 1607 or newer; until then install, update, enable, disable and remove fail"};
        }
    }
    return {thing, Verdict::kWorks, "newdev.dll has what is needed", ""};
}

Finding LookAtStaging() {
    const std::filesystem::path program = SystemFolder() / "pnputil.exe";
    std::error_code ignored;
    if (std::filesystem::is_regular_file(program, ignored))
        return {"driver staging", Verdict::kWorks, TextOf(program), ""};
    return {"driver staging", Verdict::kLimited, TextOf(program) + " is missing: 'console stage' fails",
            "repair Windows with 'sfc /scannow'; Wine has none"};
}

}  // namespace

void CheckStores(Findings& findings) {
    findings.push_back(LookAt("device store", DeviceStoreFile(), "device", "devices"));
    findings.push_back(LookAt("outbox", OutboxFile(), "records", "records, without those still in outbox.db-new"));
}

void CheckAssistant(Findings& findings) {
    const char* const thing = "assistant service";
    // Asks whether somebody serves the pipe, and does not connect.
    const bool free = ::WaitNamedPipeW(L"\\\\.\\Pipe\\iPaviloAssistant", 1) != 0;
    const DWORD error = free ? ERROR_SUCCESS : ::GetLastError();
    if (error == ERROR_SUCCESS || error == ERROR_SEM_TIMEOUT) {
        findings.push_back({thing, Verdict::kWorks, "its pipe iPaviloAssistant is served", ""});
        return;
    }
    findings.push_back({thing, Verdict::kLimited, "its pipe iPaviloAssistant: " + WindowsErrorText(error),
                        "start the suite's assistant; what is posted to it is dropped until then"});
}

void CheckFirewall(Findings& findings) {
    const FirewallView view = LookAtFirewall();
    const Rehearsal rehearsal;
    const long lookup = Firewall().DeleteExistFirewallRules();
    Finding finding{"firewall", Verdict::kLimited, "", "start the service 'Windows Defender Firewall' (mpssvc)"};
    if (!view.trouble.empty()) {
        finding.detail = "its rules cannot be read: " + view.trouble;
    } else if (lookup < 0) {
        finding.detail = "rules cannot be found by name: " + WindowsErrorText(static_cast<DWORD>(lookup));
    } else {
        const int group = Firewall().IsRuleGroupEnabled();
        if (group < 0) {
            finding.detail =
                "whether the feature's group is enabled is not told: " + WindowsErrorText(static_cast<DWORD>(group));
        } else {
            finding = {"firewall", Verdict::kWorks,
                       fmt::format("{} rules read, the plan is {}, the feature's group is {}", view.rules.size(),
                                   PlanText(view.plan), group > 0 ? "enabled" : "not enabled"),
                       ""};
        }
    }
    findings.push_back(finding);
}

void CheckManagement(Findings& findings) {
    const std::string trouble = ManagementTrouble();
    findings.push_back(trouble.empty() ? Finding{"management service (WMI)", Verdict::kWorks, "answers", ""}
                                       : Finding{"management service (WMI)", Verdict::kLimited,
                                                 "no panel is found by itself: " + trouble,
                                                 "start the service 'Windows Management Instrumentation' (winmgmt)"});
}

void CheckDevices(Findings& findings) {
    std::vector<Vxa::Exp::DeviceNode> nodes;
    const unsigned long error = Vxa::Exp::DeviceInventory::List(nodes);
    findings.push_back(
        error == 0
            ? Finding{"devices (Setup API)", Verdict::kWorks, fmt::format("{} devices present", nodes.size()), ""}
            : Finding{"devices (Setup API)", Verdict::kBroken, DeviceError("the list of devices", error).what(), ""});
    findings.push_back(LookAtInstallation());
    findings.push_back(LookAtStaging());
}

void CheckImaging(Findings& findings) {
    const ModuleHandle gdiplus(::LoadLibraryExW(L"gdiplus.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
    findings.push_back(gdiplus ? Finding{"thumbnails (GDI+)", Verdict::kWorks,
                                         fmt::format("edge length {} pixels", TandorUtilClass::GetHintThumbSize()), ""}
                               : Finding{"thumbnails (GDI+)", Verdict::kBroken, WindowsErrorText(::GetLastError()),
                                         "install the system's media features"});
}

}  // namespace tandor::app
