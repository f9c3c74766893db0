#include "base/utf.h"
#include "base/win_error.h"
#include "base/win_handle.h"
#include "foundation/message.h"
#include "pelora/ipc_messages.h"
#include "pelora/system_environment.h"
#include "system/change.h"
#include "system/firewall_rule.h"
#include "tandor/firewall.h"

namespace {

using tandor::kFailure;
using tandor::kInfo;
using tandor::LogMessage;

constexpr const wchar_t* kNoteKey = L"SOFTWARE\\Pelora\\VXLoginGuide";
constexpr const wchar_t* kNoteValue = L"Fireware";
constexpr const wchar_t* kPipe = L"\\\\.\\Pipe\\iPaviloAssistant";
constexpr int kClient = 0x490084;
constexpr int kServiceModule = 0x490000;
constexpr int kEnableRequest = 0x490086;
constexpr int kDisableRequest = 0x490087;

bool EnabledIsNoted() {
    tandor::RegistryKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kNoteKey, 0, KEY_ALL_ACCESS, key.Receive()) != ERROR_SUCCESS) return false;
    wchar_t text[8]{};  // what does not fit is not "1"
    DWORD size = sizeof(text);
    return ::RegGetValueW(key.Get(), nullptr, kNoteValue, RRF_RT_REG_SZ, nullptr, text, &size) == ERROR_SUCCESS &&
           std::wstring_view(text) == L"1";
}

bool NoteEnabled(const wchar_t* text, LOG_MESSAGE_LEVEL level, const wchar_t* function) {
    tandor::RegistryKey key;
    LSTATUS status = tandor::Change(
        [&] {
            return ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, kNoteKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                     key.Receive(), nullptr);
        },
        [] { return std::wstring(L"RegCreateKeyExW(HKEY_LOCAL_MACHINE, ") + kNoteKey + L")"; });
    if (status == ERROR_SUCCESS) {
        status = tandor::Change(
            [&] {
                const auto size = static_cast<DWORD>((std::wcslen(text) + 1) * sizeof(wchar_t));
                return ::RegSetValueExW(key.Get(), kNoteValue, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), size);
            },
            [&] { return std::wstring(L"RegSetValueExW(") + kNoteValue + L", " + text + L")"; });
    }
    if (status == ERROR_SUCCESS) return true;
    LogMessage(level, function, L"write Fireware fail: ", tandor::WindowsErrorText(static_cast<DWORD>(status)));
    return false;
}

// A question outside the user's window station, as a service has it, would wait for ever for somebody to see it.
bool UserCanBeAsked() {
    USEROBJECTFLAGS flags{};
    return ::GetUserObjectInformationW(::GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof(flags), nullptr) != 0 &&
           (flags.dwFlags & WSF_VISIBLE) != 0;
}

std::string ProgramPath() {
    wchar_t path[32768];
    const DWORD length = ::GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
    return tandor::Utf8FromWideLossy({path, length});
}

}  // namespace

FireWallRuleManger::FireWallRuleManger() : client_(std::make_unique<IPCMessageClient>(kClient, true, false, kPipe)) {}
FireWallRuleManger::~FireWallRuleManger() = default;

FireWallRuleManger& FireWallRuleManger::GetInstance() {
    static FireWallRuleManger manager;
    return manager;
}

bool FireWallRuleManger::CheckRule() {
    if (!tandor::IsPlanOn(SystemEnvironment::GetUserFireWallPlan())) return false;
    const bool enabled = Firewall().IsRuleGroupEnabled() >= 1;
    if (enabled) rule_enabled_ = true;
    return enabled;
}

bool FireWallRuleManger::EnableRule() {
    constexpr const wchar_t* kFunction = L"FireWallRuleManger::EnableRule";
    if (!EnabledIsNoted() && !NoteEnabled(L"1", kInfo, kFunction)) return false;
    const long status = Firewall().AddFirewallRules();
    if (status != 0) {
        LogMessage(kInfo, kFunction, L"AddFirewallRules fail: ", tandor::WindowsErrorText(static_cast<DWORD>(status)));
        return false;
    }
    if (!tandor::Rehearsing()) rule_enabled_ = true;
    return true;
}

bool FireWallRuleManger::DisableRule() {
    constexpr const wchar_t* kFunction = L"FireWallRuleManger::DisableRule";
    const long status = Firewall().DeleteExistFirewallRules();
    if (status != 0) {
        LogMessage(kFailure, kFunction, L"DeleteExistFirewallRules fail: ",
                   tandor::WindowsErrorText(static_cast<DWORD>(status)));
        return false;
    }
    if (!tandor::Rehearsing()) rule_enabled_ = false;
    return NoteEnabled(L"0", kFailure, kFunction);
}

bool FireWallRuleManger::TryEnableRule(const std::wstring& title, const std::wstring& text, bool force) {
    const bool in_place = CheckRule();
    if (!in_place && !ShowDialog(title, text)) return false;
    if (in_place && !force) return true;
    if (!server_started_) request_kept_ = true;
    EnableRuleByService();
    return true;
}

bool FireWallRuleManger::ShowDialog(const std::wstring& title, const std::wstring& text) {
    constexpr UINT kStyle = MB_YESNO | MB_ICONQUESTION | MB_SETFOREGROUND | MB_TOPMOST;
    if (!UserCanBeAsked()) {
        LogMessage(kFailure, L"FireWallRuleManger::ShowDialog",
                   L"the user cannot be asked: this process has no interactive window station");
        return false;
    }
    const int answer = ::MessageBoxW(nullptr, text.c_str(), title.c_str(), kStyle);
    if (answer == 0) {
        LogMessage(kFailure, L"FireWallRuleManger::ShowDialog", L"the user cannot be asked: ",
                   tandor::WindowsErrorText(::GetLastError()));
    }
    return answer == IDYES;
}

bool FireWallRuleManger::Send(int message) {
    unsigned char data[4096];
    IpcBufferBuild buffer(data, sizeof(data), false);
    VxIpcPackage package(&buffer);
    int length = 0;
    for (const std::string& text : {tandor::Utf8FromWide(tandor::kMessageCentreRule), ProgramPath()}) {
        const int written = package.PacketString(text);
        if (written == 0) return false;
        length += written;
    }
    TagIPCMessageItem item;
    item.receiverId = kServiceModule;
    item.messageId = message;
    item.dataLength = static_cast<unsigned>(length);
    item.data = data;
    return client_->PostIPCMessage(item);
}

bool FireWallRuleManger::EnableRuleByService() {
    request_kept_ = true;  // before it is sent: the service may start meanwhile
    const bool sent = Send(kEnableRequest);
    if (sent) {
        request_kept_ = false;
    } else {
        OnSendFail();
    }
    return sent;
}

bool FireWallRuleManger::DisableRuleByService() {
    request_kept_ = false;
    const bool sent = Send(kDisableRequest);
    if (!sent) OnSendFail();
    return sent;
}

void FireWallRuleManger::OnSendFail() {
    server_started_ = false;
    LogMessage(kFailure, L"FireWallRuleManger::OnSendFail", L"the assistant service did not take the request");
}

void FireWallRuleManger::OnServerStarted() {
    server_started_ = true;
    if (request_kept_.exchange(false)) EnableRuleByService();
}

void FireWallRuleManger::OnAllowFound() {
    rule_enabled_ = true;
    request_kept_ = false;
}
