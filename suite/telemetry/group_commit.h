// Writes what several threads bring at the same time in one go, on one of these threads.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "base/lock.h"

namespace pelora {

// The first thread to come leads: it writes what has gathered, its own item among it, while those who come meanwhile
// gather for the next turn. No thread is started, and each call returns after its item was written.
template <class Item>
class GroupCommit {
public:
    using Clock = std::chrono::steady_clock;
    using Batch = std::vector<Item*>;
    // Gives the items that have gathered until now. Called once by a writer, as late as it can.
    using Take = std::function<Batch()>;

    // Has `item` written by some thread's `write(take)`, which must not throw and leaves each item's result in the
    // item; items of a write that never took them stay as they were. Returns false when nobody had begun to write it at
    // the deadline: it will not be written then.
    template <class Write>
    bool Submit(Item& item, Clock::time_point deadline, Write write) {
        Entry entry{&item};
        std::unique_lock guard(lock_);
        waiting_.push_back(&entry);
        while (entry.stage != Stage::kDone) {
            if (!leading_) {
                Lead(guard, write);
            } else if (entry.stage == Stage::kTaken) {
                changed_.Wait(lock_);
            } else if (const auto left = deadline - Clock::now(); left > Clock::duration::zero()) {
                changed_.Wait(lock_, Milliseconds(left));
            } else {
                std::erase(waiting_, &entry);
                return false;
            }
        }
        return true;
    }

private:
    enum class Stage { kWaiting, kTaken, kDone };
    struct Entry {
        Item* item;
        Stage stage = Stage::kWaiting;
    };

    static unsigned Milliseconds(Clock::duration time) {
        return static_cast<unsigned>(std::chrono::ceil<std::chrono::milliseconds>(time).count());
    }

    template <class Write>
    void Lead(std::unique_lock<tandor::Lock>& guard, Write& write) {
        leading_ = true;
        guard.unlock();
        write(Take([this] { return TakeGathered(); }));
        guard.lock();
        leading_ = false;
        if (taken_.empty()) taken_.swap(waiting_);  // the writer failed before it took them
        for (Entry* const entry : taken_) entry->stage = Stage::kDone;
        expected_ = taken_.size() + waiting_.size();
        taken_.clear();
        changed_.WakeAll();
    }

    // Threads that were written for are on their way with their next item: to wait for them a moment makes one write of
    // two or more, and a write takes many such moments.
    Batch TakeGathered() {
        const auto enough = Clock::now() + kGather;
        std::unique_lock guard(lock_);
        while (waiting_.size() < expected_ && Clock::now() < enough) {
            guard.unlock();
            std::this_thread::yield();
            guard.lock();
        }
        taken_.swap(waiting_);
        Batch batch;
        batch.reserve(taken_.size());
        for (Entry* const entry : taken_) {
            entry->stage = Stage::kTaken;
            batch.push_back(entry->item);
        }
        return batch;
    }

    static constexpr auto kGather = std::chrono::microseconds(100);

    tandor::Lock lock_;  // of all that follows
    tandor::Condition changed_;
    std::vector<Entry*> waiting_, taken_;
    std::size_t expected_ = 0;  // how many items the last write and the time during it brought
    bool leading_ = false;
};

}  // namespace pelora
