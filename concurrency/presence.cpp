#include <windows.h>

#include <utility>

#include "base/win_handle.h"
#include "foundation/message.h"
#include "tandor/state_watch.h"

namespace {

constexpr auto kTryCreateEvent = L"TdProcessStatePresenter::TryCreateEvent";

tandor::KernelHandle OpenExisting(const std::wstring& name) {
    return tandor::KernelHandle(::OpenEventW(EVENT_ALL_ACCESS, FALSE, name.c_str()));
}

bool Close(void*& event) { return tandor::KernelHandle(std::exchange(event, nullptr)).Get() != nullptr; }

}  // namespace

TdProcessStatePresenter::TdProcessStatePresenter(std::wstring eventAName, std::wstring eventBName)
    : event_a_name_(std::move(eventAName)), event_b_name_(std::move(eventBName)) {}
TdProcessStatePresenter::TdProcessStatePresenter(const TdProcessStatePresenter&) = default;
TdProcessStatePresenter& TdProcessStatePresenter::operator=(const TdProcessStatePresenter&) = default;

TdProcessStatePresenter::~TdProcessStatePresenter() {
    Close(event_b_);
    Close(event_a_);
}

bool TdProcessStatePresenter::Init() { return TryCreateEvent(event_a_name_, event_a_); }
bool TdProcessStatePresenter::Start() { return TryCreateEvent(event_b_name_, event_b_); }
bool TdProcessStatePresenter::Stop() { return Close(event_b_); }
bool TdProcessStatePresenter::UnInit() { return Close(event_a_); }

std::wstring TdProcessStatePresenter::GetEventAName() const { return event_a_name_; }
std::wstring TdProcessStatePresenter::GetEventBName() const { return event_b_name_; }

bool TdProcessStatePresenter::TryCreateEvent(const std::wstring& name, void*& handle) {
    using tandor::kFailure;
    using tandor::LogMessage;
    if (name.empty()) {
        LogMessage(kFailure, kTryCreateEvent, L"event name is null");
        return false;
    }
    bool exists = static_cast<bool>(OpenExisting(name));
    if (!exists) {
        tandor::KernelHandle event(::CreateEventW(nullptr, FALSE, FALSE, name.c_str()));
        const DWORD error = ::GetLastError();
        if (!event) {
            LogMessage(kFailure, kTryCreateEvent, L"create event failed,lasterr:", error);
            return false;
        }
        exists = error == ERROR_ALREADY_EXISTS;  // another presenter came in between: its event is not shared
        if (!exists) handle = event.Release();
    }
    if (exists) LogMessage(kFailure, kTryCreateEvent, L"event aready exist:", name);
    return !exists;
}

TdProcessStateWatcher::TdProcessStateWatcher(std::wstring eventAName, std::wstring eventBName)
    : event_a_name_(std::move(eventAName)), event_b_name_(std::move(eventBName)) {}
TdProcessStateWatcher::TdProcessStateWatcher(const TdProcessStateWatcher&) = default;
TdProcessStateWatcher& TdProcessStateWatcher::operator=(const TdProcessStateWatcher&) = default;
TdProcessStateWatcher::~TdProcessStateWatcher() = default;

unsigned TdProcessStateWatcher::QueryProcessState() const {
    return (QueryEventState(event_a_name_) ? 2u : 0u) | (QueryEventState(event_b_name_) ? 1u : 0u);
}

bool TdProcessStateWatcher::QueryEventState(const std::wstring& name) const {
    return !name.empty() && static_cast<bool>(OpenExisting(name));
}

std::wstring TdProcessStateWatcher::GetEventAName() const { return event_a_name_; }
std::wstring TdProcessStateWatcher::GetEventBName() const { return event_b_name_; }
