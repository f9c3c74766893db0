// The tour: a pairing session on this machine, step by step. Each family has its steps in a file of its own
// (app/tour/<family>_steps.cpp) and a row for each in the table in tour_command.cpp.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "app/command.h"

namespace tandor::app {

// What a step has to tell. A step that throws has failed; what it said until then is shown.
class TourReport {
public:
    TourReport(const std::filesystem::path& folder, bool json) : folder_(folder), json_(json) {}

    // One result: a name, and its value as it is shown and, as `data`, for machines (the shown text when there is
    // none).
    void Result(const std::string& name, const std::string& shown);
    void Result(const std::string& name, const std::string& shown, Json data);

    // A folder for the files that steps make; what is in it after the last step stays.
    [[nodiscard]] const std::filesystem::path& Folder() const { return folder_; }
    [[nodiscard]] const Json& Results() const { return results_; }

private:
    std::filesystem::path folder_;
    bool json_;
    Json results_ = Json::object();
};

struct TourStep {
    const char* title;  // what is done
    const char* call;   // with which call of the library
    void (*run)(TourReport&);
};

// What helps when a call of the library did not do what it should.
inline constexpr const char* kToldInTheLog =
    "'tandorctl --follow tour' shows what the library logged, 'tandorctl doctor' what works here";

// A step's own check; the step has failed when it does not hold. `what` says what was tried.
void Expect(bool holds, const char* what);

// The device that this tour remembers. Another tour at the same time has one of its own.
const std::string& TourPhone();

// Device data and settings
void TourRemember(TourReport& report);
void TourExport(TourReport& report);

// Foundation
void TourChannels(TourReport& report);
void TourText(TourReport& report);
void TourVersions(TourReport& report);
void TourFiles(TourReport& report);

// Security
void TourSessionKey(TourReport& report);
void TourSealing(TourReport& report);
void TourDigests(TourReport& report);

// Concurrency
void TourPresence(TourReport& report);
void TourPool(TourReport& report);
void TourQueue(TourReport& report);

// Screen and panel
void TourScreen(TourReport& report);
void TourPanel(TourReport& report);

// Telemetry
void TourTimedPairing(TourReport& report);
void TourFault(TourReport& report);

// System
void TourDevices(TourReport& report);
void TourRequest(TourReport& report);
void TourFirewall(TourReport& report);

// The end
void TourPlaces(TourReport& report);
void TourTidyUp(TourReport& report);

// What the tour has put where other data of the user's is, taken out again. Returns how many. Throws CommandError.
std::size_t TakeBackPhone();
std::size_t TakeBackRecords();

}  // namespace tandor::app
