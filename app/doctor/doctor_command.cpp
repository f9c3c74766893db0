#include <fmt/format.h>

#include <array>

#include "app/commands.h"
#include "app/doctor/doctor.h"

namespace tandor::app {
namespace {

struct Section {
    const char* title;
    std::vector<void (*)(Findings&)> checks;
};

const std::array kSections{
    Section{"libraries", {CheckOwnLibraries, CheckSystemLibraries, CheckVersions}},
    Section{"directories and files", {CheckFolders, CheckConfiguration}},
    Section{"rights", {CheckAdministrator, CheckRegistry, CheckProcesses}},
    Section{"services",
            {CheckStores, CheckSealing, CheckHttps, CheckAssistant, CheckFirewall, CheckManagement, CheckDevices,
             CheckImaging}},
    Section{"processes, windows, work", {CheckPresence, CheckWindows, CheckDisplays, CheckWorkers}},
};
constexpr std::array kVerdicts{"works", "limited", "broken"};

std::size_t Number(Verdict verdict) { return static_cast<std::size_t>(verdict); }

// A check that cannot even look has found something.
Findings FindingsOf(const Section& section) {
    Findings findings;
    for (const auto check : section.checks) {
        try {
            check(findings);
        } catch (const std::exception& error) {
            findings.push_back({section.title, Verdict::kBroken, error.what(), "run it again with --follow"});
        }
    }
    return findings;
}

void ShowSection(const Section& section, const Findings& findings) {
    PrintLine(section.title);
    std::vector<std::vector<std::string>> rows;
    for (const Finding& finding : findings) {
        rows.push_back({std::string("  ") + kVerdicts[Number(finding.verdict)], finding.thing, finding.detail});
        if (!finding.remedy.empty()) rows.push_back({"", "", "-> " + finding.remedy});
    }
    PrintTable(rows);
    PrintLine("");
}

void Doctor(Context& context) {
    Json document = Json::array();
    std::array<std::size_t, kVerdicts.size()> counts{};
    for (const Section& section : kSections) {
        const Findings findings = FindingsOf(section);
        for (const Finding& finding : findings) {
            ++counts[Number(finding.verdict)];
            document.push_back({{"section", section.title},
                                {"what", finding.thing},
                                {"verdict", kVerdicts[Number(finding.verdict)]},
                                {"detail", finding.detail},
                                {"remedy", finding.remedy}});
        }
        if (!context.json) ShowSection(section, findings);
    }
    context.exit_code = counts[Number(Verdict::kBroken)] > 0 ? 1 : 0;
    if (context.json) return PrintJson({{"findings", document}});
    PrintLine(fmt::format("{} work, {} limited, {} broken", counts[0], counts[1], counts[2]));
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Context& context) {
    CLI::App* const doctor = app.add_subcommand("doctor", "Say what works on this machine, and why not");
    doctor->footer(
        "It looks and changes nothing; the library's own lines go to the host log as always. Exit code 1 when\n"
        "something is broken; what is limited works in part, and the line below says what helps.\n"
        "Example:\n  tandorctl doctor --json");
    doctor->callback([&context] { Doctor(context); });
}

}  // namespace tandor::app
