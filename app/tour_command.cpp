#include <fmt/format.h>
#include <windows.h>

#include <iterator>
#include <optional>

#include "app/commands.h"
#include "app/terminal.h"
#include "app/tour.h"
#include "pelora/file_info.h"

namespace tandor::app {
namespace {

constexpr TourStep kSteps[] = {
    {"Write to the three log channels", "Logger::Log", TourChannels},
    {"Convert, code and mask text", "TandorUtilClass", TourText},
    {"Remember a device, list what is there", "TandorConfig::SetPairDeviceParam", TourRemember},
    {"Judge its version", "TandorUtilClass::IsDeviceVersionMoreThanKOSM10", TourVersions},
    {"Export the device as JSON, read it back", "BluetoothDeviceSummarySerialize", TourExport},
    {"Read the extended screen's configuration", "ExScreen::ConfigMgr", TourScreen},
    {"Judge a panel's colours", "GetEdidData::ParseCoordinateFromEdid", TourPanel},
    {"Draw nonces and a session key", "SecurityEncryptUtil::GenerateRandom", TourSessionKey},
    {"Seal and open messages, refuse a changed one", "SecurityEncryptUtil::AesGcmEncrypt", TourSealing},
    {"Digests, short identifiers, the shared generator", "CTandorSecTools, DE, TrustDeviceRandom", TourDigests},
    {"Time the steps of a pairing, one of them missing", "Tandor::Reporter::Commit", TourTimedPairing},
    {"Report a fault with its log files", "Tandor::KoEventReporter::KoEventReport", TourFault},
    {"Announce presence to a second process, follow one", "TdProcessStatePresenter, TdProcessStateWatcher",
     TourPresence},
    {"Run tasks on the pool", "TandorUtil::ThreadPool::Submit", TourPool},
    {"Push more to a busy queue than it keeps", "IOperationQueue::Push", TourQueue},
    {"Sort the files of a real folder", "ZellFileClassifier::GetTransferFileType", TourFiles},
    {"See the PC's devices, plan a virtual one", "Vxa::Exp::DeviceInventory", TourDevices},
    {"Compare the firewall with the user's plan", "Firewall::AddFirewallRules", TourFirewall},
    {"Ask a configuration server that is not there", "HttpDownloadHelper::GetConfigDataFromServer", TourRequest},
    {"Take back what the tour wrote", "DM::DeviceMgr, pelora::Outbox::Remove", TourTidyUp},
    {"See where everything lies and what is in it", "FileInfo, DM::DeviceMgr, pelora::Outbox", TourPlaces},
};

// Runs one step; returns what a machine reads about it.
Json RunStep(std::size_t number, const TourStep& step, const std::filesystem::path& folder, bool json) {
    if (!json) PrintLine(fmt::format("\n{}. {}  [{}]", number, step.title, step.call));
    TourReport report(folder, json);
    std::optional<Trouble> trouble;
    try {
        step.run(report);
    } catch (const std::exception& error) {
        trouble = TroubleOf(error, step.call);
        if (!json) PrintLine("   " + Paint(Colour::kBad, "FAILED") + ": " + trouble->Text());
    }
    std::fflush(stdout);
    Json result{{"step", number},
                {"title", step.title},
                {"call", step.call},
                {"passed", !trouble},
                {"results", report.Results()}};
    if (trouble) result["error"] = {{"thing", trouble->thing}, {"cause", trouble->cause}, {"remedy", trouble->remedy}};
    return result;
}

// What stood screens above.
void ShowFailures(const Json& steps) {
    for (const Json& step : steps) {
        if (step["passed"].get<bool>()) continue;
        const auto part = [&](const char* key) { return step["error"][key].get<std::string>(); };
        const Trouble trouble{part("thing"), part("cause"), part("remedy")};
        PrintLine(fmt::format("{}: {} {}: {}", Paint(Colour::kBad, "failed"), step["step"].get<int>(),
                              step["title"].get<std::string>(), trouble.Text()));
    }
}

// Two tours at once do not meet here.
std::filesystem::path FolderFor(const std::string& output) {
    const std::filesystem::path folder =
        output.empty() ? std::filesystem::temp_directory_path() / fmt::format("tandor-tour-{}", ::GetCurrentProcessId())
                       : std::filesystem::absolute(PathFrom(output)).make_preferred();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!std::filesystem::is_directory(folder, error)) {
        throw CommandError(TextOf(folder), "the folder cannot be made", "name another one with --output");
    }
    return folder;
}

void Tour(Context& context, const std::string& output) {
    const std::filesystem::path folder = FolderFor(output);
    const std::uint64_t begin = ::GetTickCount64();
    Json steps = Json::array();
    std::size_t failed = 0;
    if (!context.json) PrintLine("A pairing session on this machine, with the library's own calls.");
    Progress progress("tour");
    for (const TourStep& step : kSteps) {
        if (context.json) progress.Show(steps.size(), std::size(kSteps));  // the steps themselves show it otherwise
        steps.push_back(RunStep(steps.size() + 1, step, folder, context.json));
        if (!steps.back()["passed"].get<bool>()) ++failed;
    }
    const double seconds = static_cast<double>(::GetTickCount64() - begin) / 1000;
    if (failed > 0) context.exit_code = 1;
    if (context.json) {
        return PrintJson({{"steps", steps},
                          {"failed", failed},
                          {"seconds", seconds},
                          {"common_folder", FileInfo::GetPeloraCommDir()},
                          {"folder", TextOf(folder)}});
    }
    PrintLine(
        fmt::format("\n{} of {} steps passed in {:.1f} s", std::size(kSteps) - failed, std::size(kSteps), seconds));
    ShowFailures(steps);
}

}  // namespace

void Expect(bool holds, const char* what) {
    if (!holds) throw CommandError(what, "came out wrong", kToldInTheLog);
}

void TourReport::Result(const std::string& name, const std::string& shown) { Result(name, shown, shown); }

void TourReport::Result(const std::string& name, const std::string& shown, Json data) {
    results_[name] = std::move(data);
    if (!json_) PrintLine(fmt::format("   {:<34} {}", name, shown));
}

void AddTourCommand(CLI::App& app, Context& context) {
    CLI::App* const tour = app.add_subcommand("tour", "See everything at work: a pairing session on this machine");
    const auto output = std::make_shared<std::string>();
    tour->add_option("-o,--output", *output,
                     "The folder for the picture and the other files; one among the temporary files "
                     "when left out")
        ->type_name("FOLDER");
    tour->footer(
        "Before its end the tour takes back the device and the records that it wrote. Lines in the logs and the "
        "folder's\n"
        "files stay; the last step names them. Exit code 1 when a step failed.\nExample:\n  tandorctl tour --output "
        "tour");
    tour->callback([&context, output] { Tour(context, *output); });
}

}  // namespace tandor::app
