// Sending the outbox to a collector.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "app/http_post.h"
#include "pelora/outbox.h"

namespace tandor::app {

struct SendOptions {
    HttpPoster::Options http;
    std::size_t batch = 100;                  // records in one request, at most
    int attempts = 8;                         // for one batch
    std::chrono::milliseconds backoff{1000};  // before the second attempt; doubles up to 30 s
    std::chrono::seconds longest_wait{300};   // for what a collector asks with Retry-After
};

struct SendResult {
    unsigned long long sent = 0;     // acknowledged and taken out
    unsigned long long refused = 0;  // answered so that trying again is no use; they stay
    std::string refusal;             // the last refusing answer
    std::string warning;             // the last message beside an acknowledgement
    std::string gave_up;             // why sending ended early; empty when it went through
};

// Sends what is in the outbox now, oldest first. Records leave the outbox after an answer of 2xx alone that is empty or
// a collector's and rejects none of them; answers of 429, 502, 503 and 504, other answers of 2xx and broken connections
// are tried again, with waits that double and vary, or as long as Retry-After says. Whoever receives a batch twice
// finds the same identifiers in it. Throws CommandError when the outbox fails.
SendResult SendOutbox(pelora::Outbox& outbox, const SendOptions& options,
                      const std::function<void(unsigned long long done, unsigned long long total)>& progress);

}  // namespace tandor::app
