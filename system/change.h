// Calls that change the system, all of which a rehearsal has to see.
#pragma once

#include <string>

namespace tandor {

// Whether this thread rehearses.
bool Rehearsing() noexcept;
void NoteRehearsed(std::wstring call);

// The result of `call`. In a rehearsal the text that `describe` makes is noted instead, and the result is 0, which is
// success as a Windows error and as an HRESULT alike.
template <class Call, class Describe>
auto Change(Call call, Describe describe) -> decltype(call()) {
    if (!Rehearsing()) return call();
    NoteRehearsed(describe());
    return {};
}

}  // namespace tandor
