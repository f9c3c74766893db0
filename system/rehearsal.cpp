#include "tandor/rehearsal.h"

#include <windows.h>

#include <atomic>
#include <utility>

#include "base/lock.h"
#include "foundation/message.h"
#include "system/change.h"

namespace tandor {
namespace {

Lock turn;                                     // held by the thread that rehearses
std::atomic<DWORD> owner{0};                   // that thread; no thread has the number 0
std::vector<std::wstring>* current = nullptr;  // its notes; nobody else looks

}  // namespace

bool Rehearsing() noexcept { return owner == ::GetCurrentThreadId(); }

void NoteRehearsed(std::wstring call) { current->push_back(std::move(call)); }

}  // namespace tandor

Rehearsal::Rehearsal() {
    using namespace tandor;
    LogMessage(kInfo, L"Rehearsal::Rehearsal", L"rehearsal begins: changes are noted, not made");
    if (!Rehearsing()) {
        turn.lock();
        owner = ::GetCurrentThreadId();
    }
    outer_ = std::exchange(current, &calls_);
}

Rehearsal::~Rehearsal() {
    using namespace tandor;
    current = outer_;
    if (outer_ == nullptr) {
        owner = 0;
        turn.unlock();
    }
    try {
        LogMessage(kInfo, L"Rehearsal::~Rehearsal", L"rehearsal ends");
    } catch (const std::bad_alloc&) {  // the line is lost with much else
    }
}

const std::vector<std::wstring>& Rehearsal::Calls() const { return calls_; }
