#include "suite/file/user_identifier.h"

#include <windows.h>

#include <sddl.h>
#include <wtsapi32.h>

#include <mutex>

#include "base/win_handle.h"

namespace pelora {
namespace {

constexpr DWORD kNoSession = 0xFFFFFFFF;

std::wstring IdentifierOf(HANDLE token) {
    alignas(TOKEN_USER) unsigned char user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof(user);
    if (::GetTokenInformation(token, TokenUser, user, size, &size) == 0) return {};
    wchar_t* text = nullptr;
    if (::ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(user)->User.Sid, &text) == 0) return {};
    std::wstring identifier = text;
    ::LocalFree(text);
    return identifier;
}

// Asked until the system tells: what has failed once must not send every later write elsewhere.
std::wstring OwnIdentifier() {
    static std::mutex mutex;
    static std::wstring known;
    const std::lock_guard lock(mutex);
    tandor::KernelHandle token;
    if (known.empty() && ::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Receive()) != 0) {
        known = IdentifierOf(token.Get());
    }
    return known;
}

// Empty when nobody is signed in at the console, and for a service that may not ask.
std::wstring ConsoleUserIdentifier() {
    const DWORD session = ::WTSGetActiveConsoleSessionId();
    tandor::KernelHandle token;
    if (session == kNoSession || ::WTSQueryUserToken(session, token.Receive()) == 0) return {};
    return IdentifierOf(token.Get());
}

}  // namespace

std::wstring UserIdentifier() {
    std::wstring own = OwnIdentifier();
    if (!IsServiceAccount(own)) return own;
    std::wstring user = ConsoleUserIdentifier();
    return user.empty() ? own : user;
}

}  // namespace pelora
