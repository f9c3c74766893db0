// Pieces of work that know how often they were run and destroyed.
#pragma once

#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

#include "tandor/work_counters.h"

namespace tandor::test {

struct Tally {
    std::atomic<unsigned long long> run{0};
    std::atomic<unsigned long long> unrun{0};  // destroyed without having been run
    std::atomic<unsigned long long> again{0};  // run more than once

    std::function<void()> Work() {
        auto token = std::make_shared<Token>(this);
        return [token] { token->Run(); };
    }

private:
    struct Token {
        explicit Token(Tally* owner) : tally(owner) {}
        ~Token() {
            if (runs == 0) ++tally->unrun;
        }
        void Run() { ++(++runs == 1 ? tally->run : tally->again); }
        Tally* tally;
        int runs = 0;
    };
};

// What has to hold at any moment.
inline bool AddsUp(const TandorUtil::WorkCounters& c) {
    return c.queued + c.running + c.done + c.dropped + c.refused == c.submitted;
}

// How much a stress test does: `usual`, or what the environment variable says for the long runs.
inline unsigned long long Amount(const char* variable, unsigned long long usual) {
    const char* const value = std::getenv(variable);
    return value == nullptr ? usual : std::stoull(value);
}

// Where a test's random numbers begin: ./soak gives another place in each round, and tells it.
inline unsigned Seed(unsigned usual) { return static_cast<unsigned>(Amount("TANDOR_SEED", usual)); }

}  // namespace tandor::test
