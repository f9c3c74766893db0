// Waiting for a word to change, as the system offers it: what a lock and a condition are made of.
#pragma once

#include <atomic>
#include <cstdint>

namespace tandor {

using Word = std::atomic<std::uint32_t>;
static_assert(Word::is_always_lock_free && sizeof(Word) == sizeof(std::uint32_t));

constexpr unsigned kForever = 0xFFFFFFFF;

enum class WaitResult { kWoken, kTimedOut, kFailed };

// Waits if the word is `value`, which is looked at together with going to sleep: a change that a wake-up follows is
// never slept through. May end without a cause.
WaitResult WaitWhile(const Word& word, std::uint32_t value, unsigned milliseconds = kForever);

// Only the address counts: the word itself may be gone already.
void WakeOneAt(const Word& word);
void WakeAllAt(const Word& word);

// Passes a moment, without the system, in a loop that looks at a word again and again.
void Pause();

}  // namespace tandor
