// The record that the outbox is measured with: ten time stamps, as a pairing reports them.
#pragma once

#include <atomic>
#include <thread>
#include <vector>

#include "pelora/outbox.h"

namespace tandor::bench {

inline pelora::OutboxRecord TenValues() {
    pelora::OutboxRecord record;
    record.event = "606009101";
    for (int i = 0; i < 10; ++i) record.values.push_back({std::to_string(i), std::to_string(1700000000000 + i), false});
    return record;
}

// Puts `count` records from each of `threads` threads. False when one was refused.
inline bool PutRecords(pelora::Outbox& outbox, int threads, int count) {
    std::atomic<bool> all{true};
    std::vector<std::thread> writers;
    for (int i = 0; i < threads; ++i) {
        writers.emplace_back([&] {
            pelora::OutboxRecord record = TenValues();
            for (int n = 0; n < count; ++n) {
                if (!outbox.Put(record).empty()) all = false;
            }
        });
    }
    for (std::thread& writer : writers) writer.join();
    return all;
}

}  // namespace tandor::bench
