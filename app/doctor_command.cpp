#include "app/doctor.h"

#include <windows.h>

#include <array>
#include <exception>
#include <fstream>

#include "app/command.h"
#include "app/firewall_view.h"
#include "base/rotating_file.h"
#include "base/win_error.h"
#include "pelora/file_info.h"
#include "pelora/registry.h"
#include "tandor/state_watch.h"
#include "tandor/text.h"

namespace tandor::app {
namespace {

using Check = void (*)(Findings&);
constexpr std::array kChecks{
    CheckLogs, CheckDeviceStore, CheckRegistry, CheckImaging, CheckSealing, CheckHttps, CheckWatching, CheckFirewall,
};
constexpr std::array kVerdicts{"works", "limited", "broken"};

void CheckWritable(const std::string& thing, const std::string& folder, Findings& findings) {
    const std::filesystem::path probe =
        PathFrom(folder) / ("doctor-" + std::to_string(::GetCurrentProcessId()) + ".tmp");
    try {
        RotatingFile file(probe, 1024, 1, RotatingFile::Writers::kOneProcess);
        const std::string trouble = file.Append("probe\r\n");
        findings.push_back(trouble.empty() ? Finding{thing, Verdict::kWorks, folder, ""}
                                           : Finding{thing, Verdict::kBroken, trouble, "free some space on the disk"});
    } catch (const std::exception& error) {
        findings.push_back(
            {thing, Verdict::kBroken, error.what(), "make " + folder + " a folder that you may write to"});
    }
    std::error_code ignored;
    std::filesystem::remove(probe, ignored);
}

void CheckWritableRoot(const char* thing, DE::RegistryRoot root, const char* remedy, Findings& findings) {
    const std::wstring key = L"SOFTWARE\\Vextro\\Pelora\\Doctor";
    const std::wstring name = std::to_wstring(::GetCurrentProcessId());
    std::uint32_t value = 0;
    const bool works = DE::Registry::SetValue(root, key, name, std::uint32_t{7}) &&
                       DE::Registry::GetValue(root, key, name, value) && value == 7;
    DE::Registry::DeleteValue(root, key, name);
    DE::Registry::DeleteKey(root, key);
    findings.push_back(works ? Finding{thing, Verdict::kWorks, "readable and writable", ""}
                             : Finding{thing, Verdict::kLimited, "not writable for this user", remedy});
}

}  // namespace

void CheckLogs(Findings& findings) {
    CheckWritable("channel logs (admin)", "C:\\ProgramData\\Comms\\Pelora\\log\\admin", findings);
    CheckWritable("channel logs (usr)", "C:\\ProgramData\\Comms\\Pelora\\log\\usr", findings);
    CheckWritable("host logs", FileInfo::GetPeloraCommDir() + "\\log\\host", findings);
}

void CheckRegistry(Findings& findings) {
    CheckWritableRoot("registry, the user's hive", DE::RegistryRoot::kUser, "sign in as a user with a loaded profile",
                      findings);
    CheckWritableRoot("registry, the machine's hive", DE::RegistryRoot::kLocalMachine,
                      "run as administrator where machine settings must be changed", findings);
}

void CheckImaging(Findings& findings) {
    const HMODULE gdiplus = ::LoadLibraryExW(L"gdiplus.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    findings.push_back(gdiplus != nullptr
                           ? Finding{"thumbnails (GDI+)", Verdict::kWorks,
                                     "edge length " + std::to_string(TandorUtilClass::GetHintThumbSize()) + " pixels",
                                     ""}
                           : Finding{"thumbnails (GDI+)", Verdict::kBroken, WindowsErrorText(::GetLastError()),
                                     "install the system's media features"});
    if (gdiplus != nullptr) ::FreeLibrary(gdiplus);
}

void CheckWatching(Findings& findings) {
    std::vector<TdOpenFile> files;
    const unsigned long error = TdOpenFiles::List(::GetCurrentProcessId(), files);
    findings.push_back(
        error == ERROR_SUCCESS
            ? Finding{"open files of processes", Verdict::kWorks,
                      std::to_string(files.size()) + " file handles of this process", ""}
            : Finding{"open files of processes", Verdict::kBroken, WindowsErrorText(error), "run as administrator"});
}

void CheckFirewall(Findings& findings) {
    const FirewallView view = LookAtFirewall();
    findings.push_back(
        view.trouble.empty()
            ? Finding{"firewall", Verdict::kWorks,
                      std::to_string(view.rules.size()) + " rules read, the plan is " + PlanText(view.plan),
                      "run as administrator where rules must be changed"}
            : Finding{"firewall", Verdict::kLimited, "its rules cannot be read: " + view.trouble,
                      "start the service 'Windows Defender Firewall' (mpssvc)"});
}

void AddDoctorCommand(CLI::App& app, Context& context) {
    CLI::App* const doctor = app.add_subcommand("doctor", "Say what works on this machine, and why not");
    doctor->footer(
        "Exit code 1 when something is broken; what is limited works in part, and the remedy says what helps.");
    doctor->callback([&context] {
        Findings findings;
        for (const Check check : kChecks) check(findings);
        std::vector<std::vector<std::string>> rows{{"VERDICT", "WHAT", "DETAIL"}};
        Json document = Json::array();
        for (const Finding& finding : findings) {
            const char* const verdict = kVerdicts[static_cast<std::size_t>(finding.verdict)];
            rows.push_back(
                {verdict, finding.thing, finding.detail + (finding.remedy.empty() ? "" : " -> " + finding.remedy)});
            document.push_back({{"what", finding.thing},
                                {"verdict", verdict},
                                {"detail", finding.detail},
                                {"remedy", finding.remedy}});
            if (finding.verdict == Verdict::kBroken) context.exit_code = 1;
        }
        context.json ? PrintJson(document) : PrintTable(rows);
    });
}

}  // namespace tandor::app
