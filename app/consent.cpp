#include "app/consent.h"

#include <fmt/format.h>
#include <windows.h>

#include <iostream>

#include "base/utf.h"
#include "tandor/rehearsal.h"

namespace tandor::app {
namespace {

// The null device is a character device too; only a console has a mode.
bool IsTerminal(DWORD stream) {
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(stream), &mode) != 0;
}

std::vector<std::string> Rehearsed(const std::function<void()>& operation) {
    const Rehearsal rehearsal;
    operation();
    std::vector<std::string> calls;
    for (const std::wstring& call : rehearsal.Calls()) calls.push_back(Utf8FromWideLossy(call));
    return calls;
}

void ShowCalls(const Context& context, const std::string& what, const std::vector<std::string>& calls) {
    if (context.json) return PrintJson({{"command", what}, {"dry_run", true}, {"calls", calls}});
    PrintLine(calls.empty() ? "Nothing is changed, and nothing would be." : "Nothing is changed. It would call:");
    for (std::size_t i = 0; i < calls.size(); ++i) PrintLine(fmt::format("  {}. {}", i + 1, calls[i]));
}

}  // namespace

void AddConsent(CLI::App& verb, Consent& consent) {
    CLI::Option* const yes = verb.add_flag("--yes", consent.yes, "Change the system without asking");
    verb.add_flag("--dry-run", consent.dry_run, "List the calls that would change the system, and make none")
        ->excludes(yes);
}

void Confirm(const Consent& consent, const std::string& what, const std::vector<std::string>& calls) {
    if (consent.yes) return;
    if (!IsTerminal(STD_INPUT_HANDLE)) {
        throw UsageFailure(what, "it changes the system, and nobody can be asked here",
                           "--yes does it all the same, --dry-run shows what it would do");
    }
    for (const std::string& call : calls) std::fprintf(stderr, "  %s\n", call.c_str());
    std::fprintf(stderr, "%s changes the system. Go on? [y/N] ", what.c_str());
    std::fflush(stderr);
    std::string answer;
    std::getline(std::cin, answer);
    if (!answer.starts_with('y') && !answer.starts_with('Y'))
        throw CommandError(what, "declined, nothing was changed", "answer y, or give --yes");
}

bool CarryOut(const Context& context, const Consent& consent, const std::string& what,
              const std::function<void()>& operation) {
    if (consent.dry_run) {
        ShowCalls(context, what, Rehearsed(operation));
        return false;
    }
    const bool asks = !consent.yes && IsTerminal(STD_INPUT_HANDLE);
    Confirm(consent, what, asks ? Rehearsed(operation) : std::vector<std::string>());
    operation();
    return true;
}

}  // namespace tandor::app
