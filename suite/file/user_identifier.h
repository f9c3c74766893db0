// Whose hive the user's settings lie in.
#pragma once

#include <string>
#include <string_view>

namespace pelora {

// A service's account (the system's own, the local and the network service) has no settings of a user's.
constexpr bool IsServiceAccount(std::wstring_view identifier) {
    return identifier == L"S-1-5-18" || identifier == L"S-1-5-19" || identifier == L"S-1-5-20";
}

// The identifier, as text, of the user whom this process works for: the one whom it runs as; for a service the one at
// the console, who changes as users come and go, and itself as long as nobody is signed in there or it may not ask.
// Empty when the system does not tell.
std::wstring UserIdentifier();

}  // namespace pelora
