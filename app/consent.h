// How commands change the system: not at all for --dry-run, otherwise with the user's consent.
#pragma once

#include <functional>
#include <string>

#include "app/commands.h"

namespace tandor::app {

struct Consent {
    bool dry_run = false;
    bool yes = false;
};

// --dry-run and --yes.
void AddConsent(CLI::App& verb, Consent& consent);

// Goes on when --yes says so or a person does. Throws UsageFailure where nobody can be asked, because standard input is
// no terminal, and CommandError when the person declines. `calls` are what would be done.
void Confirm(const Consent& consent, const std::string& what, const std::vector<std::string>& calls = {});

// Does `operation`, which throws when it fails, after Confirm. For --dry-run it is rehearsed and the calls that it
// would make are shown instead. True when it was done.
bool CarryOut(const Context& context, const Consent& consent, const std::string& what,
              const std::function<void()>& operation);

}  // namespace tandor::app
