// What went wrong, as a person has to know it: the thing, the cause, the remedy.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace tandor::app {

struct Trouble {
    std::string thing, cause, remedy;

    // "thing: cause; remedy".
    [[nodiscard]] std::string Text() const;
};

// A failure that a person can act on; the program shows it and ends with 1.
class CommandError : public std::runtime_error {
public:
    CommandError(const std::string& thing, const std::string& cause, const std::string& remedy);

    [[nodiscard]] const Trouble& What() const { return trouble_; }

private:
    Trouble trouble_;
};

// The same for a call that lacks something which its user has to decide; the program ends with 2.
class UsageFailure : public CommandError {
public:
    using CommandError::CommandError;
};

// Whatever `task` threw. What is no CommandError comes from below, where nobody knows what the user wanted.
Trouble TroubleOf(const std::exception& error, const std::string& task);

// Shows it on standard error, as "error: ..." or with `json` as one line {"error":{"thing","cause","remedy"}}.
void ShowTrouble(const Trouble& trouble, bool json);

}  // namespace tandor::app
